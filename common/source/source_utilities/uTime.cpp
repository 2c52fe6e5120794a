#include "common/source/source_utilities/uTime.h"

#include "common/source/source_utilities/LocalTime.h"
#include "common/source/source_utilities/uString.h"
#include "rcvr/framework/compiler/Compiler.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <ctime>
#include <mutex>
#include <string>

namespace VX_QRS {

namespace {

enum class State { valid = 0, invalid = 1, unset = 2 };

State state = State::invalid;
LocalTime fields;
int dayOfYear = 0;

// Two logs, each with its own lock, may construct a time concurrently.
std::mutex& fieldsMutex() {
    static std::mutex mutex;
    return mutex;
}

// Days before each month. The longer table is for years that are not divisible by 4: this count has always been so, and
// is compared only with itself.
constexpr std::array<int, 12> daysAheadDivisible{0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334};
constexpr std::array<int, 12> daysAheadOther{0, 31, 60, 91, 121, 152, 182, 213, 244, 274, 305, 335};

int countDayOfYear(const LocalTime& time) {
    if (state == State::invalid || time.month == 0) {
        return 0;
    }
    const auto& daysAhead = time.year % 4 == 0 ? daysAheadDivisible : daysAheadOther;
    return time.day + daysAhead[static_cast<std::size_t>(time.month - 1)];
}

std::tm asTm() {
    std::tm tm{};
    tm.tm_year = fields.year - 1900;
    tm.tm_mon = std::max(fields.month - 1, 0);
    tm.tm_mday = fields.day;
    tm.tm_wday = fields.dayOfWeek;
    tm.tm_hour = fields.hour;
    tm.tm_min = fields.minute;
    tm.tm_sec = fields.second;
    tm.tm_yday = std::max(dayOfYear - 1, 0);
    tm.tm_isdst = -1;
    return tm;
}

} // namespace

uTime::uTime() {
    const std::lock_guard lock(fieldsMutex());
    fields = readLocalTime();
    dayOfYear = countDayOfYear(fields);
    state = State::valid;
}

int uTime::getDayOfYear() const {
    const std::lock_guard lock(fieldsMutex());
    return dayOfYear;
}

int uTime::getMonth() const {
    const std::lock_guard lock(fieldsMutex());
    return fields.month;
}

int uTime::getYear() const {
    const std::lock_guard lock(fieldsMutex());
    return fields.year;
}

int uTime::getDay() const {
    const std::lock_guard lock(fieldsMutex());
    return fields.day;
}

char* uTime::format(char* buffer, int size, const char* text) {
    const std::lock_guard lock(fieldsMutex());
    if (buffer == nullptr || state == State::unset || size <= 0) {
        return nullptr;
    }
    const auto space = static_cast<std::size_t>(size);
    if (state == State::invalid) {
        std::snprintf(buffer, space, "Invalid time");
        return buffer;
    }
    std::string milliseconds;
    std::string pattern(text);
    constexpr bool append = false;
    uString::toText(fields.millisecond, milliseconds, append, "%03d");
    uString::replace(pattern, "%s", milliseconds.c_str());
    uString::toText(fields.millisecond, milliseconds);
    uString::replace(pattern, "%#s", milliseconds.c_str());
    const std::tm tm = asTm();
    ORV_FORMAT_FROM_CALLER_BEGIN
    const std::size_t length = std::strftime(buffer, space, pattern.c_str(), &tm);
    ORV_FORMAT_FROM_CALLER_END
    if (length == 0) {
        buffer[0] = '\0';
    }
    return buffer;
}

void uTime::unset() {
    const std::lock_guard lock(fieldsMutex());
    state = State::unset;
}

} // namespace VX_QRS
