#include "benchmarks/margin/OrderedSleeps.h"

#include <atomic>
#include <cerrno>
#include <chrono>
#include <dlfcn.h>
#include <string_view>
#include <time.h>

namespace margin_benchmark {

namespace {

constexpr std::int64_t billion = 1'000'000'000;
/// The data client's timer, on a thread that nothing waits for, begins with sleeps of this length.
constexpr std::int64_t sliceOfTimer = 20'000'000;
thread_local bool isTimer = false;

std::atomic<std::int64_t> orderedTime{0}; // nanoseconds
std::atomic<std::int64_t> sleptTime{0};
std::atomic<std::uint64_t> sleeps{0};

bool isOfLibrary(void* caller) {
    Dl_info found{};
    return dladdr(caller, &found) != 0 && found.dli_fname != nullptr &&
           std::string_view(found.dli_fname).ends_with("/OrvRcvr.so");
}

std::int64_t nanosecondsNow() {
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::nanoseconds>(now).count();
}

int sleepFor(const timespec* wanted, timespec* left) {
    const int failed = clock_nanosleep(CLOCK_REALTIME, 0, wanted, left);
    errno = failed != 0 ? failed : errno;
    return failed != 0 ? -1 : 0;
}

} // namespace

OrderedSleeps orderedSleeps() {
    return {static_cast<double>(orderedTime) / billion, static_cast<double>(sleptTime) / billion, sleeps};
}

int countedSleep(void* caller, const timespec* wanted, timespec* left) {
    const std::int64_t time = wanted->tv_sec * billion + wanted->tv_nsec;
    isTimer = isTimer || time == sliceOfTimer;
    if (isTimer || !isOfLibrary(caller)) {
        return sleepFor(wanted, left);
    }
    const std::int64_t start = nanosecondsNow();
    const int result = sleepFor(wanted, left);
    orderedTime += time;
    sleptTime += nanosecondsNow() - start;
    ++sleeps;
    return result;
}

} // namespace margin_benchmark

/// In place of the system's, also for libraries that are loaded later.
extern "C" __attribute__((visibility("default"))) int nanosleep(const timespec* wanted, timespec* left) {
    return margin_benchmark::countedSleep(__builtin_return_address(0), wanted, left);
}
