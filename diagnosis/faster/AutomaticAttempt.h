#pragma once

#include "diagnosis/analysis/BurstAnalysis.h"
#include "diagnosis/tune/Values.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

// One attempt of the receiver's automatic calibration, computed on bursts that were captured without delays and stretches.
// The formulas are the receiver's; a test holds them against its channel.

namespace diagnosis::faster {

/// Half samples by which each pin's ones are to become longer: from the counts of ones and zeros in the burst. The ones
/// count over the whole burst, the zeros over a shorter one, as the receiver counts them; the pattern is even.
std::vector<int> dutyStretches(const Burst& burst);

/// Samples by which each data pin lags its best correlation with the first one, negated; the clock's is 0. Lags go to half a
/// period, 31 at most, and an opposite match counts as much as an equal one.
struct Alignment {
    std::vector<int> delays;
    bool isNear = false; ///< another match, at another place, is nearly as good
};
Alignment alignedDelays(const Burst& burst);

/// Moves all delays so that the least is 0, and limits them to the unit's range. True if one was cut.
bool fitToRange(std::vector<int>& delays);

struct AutomaticAttempt {
    enum class End {
        Values,       ///< it ends with values, which a recording then has to verify
        NoPosition,   ///< the vote about the sampling position is undecided
        LittleMargin, ///< setup and hold margin do not add up to a third of a clock period
    };
    End end = End::NoPosition;
    tune::Values values; ///< as far as it came
    PositionVote vote;
    std::uint32_t setup = 0, hold = 0;       ///< the smallest margins of all data pins, before the clock is centred
    std::size_t setupProc = 0, holdProc = 0; ///< whose they are
    unsigned need = 0;                       ///< what they have to add up to
    bool isNear = false; ///< the vote, a match or that sum is so near its limit that another burst may decide otherwise
    bool isCut = false;  ///< a delay was limited to the unit's range
};

/// `bursts` were captured one after the other; each step takes the next one, beginning with number `first`. `wires` as in
/// movedBurst(). `carried` are the delays that an earlier attempt has left, and those that this one leaves: the receiver
/// begins with them.
AutomaticAttempt attemptAutomatically(std::span<const Burst> bursts, std::size_t first, std::span<const int> wires,
                                      std::vector<int>& carried);

} // namespace diagnosis::faster
