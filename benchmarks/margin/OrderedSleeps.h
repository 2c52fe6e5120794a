#pragma once

#include <cstdint>

namespace margin_benchmark {

/// The sleeps of the receiver's library in this process so far, of all its threads but those of its timer.
struct OrderedSleeps {
    double ordered = 0.0; ///< seconds
    double slept = 0.0;   ///< that they lasted
    std::uint64_t count = 0;
};
OrderedSleeps orderedSleeps();

} // namespace margin_benchmark
