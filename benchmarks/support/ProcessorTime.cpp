#include "benchmarks/support/ProcessorTime.h"

#include <sys/resource.h>

namespace benchmarks {

namespace {

double inSeconds(const timeval& time) {
    return static_cast<double>(time.tv_sec) + 1e-6 * static_cast<double>(time.tv_usec);
}

double usedBy(int who) {
    rusage usage{};
    getrusage(who, &usage);
    return inSeconds(usage.ru_utime) + inSeconds(usage.ru_stime);
}

} // namespace

double processorSeconds() {
    return usedBy(RUSAGE_SELF) + usedBy(RUSAGE_CHILDREN);
}

} // namespace benchmarks
