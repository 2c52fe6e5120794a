#include "common/source/source_utilities/DebugOutput.h"
#include "common/source/source_utilities/LocalTime.h"
#include "common/source/source_utilities/SharedOpen.h"
#include "common/source/source_utilities/uStopwatch.h"
#include "tests/simulation/scheduler/Scheduler.h"

namespace VX_QRS {

namespace {

constexpr std::int64_t ticksInASecond = 1000000;

} // namespace

void debugOutput(const char*) {}

LocalTime readLocalTime() {
    const auto now = static_cast<std::int64_t>(simulation::Scheduler::instance().now());
    LocalTime time;
    time.year = 2020;
    time.month = 1;
    time.day = 1;
    time.dayOfWeek = 3;
    time.hour = 12;
    time.minute = static_cast<int>(now / ticksInASecond / 60 % 60);
    time.second = static_cast<int>(now / ticksInASecond % 60);
    time.millisecond = static_cast<int>(now / 1000 % 1000);
    return time;
}

std::FILE* sharedOpen(const char* path, const char* mode) {
    return std::fopen(path, mode);
}

bool uStopwatch::readFrequency(std::int64_t& ticksPerSecond) {
    ticksPerSecond = ticksInASecond;
    return true;
}

std::int64_t uStopwatch::readCounter() {
    return static_cast<std::int64_t>(simulation::Scheduler::instance().now());
}

} // namespace VX_QRS
