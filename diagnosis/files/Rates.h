#pragma once

#include "rcvr/framework/TraceLimits.h"
#include "toolkit/Text.h"

#include <span>
#include <string>

namespace diagnosis {

namespace limits = Vx::Qrs::Trace::limits;

/// The four lines at the head of a calibration report and of a burst. All 0 before any frequency was measured.
struct Rates {
    double exportFrequency = 0.0; ///< Hz, the trace clock
    double dataFrequency = 0.0;   ///< words a second on the pins: two in a clock period
    double dataRate = 0.0;        ///< bits a second over all data pins
    double oversampling = 0.0;    ///< samples in a clock period, although the file says samples of a bit

    bool known() const { return exportFrequency > 0.0 && oversampling > 0.0; }
    /// A clock was measured, and it is too slow for the receiver to measure anything on the pins.
    bool belowAnalysis() const { return exportFrequency > 0.0 && exportFrequency < limits::lowestAnalysedClock; }
    /// Setup and hold margin together need this many samples, by the receiver's rule.
    unsigned neededMargin() const;
    /// Samples in half a clock period, as the receiver counts them.
    unsigned bitSamples() const;
    /// Samples a second. The file rounds both factors, so that the nearest round figure within that error is taken.
    /// The usual clock of the unit, 1.4e9, while no frequency is known.
    double sampleRate() const;
};

inline constexpr double usualSampleRate = 1.4e9;

/// Reads the first four lines; throws Failure (BadInput).
Rates parseRates(std::span<const toolkit::TextLine> lines, const std::string& file);

} // namespace diagnosis
