#include "tests/unit/common/OpenHandles.h"

#include <windows.h>

namespace VX_QRS::test {

std::size_t countOpenHandles() {
    DWORD count = 0;
    GetProcessHandleCount(GetCurrentProcess(), &count);
    return count;
}

std::vector<std::string> listOpenFiles() {
    return {};
}

} // namespace VX_QRS::test
