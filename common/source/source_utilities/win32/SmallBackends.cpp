#include "common/source/source_utilities/DebugOutput.h"
#include "common/source/source_utilities/LocalTime.h"
#include "common/source/source_utilities/SharedOpen.h"
#include "common/source/source_utilities/uStopwatch.h"

#include <windows.h>
#include <share.h>

namespace VX_QRS {

void debugOutput(const char* line) {
    OutputDebugStringA(line);
}

LocalTime readLocalTime() {
    SYSTEMTIME now{};
    GetLocalTime(&now);
    LocalTime time;
    time.year = now.wYear;
    time.month = now.wMonth;
    time.day = now.wDay;
    time.dayOfWeek = now.wDayOfWeek;
    time.hour = now.wHour;
    time.minute = now.wMinute;
    time.second = now.wSecond;
    time.millisecond = now.wMilliseconds;
    return time;
}

std::FILE* sharedOpen(const char* path, const char* mode) {
    return _fsopen(path, mode, _SH_DENYNO);
}

bool uStopwatch::readFrequency(std::int64_t& ticksPerSecond) {
    LARGE_INTEGER value{};
    const bool present = QueryPerformanceFrequency(&value) != 0 && value.QuadPart > 0;
    ticksPerSecond = value.QuadPart;
    return present;
}

std::int64_t uStopwatch::readCounter() {
    LARGE_INTEGER value{};
    QueryPerformanceCounter(&value);
    return value.QuadPart;
}

} // namespace VX_QRS
