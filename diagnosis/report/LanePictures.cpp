#include "diagnosis/burst/Markup.h"
#include "diagnosis/burst/Svg.h"
#include "diagnosis/report/Pictures.h"
#include "toolkit/Format.h"
#include "toolkit/LaneNames.h"

#include <algorithm>
#include <cmath>

namespace diagnosis::page {

namespace {

constexpr double barWidth = 220.0;
constexpr double barHeight = 26.0;
constexpr double edge = 12.0; // left and right of an axis, for the marks of windows that continue

} // namespace

std::string marginPicture(const std::string& pin, const MarginBar& margins, double period) {
    const std::string label = pin + ": setup / hold margin " + toolkit::setupHoldText(margins.setup, margins.hold) +
                              " samples, limit " + toolkit::numberText(margins.limit, 1);
    Svg svg(barWidth, barHeight, label, "bar");
    // Half a bit in both directions is the most that is possible.
    const double reach = std::max(1.0, period / 4.0);
    const double half = barWidth / 2.0 - edge;
    const double centre = barWidth / 2.0;
    const auto x = [&](double samples) { return centre + std::clamp(samples / reach, -1.1, 1.1) * half; };
    svg.rect(edge, 7, 2.0 * half, 12, "track");
    const double from = x(-margins.setup);
    const double length = x(margins.hold) - from;
    svg.rect(from, 7, length, 12, margins.isThin ? "fill-bad" : "fill-good");
    if (margins.isThin) {
        svg.hatch(from, 7, std::max(length, 0.0), 12);
    }
    svg.line(x(-margins.limit), 4, x(-margins.limit), 22, "need");
    svg.line(x(margins.limit), 4, x(margins.limit), 22, "need");
    svg.line(centre, 2, centre, 24, "sampling");
    return svg.markup();
}

bool DelayWindow::cutBelow() const {
    return from < 0;
}

bool DelayWindow::cutAbove() const {
    return to > limits::highestDelay;
}

bool DelayWindow::lostBelow() const {
    return cutBelow() && chosen <= 0 && from + to <= -2 && othersAtEnd;
}

bool DelayWindow::lostAbove() const {
    return cutAbove() && chosen >= limits::highestDelay && from + to >= 2 * (limits::highestDelay + 1);
}

std::string delayPicture(const DelayWindow& window, const std::string& pin) {
    std::string label = pin + ": fits at delays from " + std::to_string(window.from) + " to " +
                        std::to_string(window.to) + ", set to " + std::to_string(window.chosen);
    if (window.cutBelow() || window.cutAbove()) {
        label += "; it continues beyond the range of 0 to " + std::to_string(limits::highestDelay);
    }
    if (window.lostBelow() || window.lostAbove()) {
        label += ", where the best delay is";
    }
    Svg svg(barWidth, barHeight, label, "bar");
    const double step = (barWidth - 2.0 * edge) / (limits::highestDelay + 1);
    const auto x = [&](int delay) { return edge + delay * step; };
    svg.rect(edge, 7, barWidth - 2.0 * edge, 12, "track");
    const int from = std::clamp(window.from, 0, limits::highestDelay);
    const int to = std::clamp(window.to, 0, limits::highestDelay);
    svg.rect(x(from), 7, x(to + 1) - x(from), 12, "fill-window");
    for (int delay = 8; delay <= 24; delay += 8) {
        svg.line(x(delay), 7, x(delay), 19, "grid");
    }
    if (window.cutBelow()) {
        svg.path("M" + coordinate(edge - 1) + " 5V21L" + coordinate(edge - 10) + " 13Z",
                 window.lostBelow() ? "cut lost" : "cut");
    }
    if (window.cutAbove()) {
        svg.path("M" + coordinate(barWidth - edge + 1) + " 5V21L" + coordinate(barWidth - edge + 10) + " 13Z",
                 window.lostAbove() ? "cut lost" : "cut");
    }
    const double set = x(std::clamp(window.chosen, 0, limits::highestDelay)) + step / 2.0;
    svg.line(set, 3, set, 23, "chosen");
    return svg.markup();
}

} // namespace diagnosis::page
