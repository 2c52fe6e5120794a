#include "tests/unit/common/ownPriority.h"

#include <windows.h>

namespace VX_QRS::test {

int ownPriority() {
    return GetThreadPriority(GetCurrentThread());
}

} // namespace VX_QRS::test
