#pragma once

#include "diagnosis/analysis/BurstAnalysis.h"
#include "diagnosis/burst/WaveformPicture.h"
#include "diagnosis/files/CalFile.h"

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

// The drawings of the report, as markup.

namespace diagnosis::page {

/// Margins before and after the clock's edge, in samples.
struct MarginBar {
    double setup = 0.0, hold = 0.0;
    double limit = 0.0; ///< marked in both directions
    bool isThin = false;
};
/// For a cell of the lane table; `period` is the clock's, in samples.
std::string marginPicture(const std::string& pin, const MarginBar& margins, double period);

/// The delays at which a pin's bits are sampled rightly, on the range of the unit, and the chosen one. Ends outside of
/// the range are marked: as a loss when the best delay is out of reach.
struct DelayWindow {
    int from = 0, to = 0, chosen = 0;
    /// Some pin is at the end of the range already, so that the others cannot be delayed to relieve this one.
    bool othersAtEnd = false;
    bool cutBelow() const;
    bool cutAbove() const;
    /// The pin is at the end of the range, and the window's middle is a sample or more beyond it. Below 0 that is a loss
    /// only when the other pins cannot be delayed instead: only the differences between pins count.
    bool lostBelow() const;
    bool lostAbove() const;
};
std::string delayPicture(const DelayWindow& window, const std::string& pin);

/// Where a pin's level changes, folded onto the clock, as a density.
std::string eyePicture(const Eye& eye, const Rates& rates, const std::string& pin);

/// The whole burst as a strip with marked positions.
std::string burstStrip(const Burst& burst, const std::vector<Spot>& spots);

} // namespace diagnosis::page
