#include "diagnosis/analysis/BurstAnalysis.h"
#include "diagnosis/burst/BurstExport.h"
#include "diagnosis/burst/WaveformPicture.h"
#include "diagnosis/files/BurstFile.h"
#include "fuzz/MarkupCheck.h"
#include "fuzz/Require.h"
#include "fuzz/Targets.h"
#include "fuzz/Text.h"

#include <algorithm>
#include <cmath>
#include <sstream>
#include <string>

namespace fuzz {

namespace {

using diagnosis::Burst;
using diagnosis::BurstPin;

void checkSizes(const Burst& read) {
    require(!read.pins.empty() && read.pins.size() <= 8, "a burst has a clock and up to seven data pins");
    for (const BurstPin& pin : read.pins) {
        require(pin.levels.size() == read.samples() && read.samples() != 0, "all pins have the same samples");
        require(std::all_of(pin.levels.begin(), pin.levels.end(), [](std::uint8_t level) { return level <= 1; }),
                "levels are 0 and 1");
    }
    const double rate = read.rates.sampleRate();
    require(std::isfinite(rate) && rate > 0.0, "a rate of samples");
}

/// As the receiver writes it, after the head.
std::string written(const Burst& read, std::string_view head) {
    std::ostringstream out;
    out << head << "\n";
    for (std::size_t proc = 0; proc < read.pins.size(); ++proc) {
        const BurstPin& pin = read.pins[proc];
        out << "P" << proc << " : rcvrpin=" << pin.rcvrpin << ",filter=" << pin.filter << ",plateau=" << pin.plateau
            << ",debounce=" << pin.debounce << ",delay=" << pin.delay << ",stretch=" << pin.stretch
            << ",enable=" << pin.enable << "\n";
    }
    for (std::size_t proc = 0; proc < read.pins.size(); ++proc) {
        out << "P" << proc << " ";
    }
    out << "Sample\n";
    for (std::size_t sample = 0; sample < read.samples(); ++sample) {
        for (const BurstPin& pin : read.pins) {
            out << " " << static_cast<int>(pin.levels[sample]) << " ";
        }
        out << sample << "\n";
    }
    return out.str();
}

bool same(const BurstPin& one, const BurstPin& other) {
    return one.rcvrpin == other.rcvrpin && one.filter == other.filter && one.plateau == other.plateau &&
           one.debounce == other.debounce && one.delay == other.delay && one.stretch == other.stretch &&
           one.enable == other.enable && one.levels == other.levels;
}

void checkRoundTrip(const Burst& read, std::string_view text) {
    const auto again = parsed(diagnosis::parseBurst, written(read, ratesOf(text)));
    require(again && again->pins.size() == read.pins.size(), "what was written is read");
    require(std::equal(read.pins.begin(), read.pins.end(), again->pins.begin(),
                       [](const auto& a, const auto& b) { return same(a, b); }),
            "a written burst is the same");
}

void analyse(const Burst& read) {
    for (std::size_t proc = 0; proc < read.pins.size(); ++proc) {
        const diagnosis::BurstMargins margins = diagnosis::marginsOf(read, proc);
        require(margins.setupMargin.value_or(0) <= read.samples() && margins.holdMargin.value_or(0) <= read.samples(),
                "margins are within the burst");
        if (const auto eye = diagnosis::foldEye(read, proc)) {
            require(eye->rises.size() == 2 * eye->reach + 1 && eye->falls.size() == eye->rises.size(), "an eye's size");
            diagnosis::openingOf(*eye);
        }
        diagnosis::dutyOf(read, proc);
        diagnosis::stuckLevel(read, proc);
        diagnosis::concentrationAtClock(read, proc);
        diagnosis::concentrationAtPin(read, 0, proc);
        diagnosis::medianInterval(read, proc);
    }
    diagnosis::votePosition(read);
    for (const int margin : {1, 2, 100}) {
        const auto failure = diagnosis::findMarginFailure(read, margin);
        require(!failure || failure->sample < read.samples(), "a margin fails within the burst");
    }
}

void exportAll(const Burst& read) {
    const diagnosis::BurstPart part = diagnosis::partAround(read, read.samples() / 2);
    require(part.from < part.to && part.to <= read.samples(), "a part is within the burst");
    std::ostringstream csv;
    diagnosis::writeCsv(csv, read, part);
    const std::string lines = csv.str();
    require(static_cast<std::size_t>(std::count(lines.begin(), lines.end(), '\n')) == part.to - part.from + 1,
            "a line for each sample");
    std::ostringstream vcd;
    diagnosis::writeVcd(vcd, read, part);
    std::ostringstream svg;
    diagnosis::writeSvg(svg, read, part, "burst");
    requireDrawing(svg.str());
}

} // namespace

void burst(Input input) {
    const auto read = parsed(diagnosis::parseBurst, textOf(input));
    if (!read) {
        return;
    }
    checkSizes(*read);
    checkRoundTrip(*read, textOf(input));
    analyse(*read);
    exportAll(*read);
}

} // namespace fuzz
