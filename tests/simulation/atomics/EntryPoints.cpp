// The entry points that code compiled for ThreadSanitizer calls, without its runtime: an access to an atomic is a choice
// point and the plain operation, all else is nothing.

#include "tests/simulation/faults/Quiet.h"
#include "tests/simulation/scheduler/Scheduler.h"

#include <cstddef>
#include <cstdint>

namespace {

void pointAt(const char* what) {
    if (simulation::Scheduler::isSimulated() && !simulation::Quiet::isOn()) {
        simulation::Scheduler::instance().point({simulation::Operation::atomic, what});
    }
}

} // namespace

// One body for each width. All orders are taken as sequentially consistent: one thread runs at a time.
#define ORV_ATOMIC(bits, type)                                                                                         \
    type __tsan_atomic##bits##_load(const volatile type* at, int) {                                                    \
        pointAt("atomic load");                                                                                        \
        return __atomic_load_n(at, __ATOMIC_SEQ_CST);                                                                  \
    }                                                                                                                  \
    void __tsan_atomic##bits##_store(volatile type* at, type value, int) {                                             \
        pointAt("atomic store");                                                                                       \
        __atomic_store_n(at, value, __ATOMIC_SEQ_CST);                                                                 \
    }                                                                                                                  \
    type __tsan_atomic##bits##_exchange(volatile type* at, type value, int) {                                          \
        pointAt("atomic exchange");                                                                                    \
        return __atomic_exchange_n(at, value, __ATOMIC_SEQ_CST);                                                       \
    }                                                                                                                  \
    int __tsan_atomic##bits##_compare_exchange_strong(volatile type* at, type* expected, type value, int, int) {       \
        pointAt("atomic compare-exchange");                                                                            \
        return __atomic_compare_exchange_n(at, expected, value, false, __ATOMIC_SEQ_CST, __ATOMIC_SEQ_CST) ? 1 : 0;    \
    }                                                                                                                  \
    int __tsan_atomic##bits##_compare_exchange_weak(volatile type* at, type* expected, type value, int, int) {         \
        pointAt("atomic compare-exchange");                                                                            \
        return __atomic_compare_exchange_n(at, expected, value, true, __ATOMIC_SEQ_CST, __ATOMIC_SEQ_CST) ? 1 : 0;     \
    }                                                                                                                  \
    ORV_FETCH(bits, type, add)                                                                                         \
    ORV_FETCH(bits, type, sub)                                                                                         \
    ORV_FETCH(bits, type, and)                                                                                         \
    ORV_FETCH(bits, type, or)                                                                                          \
    ORV_FETCH(bits, type, xor)
#define ORV_FETCH(bits, type, operation)                                                                               \
    type __tsan_atomic##bits##_fetch_##operation(volatile type* at, type value, int) {                                 \
        pointAt("atomic " #operation);                                                                                 \
        return __atomic_fetch_##operation(at, value, __ATOMIC_SEQ_CST);                                                \
    }
#define ORV_ACCESS(size)                                                                                               \
    void __tsan_read##size(void*) {}                                                                                   \
    void __tsan_write##size(void*) {}                                                                                  \
    void __tsan_unaligned_read##size(void*) {}                                                                         \
    void __tsan_unaligned_write##size(void*) {}

extern "C" {

ORV_ATOMIC(8, std::uint8_t)
ORV_ATOMIC(16, std::uint16_t)
ORV_ATOMIC(32, std::uint32_t)
ORV_ATOMIC(64, std::uint64_t)

void __tsan_atomic_thread_fence(int) {
    pointAt("atomic fence");
}
void __tsan_atomic_signal_fence(int) {}

void __tsan_init() {}
void __tsan_func_entry(void*) {}
void __tsan_func_exit() {}
void __tsan_vptr_update(void**, void*) {}
void __tsan_vptr_read(void**) {}
void __tsan_read_range(void*, std::size_t) {}
void __tsan_write_range(void*, std::size_t) {}
ORV_ACCESS(1)
ORV_ACCESS(2)
ORV_ACCESS(4)
ORV_ACCESS(8)
ORV_ACCESS(16)
}
