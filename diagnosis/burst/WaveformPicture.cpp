#include "diagnosis/burst/WaveformPicture.h"

#include "diagnosis/burst/Svg.h"
#include "diagnosis/burst/Ticks.h"
#include "toolkit/Format.h"

#include <algorithm>
#include <ostream>

namespace diagnosis {

namespace {

using page::coordinate;
using page::Svg;

constexpr double width = 1040.0;
constexpr double labelWidth = 118.0;
constexpr double rightMargin = 10.0;
constexpr double laneHeight = 34.0;
constexpr double subtitledLaneHeight = 44.0;
constexpr double swing = 20.0;
constexpr double headingHeight = 22.0;
constexpr double leastEdgeDistance = 6.0; ///< between the sampling points that are drawn
constexpr double leastTickDistance = 60.0;
constexpr double periodsShown = 8.0;
constexpr double fewestSamples = 48.0;

/// The rules of the page for these classes, with the colours of its light form.
constexpr const char* fileStyle =
    "<style>svg{background:#fff}text{fill:#1c2430;font:12px system-ui,'Segoe UI','DejaVu Sans',sans-serif}"
    ".tiny{font-size:10.5px;fill:#5b6675}.title{font-weight:700;font-size:12.5px}.axis{stroke:#5b6675;stroke-width:1}"
    ".sampling{stroke:#7a3fb5;stroke-width:1;opacity:.55;stroke-dasharray:3 3}"
    ".wave{fill:none;stroke:#1f5fbf;stroke-width:1.8;stroke-linejoin:round}.wave.clock{stroke:#7a3fb5}"
    ".bit{stroke:#1f5fbf;stroke-width:1.4}.one{fill:#1f5fbf}.zero{fill:#fff}</style>";

class Drawing {
public:
    Drawing(const Burst& shownBurst, const Waveforms& waveforms, Svg& target)
        : burst(shownBurst), shown(waveforms), svg(target),
          top(waveforms.heading.empty() ? 12.0 : 12.0 + headingHeight),
          lane(waveforms.subtitles.empty() ? laneHeight : subtitledLaneHeight),
          step((width - labelWidth - rightMargin) / static_cast<double>(part().to - part().from)) {}

    static double height(const Waveforms& waveforms) {
        return (waveforms.heading.empty() ? 12.0 : 12.0 + headingHeight) + 30.0 +
               (waveforms.subtitles.empty() ? laneHeight : subtitledLaneHeight) *
                   static_cast<double>(waveforms.part.pins.size());
    }

    void draw() {
        svg.text(4, 18, shown.heading, "title");
        drawSamplingPoints();
        drawSpot();
        for (std::size_t row = 0; row < part().pins.size(); ++row) {
            drawLane(row);
        }
        drawAxis();
    }

private:
    const BurstPart& part() const { return shown.part; }
    double x(std::size_t sample) const { return labelWidth + static_cast<double>(sample - part().from) * step; }
    double base(std::size_t row) const { return top + lane * static_cast<double>(row + 1) - 7.0; }
    double bottom() const { return base(part().pins.size() - 1); }
    const std::vector<std::uint8_t>& levels(std::size_t row) const { return burst.pins[part().pins[row]].levels; }
    double y(std::size_t row, std::size_t sample) const { return base(row) - (levels(row)[sample] != 0 ? swing : 0.0); }

    void drawLane(std::size_t row) {
        std::string data = "M" + coordinate(x(part().from)) + " " + coordinate(y(row, part().from));
        for (std::size_t at = part().from + 1; at < part().to; ++at) {
            if (levels(row)[at] != levels(row)[at - 1]) {
                data += "H" + coordinate(x(at)) + "V" + coordinate(y(row, at));
            }
        }
        svg.path(data + "H" + coordinate(x(part().to)), part().pins[row] == 0 ? "wave clock" : "wave");
        if (row < shown.titles.size()) {
            svg.text(4, base(row) - (shown.subtitles.empty() ? 4.0 : 11.0), shown.titles[row], "label");
        }
        if (row < shown.subtitles.size()) {
            svg.text(4, base(row) + 3.0, shown.subtitles[row], "tiny");
        }
    }

