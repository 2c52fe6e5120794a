#pragma once

#include <cstdint>

namespace VX_QRS {

/// Measures intervals with the platform's finest steady counter. Not thread-safe.
class uStopwatch {
public:
    /// Sets the first mark.
    uStopwatch();

    void mark();

    /// Seconds since the mark; 0.0 on a platform without a counter.
    double elapsed() const;

private:
    static bool readFrequency(std::int64_t& ticksPerSecond);
    static std::int64_t readCounter();

    bool hasCounter = false;
    std::int64_t frequency = 0; // ticks per second
    std::int64_t marked = 0;    // ticks
};

} // namespace VX_QRS
