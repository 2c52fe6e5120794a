#include "tests/simulation/scheduler/Gate.h"

#include <climits>
#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace simulation {

void Gate::open() {
    __atomic_store_n(&opened, 1, __ATOMIC_RELEASE);
    syscall(SYS_futex, &opened, FUTEX_WAKE_PRIVATE, INT_MAX, nullptr, nullptr, 0);
}

void Gate::pass() {
    int expected = 1;
    while (!__atomic_compare_exchange_n(&opened, &expected, 0, false, __ATOMIC_ACQUIRE, __ATOMIC_RELAXED)) {
        syscall(SYS_futex, &opened, FUTEX_WAIT_PRIVATE, 0, nullptr, nullptr, 0);
        expected = 1;
    }
}

} // namespace simulation