    /// The clock's edges, with the bits that are sampled there; none where they are too close to each other.
    void drawSamplingPoints() {
        const std::vector<std::uint8_t>& clock = burst.pins[0].levels;
        std::vector<std::size_t> edges;
        for (std::size_t at = std::max<std::size_t>(part().from, 1); at < part().to; ++at) {
            if (clock[at] != clock[at - 1]) {
                edges.push_back(at);
            }
        }
        if (static_cast<double>(part().to - part().from) * step <
            leastEdgeDistance * static_cast<double>(edges.size())) {
            return;
        }
        for (const std::size_t at : edges) {
            svg.line(x(at), top, x(at), bottom() + 4.0, "sampling faint");
            for (std::size_t row = 0; row < part().pins.size(); ++row) {
                if (part().pins[row] != 0) {
                    svg.circle(x(at), y(row, at), 2.6, levels(row)[at] != 0 ? "bit one" : "bit zero");
                }
            }
        }
    }

    void drawSpot() {
        if (!shown.spot || shown.spot->sample < part().from || shown.spot->sample >= part().to) {
            return;
        }
        const auto row = std::find(part().pins.begin(), part().pins.end(), shown.spot->proc);
        const bool all = shown.spot->proc == 0 || row == part().pins.end();
        const double low = all ? bottom() + 5.0 : base(static_cast<std::size_t>(row - part().pins.begin())) + 5.0;
        const double high = all ? top : low - swing - 10.0;
        svg.rect(x(shown.spot->sample) - 5.0, high, 10.0, low - high, "spot");
    }

    void drawAxis() {
        const double foot = bottom() + 15.0;
        svg.line(labelWidth, foot, width - rightMargin, foot, "axis");
        svg.text(4, foot + 15.0, shown.samplesOnAxis ? "time in samples" : "time in ns", "tiny");
        const double unit = shown.samplesOnAxis ? 1.0 : 1e9 / burst.rates.sampleRate();
        const double from = static_cast<double>(part().from) * unit;
        const double to = static_cast<double>(part().to) * unit;
        const auto most = static_cast<std::size_t>((width - labelWidth - rightMargin) / leastTickDistance);
        for (const double at : page::roundTicks(from, to, most)) {
            const double place = labelWidth + (at - from) / unit * step;
            svg.line(place, foot, place, foot + 4.0, "axis");
            // The last one's label would be cut off in the middle.
            const bool last = place > width - rightMargin - leastTickDistance / 4.0;
            svg.text(place, foot + 15.0, toolkit::numberText(at, 3), "tiny", last ? "end" : "middle");
        }
    }

    const Burst& burst;
    const Waveforms& shown;
    Svg& svg;
    double top;
    double lane;
    double step;
};

Svg drawn(const Burst& burst, const Waveforms& shown) {
    std::string label =
        "pins from sample " + std::to_string(shown.part.from) + " to " + std::to_string(shown.part.to - 1);
    if (shown.spot) {
        label += ", with a mark: " + shown.spot->label;
    }
    Svg svg(width, Drawing::height(shown), label, "waveform");
    Drawing(burst, shown, svg).draw();
    return svg;
}

} // namespace

BurstPart partAround(const Burst& burst, std::size_t sample) {
    const double wanted = std::max(burst.rates.oversampling * periodsShown, fewestSamples);
    const auto length = static_cast<std::size_t>(std::min(wanted, static_cast<double>(burst.samples())));
    const std::size_t from = std::min(sample - std::min(sample, length / 2), burst.samples() - length);
    return partOf(burst, from, from + length, {});
}

std::string waveformPicture(const Burst& burst, const Waveforms& shown) {
    return drawn(burst, shown).markup();
}

void writeSvg(std::ostream& out, const Burst& burst, const BurstPart& part, const std::string& heading) {
    Waveforms shown{part, {}, {}, heading, std::nullopt, true};
    for (const std::size_t proc : part.pins) {
        shown.titles.push_back(part.names.title(laneOf(burst, proc)));
        shown.subtitles.push_back("delay " + std::to_string(burst.pins[proc].delay) + ", stretch " +
                                  std::to_string(burst.pins[proc].stretch));
    }
    out << drawn(burst, shown).file(fileStyle);
}

} // namespace diagnosis
