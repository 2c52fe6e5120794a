#include "diagnosis/burst/Svg.h"
#include "diagnosis/burst/Ticks.h"
#include "diagnosis/report/Pictures.h"
#include "toolkit/Format.h"

#include <algorithm>

namespace diagnosis::page {

namespace {

constexpr double stripWidth = 1040.0;

} // namespace

std::string burstStrip(const Burst& burst, const std::vector<Spot>& spots) {
    constexpr double height = 58.0;
    std::string label = "the burst of " + std::to_string(burst.samples()) + " samples";
    for (const Spot& spot : spots) {
        label += "; " + spot.label + " at sample " + std::to_string(spot.sample);
    }
    Svg svg(stripWidth, height, label, "strip");
    const double scale = (stripWidth - 20.0) / static_cast<double>(burst.samples());
    const auto x = [&](std::size_t sample) { return 10.0 + static_cast<double>(sample) * scale; };
    svg.rect(10, 12, stripWidth - 20.0, 12, "track");
    svg.rect(10, 12, std::max(1.0, static_cast<double>(burstStart) * scale), 12, "skipped");
    for (const Spot& spot : spots) {
        svg.path("M" + coordinate(x(spot.sample)) + " 26l-5 -22h10Z", "spot-mark");
    }
    const auto end = static_cast<double>(burst.samples());
    for (const double at : roundTicks(0.0, end, 10)) {
        const double place = 10.0 + at * scale;
        svg.line(place, 24, place, 28, "axis");
        const bool first = at == 0.0;
        const bool last = place > stripWidth - 40.0;
        svg.text(place, 39, first ? "sample 0" : toolkit::numberText(at, 0), "tiny",
                 first  ? "start"
                 : last ? "end"
                        : "middle");
    }
    for (const Spot& spot : spots) {
        const double at = std::clamp(x(spot.sample), 240.0, stripWidth - 210.0);
        svg.text(at, 53, spot.label + " at " + std::to_string(spot.sample), "tiny", "middle");
    }
    return svg.markup();
}

} // namespace diagnosis::page
