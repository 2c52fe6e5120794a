#include "diagnosis/burst/Markup.h"
#include "diagnosis/burst/Svg.h"
#include "diagnosis/report/Pictures.h"
#include "toolkit/Format.h"

#include <algorithm>
#include <cmath>

namespace diagnosis::page {

namespace {

constexpr double eyeWidth = 280.0;
constexpr double height = 162.0;
constexpr double left = 10.0;
constexpr double top = 26.0;
constexpr double bottom = 118.0;
constexpr double faintest = 0.16;

/// A change of level that takes `w` to either side, drawn as a soft step.
std::string change(double x, double w, bool rise) {
    const double from = rise ? bottom : top;
    const double to = rise ? top : bottom;
    return "M" + coordinate(x - w) + " " + coordinate(from) + "C" + coordinate(x) + " " + coordinate(from) + " " +
           coordinate(x) + " " + coordinate(to) + " " + coordinate(x + w) + " " + coordinate(to);
}

} // namespace

std::string eyePicture(const Eye& eye, const Rates& rates, const std::string& pin) {
    const EyeOpening opening = openingOf(eye);
    const std::size_t open = opening.samples();
    const double nanoseconds = static_cast<double>(open) * 1e9 / rates.sampleRate();
    const std::string size = toolkit::countText(open, "sample") + ", " + toolkit::numberText(nanoseconds, 1) + " ns";
    Svg svg(eyeWidth, height, pin + ": eye from " + std::to_string(eye.edges) + " changes, open for " + size, "eye");

    const double reach = rates.oversampling * 0.56;
    const double centre = eyeWidth / 2.0;
    const double step = (centre - left) / reach;
    const auto x = [&](double samples) { return centre + samples * step; };
    svg.text(left, 15, pin, "title");
    if (eye.edges == 0) {
        svg.text(centre, (top + bottom) / 2.0, "no change in the whole burst", "label", "middle");
        return svg.markup();
    }
    const bool thin = opening.byReceiversRule() < rates.neededMargin();
    svg.text(eyeWidth - left, 15, size, thin ? "size bad" : "size good", "end");

    // A change is between its sample and the one before.
    const double from = x(-static_cast<double>(opening.setupMargin));
    const double to = x(static_cast<double>(opening.holdMargin));
    svg.rect(from, top, to - from, bottom - top, thin ? "open-bad" : "open-good");
    svg.line(left, top, eyeWidth - left, top, "rail");
    svg.line(left, bottom, eyeWidth - left, bottom, "rail");

    std::size_t most = 1;
    for (std::size_t i = 0; i < eye.rises.size(); ++i) {
        most = std::max({most, eye.rises[i], eye.falls[i]});
    }
    const double soft = std::clamp(step * 1.1, 3.0, 14.0);
    const auto draw = [&](const std::vector<std::size_t>& counts, bool rise) {
        for (std::size_t i = 0; i < counts.size(); ++i) {
            const double distance = static_cast<double>(i) - static_cast<double>(eye.reach);
            if (counts[i] == 0 || std::abs(distance) > reach) {
                continue;
            }
            const double density = std::sqrt(static_cast<double>(counts[i]) / static_cast<double>(most));
            svg.path(change(x(distance), soft, rise), "trace", faintest + (1.0 - faintest) * density);
        }
    };
    draw(eye.rises, true);
    draw(eye.falls, false);

    // How often the data change at each distance, and where the neighbouring clock edges are.
    constexpr double foot = 144.0;
    constexpr double tallest = 18.0;
    for (std::size_t i = 0; i < eye.rises.size(); ++i) {
        const double distance = static_cast<double>(i) - static_cast<double>(eye.reach);
        const double count = static_cast<double>(eye.rises[i] + eye.falls[i]);
        if (std::abs(distance) > reach || count == 0.0) {
            continue;
        }
        const double tall = std::max(1.0, tallest * std::sqrt(count / (2.0 * static_cast<double>(most))));
        svg.rect(x(distance) - step * 0.4, foot - tall, std::max(1.0, step * 0.8), tall, "histogram");
    }
    svg.line(left, foot, eyeWidth - left, foot, "axis");
    for (std::size_t i = 0; i < eye.clockEdges.size(); ++i) {
        const double distance = static_cast<double>(i) - static_cast<double>(eye.reach);
        if (eye.clockEdges[i] != 0 && std::abs(distance) <= reach) {
            svg.line(x(distance), bottom - 6, x(distance), bottom + 6, "sampling faint");
        }
    }
    svg.line(centre, top - 6, centre, foot, "sampling");
    const double quarter = rates.oversampling / 4.0;
    for (const double at : {-2.0 * quarter, -quarter, quarter, 2.0 * quarter}) {
        svg.text(x(at), 157, (at > 0 ? "+" : "") + toolkit::numberText(at, 1), "tiny", "middle");
    }
    svg.text(centre, 157, "clock edge", "tiny", "middle");
    return svg.markup();
}

} // namespace diagnosis::page
