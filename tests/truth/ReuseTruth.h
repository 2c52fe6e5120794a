#pragma once

#include "diagnosis/comparison/Comparison.h"
#include "diagnosis/comparison/KeptFit.h"
#include "tests/truth/TuneTruth.h"

#include <cstdint>
#include <string>

// Calibrations that are used again on a board that has drifted or has not, judged by what the bench knows.

namespace truth {

struct ReuseCounts {
    unsigned boards = 0;
    unsigned reused = 0;
    unsigned reusedSound = 0; ///< no bit wrong at 1e-9
    unsigned reusedThin = 0;
    unsigned reusedWrong = 0;   ///< a recording of a second most likely has wrong words
    unsigned notReusable = 0;   ///< of the others those whose values really do not fit any longer
    unsigned unequal = 0;       ///< of the same board, calibrated again with other noise at the same rate: not equal
    unsigned compared = 0;      ///< those
    double largestShrink = 0.0; ///< of a margin between these two
    std::string text() const;
};

/// Calibrates the wirings of so many seeds that end calibrated, from `first` on; moves every wire by at most `drift`
/// samples, a different way each; and decides as a run with an earlier calibration does.
ReuseCounts judgeReuse(std::uint64_t first, unsigned boards, double drift);

} // namespace truth
