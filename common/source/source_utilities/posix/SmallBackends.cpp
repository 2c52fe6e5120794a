#include "common/source/source_utilities/DebugOutput.h"
#include "common/source/source_utilities/LocalTime.h"
#include "common/source/source_utilities/SharedOpen.h"
#include "common/source/source_utilities/uStopwatch.h"

#include <string>
#include <sys/time.h>
#include <time.h>

namespace VX_QRS {

// This platform has no output to a debugger.
void debugOutput(const char*) {}

LocalTime readLocalTime() {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    tm local{};
    localtime_r(&now.tv_sec, &local);
    LocalTime time;
    time.year = local.tm_year + 1900;
    time.month = local.tm_mon + 1;
    time.day = local.tm_mday;
    time.dayOfWeek = local.tm_wday;
    time.hour = local.tm_hour;
    time.minute = local.tm_min;
    time.second = local.tm_sec;
    time.millisecond = static_cast<int>(now.tv_nsec / 1000000);
    return time;
}

// Files are always shared here; "e" keeps them from started processes.
std::FILE* sharedOpen(const char* path, const char* mode) {
    return std::fopen(path, (std::string(mode) + "e").c_str());
}

namespace {

constexpr std::int64_t nanosecondsPerSecond = 1000000000;

} // namespace

bool uStopwatch::readFrequency(std::int64_t& ticksPerSecond) {
    ticksPerSecond = nanosecondsPerSecond;
    return true;
}

std::int64_t uStopwatch::readCounter() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return std::int64_t{now.tv_sec} * nanosecondsPerSecond + now.tv_nsec;
}

} // namespace VX_QRS
