#pragma once

#include "diagnosis/files/BurstFile.h"

#include <cstddef>
#include <optional>

// How far a lane's changes are from spoiling a bit, in fractions of a sample, and how much they jitter. A burst shows
// both better than its smallest distances do: it has some hundred changes, which the unit's samples round at random.

namespace diagnosis {

/// Of one data pin in a burst, in samples. A margin is the way that the mean change of the worse direction, at the worse of
/// the clock's two edges, has to move before the sample at the clock edge shows another slot's bit. The calibration
/// pattern pairs each direction of the data with one of the clock: the other pairs follow from the means.
struct LaneMargins {
    double setup = 0.0;
    double hold = 0.0;
    double jitter = 0.0;      ///< rms of data and clock together, without what rounding to samples adds
    double leastJitter = 0.0; ///< with 95 % confidence it is above this
    double mostJitter = 0.0;  ///< and below this
    double bit = 0.0;         ///< samples in half a clock period
    double lateFall = 0.0;    ///< by how much falls come later than rises
    std::size_t changes = 0;
};

/// Nothing for a burst without enough changes of pin and clock.
std::optional<LaneMargins> measureLane(const Burst& burst, std::size_t proc);

/// How many standard deviations a normal value exceeds with this probability, which is above 0 and at most a half.
double deviationsAt(double probability);

} // namespace diagnosis
