#pragma once

#include <vector>

namespace diagnosis::tune {

/// What the unit holds for one sampled pin.
struct PinValue {
    int delay = 0;   ///< samples, 0 to 31
    int stretch = 0; ///< half samples by which ones become longer, -5 to 5
    int debounce = 0, filter = 7, plateau = 3;

    bool operator==(const PinValue&) const = default;
};
using Values = std::vector<PinValue>; ///< the clock first

inline constexpr int longestDelay = 31;
inline constexpr int largestStretch = 5;

/// How far the input moves rises and falls, in samples: no edge can be earlier than it arrives.
struct EdgeShift {
    double rise = 0.0;
    double fall = 0.0;
};
constexpr EdgeShift shiftOf(const PinValue& value) {
    const double stretch = 0.5 * value.stretch;
    return {value.delay + (stretch < 0.0 ? -stretch : 0.0), value.delay + (stretch > 0.0 ? stretch : 0.0)};
}

} // namespace diagnosis::tune
