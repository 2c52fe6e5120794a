#include "tests/unit/common/OwnPriority.h"

#include <windows.h>

namespace VX_QRS::test {

int ownPriority() {
    return GetThreadPriority(GetCurrentThread());
}

} // namespace VX_QRS::test
