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
    /// At the delay taken as a lag, which is on the far side of the peak. Data pins only.
    std::optional<double> correlation;
    std::optional<double> correlationAtZero; ///< with the pins as they are set in the end
    std::optional<unsigned> edges;           ///< reserved by the receiver, always 0
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
