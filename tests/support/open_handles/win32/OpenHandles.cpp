#include "tests/support/open_handles/OpenHandles.h"

#include <windows.h>

namespace test_support {

std::size_t countOpenHandles() {
    DWORD count = 0;
    GetProcessHandleCount(GetCurrentProcess(), &count);
    return count;
}

std::vector<std::string> listOpenFiles() {
    return {};
}

} // namespace test_support
