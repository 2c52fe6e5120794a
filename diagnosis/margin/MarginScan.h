#pragma once

#include "diagnosis/analysis/LaneMargins.h"
#include "diagnosis/faster/NextRate.h"
#include "diagnosis/margin/LaneEye.h"

#include <nlohmann/json_fwd.hpp>

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

// The margins of a target at its rates, by counting errors.

namespace diagnosis {

/// One rate.
struct RateScan {
    unsigned setting = 0;
    double hertz = 0.0; ///< of the trace clock
    double sampleRate = 0.0;
    bool kept = false;               ///< the setting that the calibration chose by itself
    std::string refusal;             ///< why it could not be calibrated, or not be scanned; empty if it was
    std::string pattern;             ///< that was recorded
    std::vector<std::string> titles; ///< of the lanes, "data 3 (EMU2)"
    std::vector<int> stretches;      ///< as kept, the clock's first
    std::vector<std::optional<LaneMargins>> bursts; ///< of the calibration, by lane; also of a refused one
    ScanPlan plan;
    EyeScanResult scan;
    std::vector<LaneEye> eyes;            ///< by lane; empty if nothing was scanned
    std::optional<faster::NextRate> next; ///< of the slowest refused rate above the fastest sound one
    bool isFastest = false;               ///< the target has no faster rate that the unit records
    double startSeconds = 0.0;            ///< since the first calibration
    double seconds = 0.0;                 ///< that the scan took

    bool isScanned() const { return !eyes.empty(); }
    double picoseconds(double samples) const { return samples * 1e12 / sampleRate; }
    double percentOfBit(double samples) const {
        return plan.bitSamples > 0.0 ? 100.0 * samples / plan.bitSamples : 0.0;
    }
};

/// Slow to fast.
using MarginScan = std::vector<RateScan>;

/// Samples by which the middle of a wall may differ from that of the burst.
inline constexpr double agreement = 1.0;

/// Where wall and burst differ: "setup margin 3.1 samples, by the calibration's burst 5.2"; empty where they agree.
std::string disagreementOf(const RateScan& rate, std::size_t lane);

/// Whether other values sample a lane where the scan does not show the same: "the sampling point of data 1 is 2 samples
/// later". Empty where no point is more than a sample away, and all are among the clean taps; a stretch moves half of the
/// edges, and counts as a sample in either direction.
std::string movedSince(const RateScan& rate, const Delays& now, const std::vector<int>& stretches);

/// The smallest margin of a rate: of the walls at wallRate. A burst shows more of a wall that is cut off.
struct LeastMargin {
    std::size_t lane = 0;
    bool isSetup = true;
    double samples = 0.0;
    WallState state = WallState::NotMeasured;
    bool byBurst = false;
};
std::optional<LeastMargin> leastMarginOf(const RateScan& rate);

/// The fastest sound rate; null without one.
const RateScan* fastestSound(const MarginScan& scan);

/// Scanned, without an error at the kept values.
bool isSound(const RateScan& rate);

/// Samples with one decimal, "-" for nothing.
std::string samplesText(const std::optional<double>& samples);

/// The answer in words, a sentence a line.
std::string marginAnswer(const MarginScan& scan);
/// Answer, tables and pictures in characters.
std::string marginText(const MarginScan& scan, std::size_t columns);
nlohmann::json marginJson(const MarginScan& scan);
/// A page of its own.
std::string marginPage(const MarginScan& scan, const std::string& name);

} // namespace diagnosis
