// ThreadSanitizer sees the product's accesses, the order that the simulated locks give them, and nothing of the scheduler.

#include "tests/simulation/scheduler/Order.h"

extern "C" {
void __tsan_acquire(void* address);
void __tsan_release(void* address);
void AnnotateIgnoreReadsBegin(const char* file, int line);
void AnnotateIgnoreReadsEnd(const char* file, int line);
void AnnotateIgnoreWritesBegin(const char* file, int line);
void AnnotateIgnoreWritesEnd(const char* file, int line);
__attribute__((visibility("default"))) const char* __tsan_default_options();
}

// The schedule of a report is the one that runs, so it ends at the first.
const char* __tsan_default_options() {
    return "halt_on_error=1:exitcode=66:die_after_fork=0";
}

namespace simulation {

void noteRelease(const void* address) {
    __tsan_release(const_cast<void*>(address));
}

void noteAcquire(const void* address) {
    __tsan_acquire(const_cast<void*>(address));
}

void beginUnwatched() {
    AnnotateIgnoreReadsBegin(__FILE__, __LINE__);
    AnnotateIgnoreWritesBegin(__FILE__, __LINE__);
}

void endUnwatched() {
    AnnotateIgnoreWritesEnd(__FILE__, __LINE__);
    AnnotateIgnoreReadsEnd(__FILE__, __LINE__);
}

} // namespace simulation
