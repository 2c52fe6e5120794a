#pragma once

#include "diagnosis/analysis/BurstAnalysis.h"
#include "diagnosis/files/CalFile.h"

#include <cstddef>
#include <optional>
#include <string>

// The drawings of the report, as markup.

namespace diagnosis::page {

/// Room around the clock's edge, for a cell of the lane table: what is free before and after it, against the sixth of a
/// period on each side that the receiver asks for on average. `room` may be nothing.
std::string marginPicture(const std::string& pin, const std::optional<Opening>& room, double period);

/// The delays at which a pin's bit would be taken rightly, on the range that the unit has, and where it is set. Ends
/// that lie outside of the range are marked: as a loss when the best place is out of reach.
struct DelayWindow {
    int from = 0, to = 0, chosen = 0;
    /// Some pin stands at the end of the range already, so that not all can be moved later to make room for this one.
    bool othersAtEnd = false;
    bool cutBelow() const;
    bool cutAbove() const;
    /// The pin stands at the end of the range, and the window's middle lies a sample or more beyond it. Below 0 that is
    /// a loss only when the other pins cannot be moved later instead: what counts is where they stand to each other.
    bool lostBelow() const;
    bool lostAbove() const;
};
inline constexpr int largestDelay = 31;
std::string delayPicture(const DelayWindow& window, const std::string& pin);

/// Where a pin's level changes, folded onto the clock, as a density. `needed` samples have to stay free.
std::string eyePicture(const Eye& eye, const Rates& rates, const std::string& pin, double needed);

/// A place in a burst that a drawing points at.
struct Spot {
    std::size_t sample = 0;
    std::size_t proc = 0; ///< 0: all pins
    std::string label;
};

/// All pins over a few clock periods around a place, with the clock's edges as sampling points.
std::string waveformPicture(const Burst& burst, std::size_t around, const std::optional<Spot>& spot,
                            const std::vector<std::string>& titles);

/// The whole burst as a strip with marked places.
std::string burstStrip(const Burst& burst, const std::vector<Spot>& spots);

} // namespace diagnosis::page
