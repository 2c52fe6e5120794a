#pragma once

#include "bench/wiring/Line.h"

#include <cstdint>

namespace bench {

/// A line that settles slowly: a low pass of first order with the time constant `memory` (samples), which its driver
/// pulls to the level of each slot. With b the level, 0 or 1, of a slot of length T, and v the line's state at the
/// slot's start,
///
///     q = exp(-T / memory)
///     v' = b + (v - b) q                     the state one slot later
///     t = memory ln(2 |b - v|)               when it crosses the threshold 1/2, from the slot's start
///
/// so the state, and with it the position of an edge, depends on all earlier slots. A line that toggles in every slot
/// has |b - v| = 1 / (1 + q) at each edge. Shifts are relative to that line, which is what calibration sees: skew
/// keeps its meaning, and a clock is never shifted.
///
///     shift = memory ln((1 + q) |b - v|)
///
/// The latest edge is that of a settled line, memory ln(1 + q); the earliest ends a single slot that a settled line has
/// left, memory ln(1 - q q). The response is that to the slots themselves: skew, duty error and jitter are added
/// afterwards.
class LineMemory {
public:
    LineMemory() = default;
    LineMemory(double timeConstant, double halfPeriod);

    /// The state one slot later.
    double after(double state, bool level) const { return driven(level) + (state - driven(level)) * keeps; }
    /// The shift of an edge to this level. A line that has not crossed the threshold since its last edge crosses it no
    /// more: the shift is then that of an edge at the slot's very start, before the last one's.
    double shift(double state, bool level) const;
    double latest() const { return shift(0.0, true); }
    double earliest() const { return shift(1.0 - keeps, false); }
    /// The number of slots after which a level is forgotten (its part of the state is below 1e-9).
    int slots() const { return remembered; }

private:
    static double driven(bool level) { return level ? 1.0 : 0.0; }

    double tau = 0.0;
    double keeps = 0.0; // q
    int remembered = 0;
};

/// How far the edges of a line are shifted by what it and its neighbours carry: by its own memory, and by `coupling`
/// for each neighbour that has an edge in the same slot, earlier if both go the same way, later if they go opposite
/// ways. Both are 0 for anything but a data line.
class ContentShift {
public:
    ContentShift(const Line& line, double halfPeriod);

    bool any() const { return hasMemory || coupling != 0.0; }
    const LineMemory& memory() const { return response; }
    double earliest() const { return response.earliest() - reach; }
    double latest() const { return response.latest() + reach; }
    /// By how much a pulse of a single slot can become longer: negative. A neighbour that went the opposite way cannot
    /// go the same way in the next slot, so of its two shifts only one counts.
    double shortest() const { return response.earliest() - response.latest() - reach; }

    /// The state before a slot; `levels(line, slot)` is the level of a line of the group.
    template <class Levels>
    double stateBefore(std::int64_t slot, Levels& levels) const {
        if (!hasMemory) {
            return 0.0;
        }
        const std::int64_t from = slot - response.slots();
        double state = levels(bit, from - 1) ? 1.0 : 0.0;
        for (std::int64_t past = from; past < slot; ++past) {
            state = response.after(state, levels(bit, past));
        }
        return state;
    }

    /// The shift of the edge at the start of a slot, of a line in that state.
    template <class Levels>
    double shift(double state, std::int64_t slot, Levels& levels) const {
        const bool level = levels(bit, slot);
        double sum = hasMemory ? response.shift(state, level) : 0.0;
        for (const unsigned neighbour : neighbours) {
            const bool now = levels(neighbour, slot);
            if (now != levels(neighbour, slot - 1)) {
                sum += now == level ? -coupling : coupling;
            }
        }
        return sum;
    }

    /// The same from the whole history.
    template <class Levels>
    double shiftAt(std::int64_t slot, Levels& levels) const {
        return shift(stateBefore(slot, levels), slot, levels);
    }

private:
    LineMemory response;
    bool hasMemory = false;
    double coupling = 0.0;
    double reach = 0.0; // of all neighbours
    unsigned bit = 0;
    std::vector<unsigned> neighbours;
};

} // namespace bench
