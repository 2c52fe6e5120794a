#include "tests/unit/common/OwnPriority.h"

#include <sys/resource.h>
#include <unistd.h>

namespace VX_QRS::test {

int ownPriority() {
    return -getpriority(PRIO_PROCESS, static_cast<id_t>(gettid()));
}

} // namespace VX_QRS::test
