#pragma once

#include "diagnosis/files/BurstFile.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

// Measurements on a burst. Positions and lengths are in samples.
//
// The margins of a data pin around a clock edge, at which its bit is sampled:
//  - setup margin: the data are stable for this long before the clock edge, from their last change to the edge;
//  - hold margin: the data are stable for this long after the clock edge, from the edge to their next change.
// The receiver's calibration report writes them as "margin=-HOLD,+SETUP", counted from a data edge: back to the clock
// edge before it, on to the clock edge after it. Its hold margins count the clock edge's own sample once more.

namespace diagnosis {

struct Edge {
    std::size_t at = 0; ///< the first sample of the new level
    bool rise = false;
};
std::vector<Edge> edgesOf(std::span<const std::uint8_t> levels, std::size_t from = 0);

/// The smallest margins of a pin in a burst; nothing when no change was seen.
struct BurstMargins {
    std::optional<std::size_t> setupMargin, holdMargin;
    std::size_t setupAt = 0, holdAt = 0; ///< the data edges at which these two were found
};
/// By the receiver's rule: data edges from the second clock period on, up to a clock period before the end.
BurstMargins marginsOf(const Burst& burst, std::size_t proc);

/// Where the data change, folded onto the clock: how often at each distance from a clock edge, which is the sampling
/// point. Every data edge is counted from the clock edge before it and from the one after it.
struct Eye {
    std::size_t reach = 0;          ///< distances from -reach to +reach, half a clock period and a little more
    std::vector<std::size_t> rises; ///< by distance + reach
    std::vector<std::size_t> falls;
    std::vector<std::size_t> clockEdges; ///< the neighbouring clock edges, in the same way
    std::size_t edges = 0;               ///< data edges that were folded
};
/// Nothing when the burst has no clock edges, or a clock period that is too long to be drawn from it.
std::optional<Eye> foldEye(const Burst& burst, std::size_t proc);

/// The margins of an eye: samples without a change of the pin around the sampling point.
struct EyeOpening {
    std::size_t setupMargin = 0, holdMargin = 0;
    std::size_t samples() const { return setupMargin + holdMargin; }
    /// The receiver counts the clock edge's own sample once more.
    std::size_t byReceiversRule() const { return samples() + 1; }
};
EyeOpening openingOf(const Eye& eye);
/// The smaller margins of two.
EyeOpening narrower(const EyeOpening& one, const EyeOpening& other);

/// The lengths of ones and zeros that last half a clock period: those that a duty error changes.
struct Duty {
    double high = 0.0, low = 0.0; ///< means
    std::size_t runs = 0;
    double error = 0.0; ///< standard error of high - low; a one and the zero next to it share an edge
};
std::optional<Duty> dutyOf(const Burst& burst, std::size_t proc);

/// How concentrated a pin's changes are at one distance from the edges of another pin.
struct Concentration {
    double share = 0.0; ///< 1: always at the same distance; near 0: at any
    double phase = 0.0; ///< the mean distance, 0 to 1 of a bit
    std::size_t changes = 0;
};
/// Against the clock.
Concentration concentrationAtClock(const Burst& burst, std::size_t proc);
/// Against the changes of any pin, whose median interval is taken for a bit.
Concentration concentrationAtPin(const Burst& burst, std::size_t proc, std::size_t reference);

/// The distances between a pin's changes, in their order.
std::vector<std::size_t> intervalsOf(const Burst& burst, std::size_t proc);
/// Their median; nothing for fewer than two changes.
std::optional<std::size_t> medianInterval(const Burst& burst, std::size_t proc);

/// The receiver's vote about the position of data edges between clock edges.
struct PositionVote {
    std::size_t between = 0; ///< data edges in the middle between clock edges
    std::size_t near = 0;    ///< data edges near one
    bool undecided() const;
};
PositionVote votePosition(const Burst& burst);

/// Where the receiver's check of a burst during a recording fails.
struct MarginFailure {
    bool clock = false;     ///< the clock's margin, otherwise the data's
    std::size_t sample = 0; ///< where
    std::size_t word = 0;   ///< the same in words of 16 samples, as the receiver's text counts
};
/// `margin` in clock edges.
std::optional<MarginFailure> findMarginFailure(const Burst& burst, int margin);

/// 0 or 1 for a pin that never changes in the burst.
std::optional<unsigned> stuckLevel(const Burst& burst, std::size_t proc);

} // namespace diagnosis
