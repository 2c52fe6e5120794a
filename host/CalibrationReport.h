#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

// The receiver's calibration report, the text file that ends in ".cal.txt".

namespace host {

/// One sampled pin. Lengths are in samples of the capture unit.
struct PinReport {
    std::string name; ///< "Clock", "Data 1", ...
    std::optional<double> correlation; ///< at the delay's own lag, and at lag 0; data pins only
    std::optional<double> correlationAtZero;
    std::optional<unsigned> edges;
    std::optional<unsigned> glitches;
    std::optional<unsigned> ringing;
    std::optional<std::uint32_t> marginBefore; ///< room ahead of the sampling point; nothing when not measured
    std::optional<std::uint32_t> marginAfter;
    std::optional<int> delay, stretch, filter, debounce, plateau;
};

struct CalibrationReport {
    std::string exportFrequency; ///< such as "50.00 MHz"
    std::string dataRate;
    std::string oversampling;
    std::string exportKind;
    std::vector<PinReport> pins; ///< clock first
};

/// Takes what it understands; throws Failure (BadInput) when it does not look like a report at all.
CalibrationReport parseCalibrationReport(const std::string& text, const std::string& file);
/// The same from a file; throws Failure (BadInput).
CalibrationReport readCalibrationReport(const std::filesystem::path& file);

} // namespace host
