#pragma once

#include "diagnosis/burst/BurstExport.h"

#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

// The pins of a burst as waveforms, for the page and for a file of its own.

namespace diagnosis {

/// A position in a burst that a drawing marks.
struct Spot {
    std::size_t sample = 0;
    std::size_t proc = 0; ///< 0: all pins
    std::string label;
};

struct Waveforms {
    BurstPart part;
    std::vector<std::string> titles;    ///< of the part's pins; may be fewer
    std::vector<std::string> subtitles; ///< in small letters below them; may be fewer
    std::string heading;
    std::optional<Spot> spot{};
    bool samplesOnAxis = false; ///< sample numbers instead of nanoseconds
};

/// A few clock periods around a sample, all pins.
BurstPart partAround(const Burst& burst, std::size_t sample);

/// An <svg> element that takes its colours from the page. Lines mark the clock's edges, dots the bits sampled there.
std::string waveformPicture(const Burst& burst, const Waveforms& shown);

/// The same as a file with colours of its own. Each pin is shown with its delay and stretch.
void writeSvg(std::ostream& out, const Burst& burst, const BurstPart& part, const std::string& heading);

} // namespace diagnosis
