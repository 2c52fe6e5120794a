#pragma once

#include "diagnosis/files/BurstFile.h"
#include "diagnosis/tune/Values.h"

#include <optional>
#include <string>
#include <vector>

// Where a board's edges are, from bursts, with the unit's values taken out.

namespace diagnosis::tune {

/// The clock of a burst: edge k is at origin + k * half, an odd one `fallLate` later. Even edges rise.
struct ClockGrid {
    double origin = 0.0;
    double half = 0.0; ///< samples in half a period
    double fallLate = 0.0;
    double jitter = 0.0; ///< rms, without what rounding to samples adds
};
/// `expectedHalf` is known from the rate to a percent. Nothing for a burst without a regular clock.
std::optional<ClockGrid> gridOf(const Burst& burst, double expectedHalf);

/// Mean places of a lane's changes after the clock edge before them, between 0 and half a period, or a little beyond on
/// either side so that they are near each other.
struct LanePlace {
    double rise = 0.0;
    double fall = 0.0;
    double jitter = 0.0;          ///< rms of the lane alone, with 95 % confidence no more
    double likelyWithClock = 0.0; ///< rms of lane and clock together
    double mostWithClock = 0.0;   ///< the same, with 95 % confidence no more
    std::size_t changes = 0;
};
/// Nothing for a lane without enough changes of both kinds, or whose changes are anywhere.
std::optional<LanePlace> placeOf(const Burst& burst, std::size_t proc, const ClockGrid& grid);

/// What a burst shows, with the values that the unit held taken out.
struct RawPlaces {
    double half = 0.0;
    double clockFallLate = 0.0;
    double clockJitter = 0.0;
    std::vector<LanePlace> lanes; ///< relative to the clock's rising edges
};
struct Seen {
    std::optional<RawPlaces> places;
    std::string fault; ///< why not
};
Seen rawPlacesOf(const Burst& burst, const Values& held, double expectedHalf);

/// The places of three bursts: one as it is, one with the clock's rises and the lanes' falls half a sample later, one with
/// the clock's falls and the lanes' rises half a sample later. Edges that always meet the same part of a sample, as when a
/// period is a whole number of them, are so known twice as well.
RawPlaces combined(const RawPlaces& plain, const RawPlaces& second, const RawPlaces& third);

} // namespace diagnosis::tune
