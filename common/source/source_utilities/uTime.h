#pragma once

#include <cstdint>

namespace VX_QRS {

/// The local time, taken at construction. The fields are shared by all objects of the process: an object has the time of
/// the latest construction of any uTime, so construct it and use it at once, under the caller's lock where threads
/// compete. (A single call never sees a partly written time.)
class uTime {
public:
    uTime();
    virtual ~uTime() = default;

    /// Day within the year, by a table of months; 0 for the first time of a process.
    int getDayOfYear() const;

    int getMonth() const; // 1 to 12
    int getYear() const;
    int getDay() const; // 1 to 31

    /// The time in strftime's syntax, to which "%s" (millisecond, three digits) and "%#s" (millisecond) are added. Null
    /// for a null buffer or a size that is not above 0, and when the time was unset. "Invalid time" when no time was
    /// ever taken. A result that does not fit becomes an empty text.
    static char* format(char* buffer, int size, const char* text);

    /// Marks the time as unknown until the next construction.
    static void unset();
};

} // namespace VX_QRS
