#include "diagnosis/burst/Svg.h"
#include "diagnosis/report/Pictures.h"

#include <algorithm>

namespace diagnosis::page {

namespace {

constexpr double stripWidth = 1040.0;

} // namespace

std::string burstStrip(const Burst& burst, const std::vector<Spot>& spots) {
    constexpr double height = 44.0;
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
    svg.text(10, 39, "sample 0", "tiny");
    svg.text(stripWidth - 10.0, 39, std::to_string(burst.samples() - 1), "tiny", "end");
    for (const Spot& spot : spots) {
        const double at = std::clamp(x(spot.sample), 240.0, stripWidth - 210.0);
        svg.text(at, 39, spot.label + " at " + std::to_string(spot.sample), "tiny", "middle");
    }
    return svg.markup();
}

} // namespace diagnosis::page
