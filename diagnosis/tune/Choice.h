#pragma once

#include "diagnosis/tune/Places.h"

#include <cstddef>
#include <optional>
#include <string>

namespace diagnosis::tune {

/// The values that leave the worst lane the most, of all that the unit has.
struct Choice {
    Values values;
    double spare = 0.0;    ///< of the worst lane: its smaller margin less its limit; negative: thin
    double margin = 0.0;   ///< that margin
    double limit = 0.0;    ///< and that limit
    std::size_t worst = 0; ///< that lane, from 0
};

/// Searches all delays and stretches. Margins are counted as LaneMargins counts them, the limits are marginLimit()'s.
Choice choose(const RawPlaces& places, double errorRate);

/// The same for values that are given: what they leave the worst lane.
Choice judged(const RawPlaces& places, const Values& values, double errorRate);

} // namespace diagnosis::tune
