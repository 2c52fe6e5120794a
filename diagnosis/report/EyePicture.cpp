#include "diagnosis/burst/Markup.h"
#include "diagnosis/burst/Svg.h"
#include "diagnosis/burst/Ticks.h"
#include "diagnosis/report/Pictures.h"
#include "toolkit/Format.h"

#include <algorithm>
#include <cmath>

namespace diagnosis::page {

namespace {

constexpr double eyeWidth = 280.0;
constexpr double height = 188.0;
constexpr double left = 10.0;
constexpr double top = 26.0;
constexpr double bottom = 118.0;
constexpr double foot = 150.0;
constexpr double tallest = 16.0;
constexpr double faintest = 0.16;

/// A change of level that takes `w` to either side, drawn as a soft step.
std::string change(double x, double w, bool rise) {
    const double from = rise ? bottom : top;
    const double to = rise ? top : bottom;
    return "M" + coordinate(x - w) + " " + coordinate(from) + "C" + coordinate(x) + " " + coordinate(from) + " " +
           coordinate(x) + " " + coordinate(to) + " " + coordinate(x + w) + " " + coordinate(to);
}

/// Distances from the clock edge, in samples, and where they are drawn.
struct Frame {
    double reach = 0.0;
    double step = 0.0;
    double centre = 0.0;
    std::size_t most = 1; ///< changes of one kind at one distance
    double x(double samples) const { return centre + samples * step; }
};

/// How often the data change at each distance. The tallest bar has its count.
void drawHistogram(Svg& svg, const Eye& eye, const Frame& frame) {
    std::size_t tallestCount = 0;
    for (std::size_t i = 0; i < eye.rises.size(); ++i) {
        const double distance = static_cast<double>(i) - static_cast<double>(eye.reach);
        const std::size_t count = eye.rises[i] + eye.falls[i];
        if (std::abs(distance) > frame.reach || count == 0) {
            continue;
        }
        const double share = static_cast<double>(count) / (2.0 * static_cast<double>(frame.most));
        const double tall = std::max(1.0, tallest * std::sqrt(share));
        svg.rect(frame.x(distance) - frame.step * 0.4, foot - tall, std::max(1.0, frame.step * 0.8), tall, "histogram");
        tallestCount = std::max(tallestCount, count);
    }
    svg.line(left, foot, eyeWidth - left, foot, "axis");
    svg.text(left, foot - tallest - 2.0, "max " + std::to_string(tallestCount), "tiny");
}

/// Two scales: nanoseconds, and unit intervals, of which a bit is one.
void drawScales(Svg& svg, const Rates& rates, const Frame& frame) {
    const auto tick = [&](double samples, double y, const std::string& label, const char* classes) {
        svg.line(frame.x(samples), y, frame.x(samples), y + 3.0, classes);
        svg.text(std::clamp(frame.x(samples), 16.0, eyeWidth - 16.0), y + 13.0, label, "tiny", "middle");
    };
    const double nanoseconds = 1e9 / rates.sampleRate();
    const double ends = frame.reach * nanoseconds;
    for (const double at : roundTicks(-ends, ends, 8)) {
        if (at != 0.0) {
            tick(at / nanoseconds, foot, toolkit::numberText(at, 3), "axis");
        }
    }
    svg.text(frame.centre, foot + 13.0, "0 ns", "tiny", "middle");
    const double bit = rates.oversampling / 2.0;
    for (const double at : {-1.0, -0.5, 0.5, 1.0}) {
        if (std::abs(at * bit) <= frame.reach) {
            tick(at * bit, foot + 17.0, toolkit::numberText(at, 1), "axis");
        }
    }
    svg.line(left, foot + 17.0, eyeWidth - left, foot + 17.0, "axis");
    svg.text(frame.centre, foot + 30.0, "0 UI", "tiny", "middle");
}

} // namespace

std::string eyePicture(const Eye& eye, const Rates& rates, const std::string& pin) {
    const EyeOpening opening = openingOf(eye);
    const std::size_t open = opening.samples();
    const double nanoseconds = static_cast<double>(open) * 1e9 / rates.sampleRate();
    const double bit = rates.oversampling / 2.0;
    const std::string size = toolkit::countText(open, "sample") + ", " + toolkit::numberText(nanoseconds, 1) + " ns" +
                             (bit > 0.0 ? ", " + toolkit::numberText(static_cast<double>(open) / bit, 2) + " UI" : "");
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
    svg.text(eyeWidth - left, 15, (thin ? "\u2715 " : "\u2713 ") + size, thin ? "size bad" : "size good", "end");

    // A change is between its sample and the one before.
    const double from = x(-static_cast<double>(opening.setupMargin));
    const double to = x(static_cast<double>(opening.holdMargin));
    svg.rect(from, top, to - from, bottom - top, thin ? "open-bad" : "open-good");
    if (thin) {
        svg.hatch(from, top, to - from, bottom - top, "hatch-bad");
    }
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

    drawHistogram(svg, eye, {reach, step, centre, most});
    for (std::size_t i = 0; i < eye.clockEdges.size(); ++i) {
        const double distance = static_cast<double>(i) - static_cast<double>(eye.reach);
        if (eye.clockEdges[i] != 0 && std::abs(distance) <= reach) {
            svg.line(x(distance), bottom - 6, x(distance), bottom + 6, "sampling faint");
        }
    }
    svg.line(centre, top - 6, centre, foot, "sampling");
    drawScales(svg, rates, {reach, step, centre, most});
    return svg.markup();
}

} // namespace diagnosis::page
