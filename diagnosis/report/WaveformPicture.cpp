#include "diagnosis/report/Html.h"
#include "diagnosis/report/Pictures.h"
#include "diagnosis/report/Svg.h"

#include <algorithm>
#include <cmath>

namespace diagnosis::page {

namespace {

constexpr double width = 1040.0;
constexpr double labels = 118.0; // room for the names of the pins
constexpr double laneHeight = 34.0;
constexpr double swing = 20.0;
constexpr double top = 12.0;
constexpr double periodsShown = 8.0;
constexpr double fewestSamples = 48.0;

/// Which samples to show.
struct Window {
    std::size_t from, to;
};

Window windowOf(const Burst& burst, std::size_t around) {
    const double wanted = std::max(burst.rates.oversampling * periodsShown, fewestSamples);
    const auto length = static_cast<std::size_t>(std::min(wanted, static_cast<double>(burst.samples())));
    std::size_t from = around > length / 2 ? around - length / 2 : 0;
    from = std::min(from, burst.samples() - length);
    return {from, from + length};
}

class Waveform {
public:
    Waveform(const Burst& shownBurst, Window shownWindow, Svg& drawing)
        : burst(shownBurst), window(shownWindow), svg(drawing),
          step((width - labels - 10.0) / static_cast<double>(window.to - window.from)) {}

    double x(std::size_t sample) const { return labels + static_cast<double>(sample - window.from) * step; }
    static double base(std::size_t proc) { return top + laneHeight * static_cast<double>(proc + 1) - 7.0; }
    double y(std::size_t proc, std::size_t sample) const {
        return base(proc) - (burst.pins[proc].levels[sample] != 0 ? swing : 0.0);
    }
    bool shows(std::size_t sample) const { return sample >= window.from && sample < window.to; }

    void lane(std::size_t proc) {
        std::string data = "M" + coordinate(x(window.from)) + " " + coordinate(y(proc, window.from));
        for (std::size_t at = window.from + 1; at < window.to; ++at) {
            if (burst.pins[proc].levels[at] != burst.pins[proc].levels[at - 1]) {
                data += "H" + coordinate(x(at)) + "V" + coordinate(y(proc, at));
            }
        }
        data += "H" + coordinate(x(window.to));
        svg.path(data, proc == 0 ? "wave clock" : "wave");
    }

    void samplingPoint(std::size_t at) {
        svg.line(x(at), top, x(at), base(burst.pins.size() - 1) + 4.0, "sampling faint");
        for (std::size_t proc = 1; proc < burst.pins.size(); ++proc) {
            svg.circle(x(at), y(proc, at), 2.6, burst.pins[proc].levels[at] != 0 ? "bit one" : "bit zero");
        }
    }

    void mark(const Spot& spot) {
        if (!shows(spot.sample)) {
            return;
        }
        const bool all = spot.proc == 0;
        const double from = all ? top : base(spot.proc) - swing - 5.0;
        const double to = all ? base(burst.pins.size() - 1) + 5.0 : base(spot.proc) + 5.0;
        svg.rect(x(spot.sample) - 5.0, from, 10.0, to - from, "spot");
    }

private:
    const Burst& burst;
    Window window;
    Svg& svg;
    double step;
};

} // namespace

std::string waveformPicture(const Burst& burst, std::size_t around, const std::optional<Spot>& spot,
                            const std::vector<std::string>& titles) {
    const Window window = windowOf(burst, around);
    const double height = top + laneHeight * static_cast<double>(burst.pins.size()) + 30.0;
    std::string label = "all pins from sample " + std::to_string(window.from) + " to " + std::to_string(window.to - 1);
    if (spot) {
        label += ", with a mark: " + spot->label;
    }
    Svg svg(width, height, label, "waveform");
    Waveform wave(burst, window, svg);
    for (const Edge& edge : edgesOf(burst.pins[0].levels)) {
        if (wave.shows(edge.at)) {
            wave.samplingPoint(edge.at);
        }
    }
    if (spot) {
        wave.mark(*spot);
    }
    for (std::size_t proc = 0; proc < burst.pins.size(); ++proc) {
        wave.lane(proc);
        svg.text(4, Waveform::base(proc) - 4.0, proc < titles.size() ? titles[proc] : std::string(), "label");
    }
    const double foot = height - 22.0;
    svg.line(labels, foot, width - 10.0, foot, "axis");
    const std::size_t length = window.to - window.from;
    for (std::size_t i = 0; i <= 8; ++i) {
        const std::size_t at = window.from + length * i / 8;
        const double nanoseconds = static_cast<double>(at) * 1e9 / burst.rates.sampleRate();
        svg.line(wave.x(at), foot, wave.x(at), foot + 4.0, "axis");
        svg.text(wave.x(at), foot + 15.0, number(nanoseconds, 1) + (i == 8 ? " ns" : ""), "tiny",
                 i == 8 ? "end" : "middle");
    }
    return svg.markup();
}

} // namespace diagnosis::page
