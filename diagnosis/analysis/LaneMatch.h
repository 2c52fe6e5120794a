#pragma once

#include "diagnosis/files/Verification.h"

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace diagnosis {

/// What one data pin of a verification recording carries.
struct Lane {
    std::size_t carries = 0;       ///< the data pin (from 0) whose bits of the pattern these are
    int shift = 0;                 ///< bit slots by which they are later (positive) or earlier than on most pins
    bool shiftSignKnown = true;    ///< false: the pattern does not distinguish later from earlier
    double agreement = 0.0;        ///< share of the bits that fit, with that pin and shift
    double asNamed = 0.0;          ///< share of the bits that fit the pin's own pattern, unshifted
    std::optional<unsigned> stuck; ///< the level, when it never changes
};

struct LaneMatch {
    std::string pattern;
    std::vector<Lane> lanes;        ///< data pins, the one with the top bit first
    std::size_t bits = 0;           ///< bits of each pin that were compared
    bool distinguishesPins = false; ///< false: the pattern is the same on some pins, which hides swaps
    /// Pins that carry the same bits throughout although the pattern differs on them.
    std::vector<std::pair<std::size_t, std::size_t>> identical;
};

/// Searches for the permutation of the pins and the shifts that make the recording fit a pattern. `sent` names the
/// pattern if known; otherwise it is a usual one. Nothing when there are no words, or for a number of data pins
/// without patterns.
std::optional<LaneMatch> matchLanes(const Verification& recording, std::size_t dataPins, std::string_view sent = {});

} // namespace diagnosis
