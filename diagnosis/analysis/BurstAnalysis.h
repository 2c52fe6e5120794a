#pragma once

#include "diagnosis/files/BurstFile.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

// What can be measured on a burst. Positions and lengths are in samples.

namespace diagnosis {

struct Edge {
    std::size_t at = 0; ///< the first sample of the new level
    bool rise = false;
};
std::vector<Edge> edgesOf(std::span<const std::uint8_t> levels, std::size_t from = 0);

/// Room around the clock's edges: from the last change of the data to a clock edge, and from that to the next change.
struct Room {
    std::optional<std::size_t> setup, hold; ///< the smallest of the burst; nothing when no change was seen
    std::size_t setupAt = 0, holdAt = 0;    ///< the data edges that these two were found at
};
/// By the receiver's rule: data edges from the second clock period on, up to a clock period ahead of the end.
Room roomOf(const Burst& burst, std::size_t proc);

/// Where the data change, folded onto the clock: how often at each distance from a clock edge, which is the sampling
/// point. Every data edge is counted from the clock edge in front of it and from the one behind it.
struct Eye {
    std::size_t reach = 0;          ///< distances from -reach to +reach, half a clock period and a little more
    std::vector<std::size_t> rises; ///< by distance + reach
    std::vector<std::size_t> falls;
    std::vector<std::size_t> clockEdges; ///< the neighbouring clock edges, in the same way
    std::size_t edges = 0;               ///< data edges that were folded
};
/// Nothing when the burst has no clock edges, or a clock period that is too long to be drawn from it.
std::optional<Eye> foldEye(const Burst& burst, std::size_t proc);

/// What an eye leaves open around the sampling point: samples without a change of the pin, up to the nearest change on
/// either side.
struct Opening {
    std::size_t ahead = 0, behind = 0;
    std::size_t samples() const { return ahead + behind; }
    /// The receiver counts the clock edge's own sample once more.
    std::size_t byReceiversRule() const { return samples() + 1; }
};
Opening openingOf(const Eye& eye);
/// The smaller of two on each side.
Opening narrower(const Opening& one, const Opening& other);

/// The length of the ones and zeros that last half a clock period, which are the ones that a duty error changes.
struct Duty {
    double high = 0.0, low = 0.0; ///< means
    std::size_t runs = 0;
};
std::optional<Duty> dutyOf(const Burst& burst, std::size_t proc);

/// How closely a pin's changes keep to one distance from the clock's edges: 1 for always the same, near 0 for any.
struct Bunching {
    double share = 0.0;
    std::size_t changes = 0;
};
Bunching bunchingOf(const Burst& burst, std::size_t proc);
/// The same against the changes of any pin, whose usual distance is taken for a bit.
Bunching bunchingAround(const Burst& burst, std::size_t proc, std::size_t reference);

/// The median distance between a pin's changes; nothing for fewer than two of them.
std::optional<std::size_t> usualInterval(const Burst& burst, std::size_t proc);

/// How the data edges lie against the clock edges, by the receiver's vote.
struct PositionVote {
    std::size_t between = 0; ///< edges that lie in the middle between clock edges
    std::size_t near = 0;    ///< edges that lie near one
    bool undecided() const;
};
PositionVote votePosition(const Burst& burst);

/// The place at which the receiver's check of a burst during a recording gives up.
struct MarginFailure {
    bool clock = false;     ///< the clock's margin, otherwise the data's
    std::size_t sample = 0; ///< where
    std::size_t word = 0;   ///< the same as the receiver's text counts it, in words of 16 samples
};
std::optional<MarginFailure> findMarginFailure(const Burst& burst, int margin);

/// 0 or 1 for a pin that never changes in the burst.
std::optional<unsigned> stuckLevel(const Burst& burst, std::size_t proc);

} // namespace diagnosis
