#pragma once

#include "diagnosis/files/Rates.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace diagnosis {

/// One pin of a calibration report. Lengths are in samples of the unit.
struct CalPin {
    std::string name; ///< "Clock", "Data 1", ...
    /// At the delay used as a lag, and with the final settings. Not a number for a stuck pin. Nothing when the pins were
    /// not compared: below the lowest analysed clock, and when the attempt ended before.
    std::optional<double> correlation;
    std::optional<double> correlationAtZero;
    std::optional<unsigned> glitches, ringing, edges;
    /// The file's "-": from a clock edge to the next change of the data. Nothing when no change was seen, and below the
    /// lowest analysed clock.
    std::optional<std::uint32_t> holdMargin;
    /// The file's "+": from a change of the data to the next clock edge.
    std::optional<std::uint32_t> setupMargin;
    std::optional<int> delay, stretch, filter, debounce, plateau; ///< nothing when they were never set
};

/// The receiver's calibration report, a file that ends in ".cal.txt".
struct CalFile {
    Rates rates;
    std::string dataRate;        ///< verbatim, such as "400.00 Mbits/second"
    std::string oversampling;    ///< verbatim, such as "28.00 samples/bit"
    std::vector<CalPin> pins;    ///< the clock first; never empty
    bool figuresLeftOut = false; ///< margins and correlations were those of an earlier attempt
    std::string exportKind;      ///< "pti", "tpiu", "tpiulite"
    std::vector<std::pair<std::string, std::string>> properties; ///< verbatim, in their order
};

/// Throws Failure (BadInput) with file, line and what is wrong; never anything else, whatever the bytes.
CalFile parseCalFile(std::string_view text, const std::string& file);
CalFile readCalFile(const std::filesystem::path& file);

} // namespace diagnosis
