#include "diagnosis/margin/MarginPictures.h"

#include "diagnosis/burst/Markup.h"
#include "diagnosis/burst/Svg.h"
#include "diagnosis/margin/Counting.h"
#include "toolkit/Format.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace diagnosis {

namespace {

using page::coordinate;
using page::Svg;

constexpr double width = 380.0;
constexpr double height = 250.0;
constexpr double left = 48.0;
constexpr double right = width - 12.0;
constexpr double top = 30.0;
constexpr double bottom = height - 44.0;
constexpr double lowestDecade = 12.0;

/// Offsets and rates as positions in a picture.
struct Axes {
    double lowest = -1.0, highest = 1.0;
    double x(double offset) const { return left + (offset - lowest) / (highest - lowest) * (right - left); }
    double y(double rate) const {
        const double decades = -std::log10(std::clamp(rate, 1e-12, 1.0));
        return top + decades / lowestDecade * (bottom - top);
    }
};

Axes axesOf(const LaneScan& lane) {
    Axes axes;
    if (!lane.taps.empty()) {
        axes.lowest = lane.taps.front().offset - 1.0;
        axes.highest = lane.taps.back().offset + 1.0;
    }
    return axes;
}

void drawAxes(Svg& svg, const Axes& axes, const RateScan& rate) {
    for (int decade = 0; decade <= static_cast<int>(lowestDecade); decade += 3) {
        const double y = axes.y(std::pow(10.0, -decade));
        svg.line(left, y, right, y, "axis faint");
        svg.text(left - 5, y + 4, decade == 0 ? "1" : "1e-" + std::to_string(decade), "tiny", "end");
    }
    svg.line(left, bottom, right, bottom, "axis");
    const int step = axes.highest - axes.lowest > 24.0 ? 8 : 4;
    for (int offset = static_cast<int>(std::ceil(axes.lowest / step)) * step; offset <= axes.highest; offset += step) {
        svg.line(axes.x(offset), bottom, axes.x(offset), bottom + 4, "axis");
        svg.text(axes.x(offset), bottom + 16, (offset > 0 ? "+" : "") + std::to_string(offset), "tiny", "middle");
    }
    svg.text((left + right) / 2.0, bottom + 32,
             "sampling point in samples of " + toolkit::fixedText(rate.picoseconds(1.0), 0) + " ps, 0 as calibrated",
             "tiny", "middle");
    svg.line(axes.x(0.0), top, axes.x(0.0), bottom, "sampling");
}

void drawTaps(Svg& svg, const Axes& axes, const RateScan& rate, const LaneScan& lane) {
    for (const LaneTap& tap : lane.taps) {
        const double x = axes.x(tap.offset);
        const SlotCount count = countOf(tap, rate.plan.transitionShare);
        if (tap.beyond) {
            svg.text(x, axes.y(1.0) - 3, "\u00D7", "tiny", "middle");
        } else if (count.errors != 0) {
            svg.circle(x, axes.y(count.rate()), 3.2, "one");
        } else if (count.opportunities != 0) {
            const double y = axes.y(rateBelow(0, count.opportunities));
            svg.path("M" + coordinate(x - 3.5) + " " + coordinate(y - 3) + "L" + coordinate(x + 3.5) + " " +
                         coordinate(y - 3) + "L" + coordinate(x) + " " + coordinate(y + 3.5) + "Z",
                     "wave");
        }
    }
}

/// The fitted tail: solid as far as it was counted, dashed below.
void drawTail(Svg& svg, const Axes& axes, const LaneWall& wall, bool isSetup) {
    if (!wall.at1e12) {
        return;
    }
    const auto drawn = [&](double from, double to, const char* classes) {
        std::string data;
        for (double decade = from; decade <= to + 1e-9; decade += 0.25) {
            const double rate = std::pow(10.0, -decade);
            const double x = axes.x(isSetup ? wall.fit->at(rate) : -wall.fit->at(rate));
            if (x >= left && x <= right) {
                data += (data.empty() ? "M" : "L") + coordinate(x) + " " + coordinate(axes.y(rate));
            }
        }
        if (!data.empty()) {
            svg.path(data, classes);
        }
    };
    const double counted = -std::log10(wall.fit->deepest);
    drawn(0.5, counted, "wave");
    drawn(counted, lowestDecade, "wave faint");
}

void drawCuts(Svg& svg, const Axes& axes, const LaneEye& eye, const LaneScan& lane) {
    const auto cut = [&](int offset, const char* anchor) {
        svg.line(axes.x(offset), top, axes.x(offset), bottom, "need");
        svg.text(axes.x(offset) + (offset < 0 ? 4.0 : -4.0), top + 12, "range ends", "tiny", anchor);
    };
    if (eye.setup.state == WallState::Clipped) {
        cut(lane.lowest, "start");
    }
    if (eye.hold.state == WallState::Clipped) {
        cut(lane.highest, "end");
    }
}

enum class Cell { Clean, Errors, OutOfRange, NotMeasured };

Cell cellOf(const LaneScan& lane, int offset, double share) {
    if (offset < lane.lowest || offset > lane.highest) {
        return Cell::OutOfRange;
    }
    const auto tap = std::ranges::find_if(lane.taps, [=](const LaneTap& each) { return each.offset == offset; });
    if (tap == lane.taps.end() || (!tap->beyond && tap->bits == 0)) {
        return Cell::NotMeasured;
    }
    return tap->beyond || countOf(*tap, share).errors != 0 ? Cell::Errors : Cell::Clean;
}

Cell worstCell(const RateScan& rate, int offset) {
    Cell worst = Cell::NotMeasured;
    for (const LaneScan& lane : rate.scan.lanes) {
        const Cell cell = cellOf(lane, offset, rate.plan.transitionShare);
        if (cell == Cell::OutOfRange || cell == Cell::Errors) {
            return cell;
        }
        worst = cell == Cell::Clean ? cell : worst;
    }
    return worst;
}

void drawCell(Svg& svg, double x, double y, double size, Cell cell) {
    const double inner = size - 2.0;
    switch (cell) {
    case Cell::Clean:
        svg.rect(x + 1, y + 1, inner, inner, "open-good");
        svg.circle(x + size / 2.0, y + size / 2.0, 1.5, "one");
        break;
    case Cell::Errors:
        svg.rect(x + 1, y + 1, inner, inner, "open-bad");
        svg.line(x + 3, y + 3, x + size - 3, y + size - 3, "axis");
        svg.line(x + size - 3, y + 3, x + 3, y + size - 3, "axis");
        break;
    case Cell::OutOfRange:
        svg.line(x + 2, y + size - 2, x + size - 2, y + 2, "need");
        break;
    case Cell::NotMeasured:
        break;
    }
}

} // namespace

std::string bathtubPicture(const RateScan& rate, std::size_t lane) {
    const LaneScan& scan = rate.scan.lanes[lane];
    const LaneEye& eye = rate.eyes[lane];
    const std::string size = eye.width() ? toolkit::fixedText(*eye.width(), 1) + " samples" : "width not known";
    Svg svg(width, height,
            rate.titles[lane] + " at " + toolkit::frequencyText(rate.hertz) +
                ": errors per place over the sampling point, " + size,
            "bathtub");
    const Axes axes = axesOf(scan);
    svg.text(left, 16, rate.titles[lane], "title");
    svg.text(right, 16, size, "size", "end");
    drawAxes(svg, axes, rate);
    drawTail(svg, axes, eye.setup, true);
    drawTail(svg, axes, eye.hold, false);
    drawTaps(svg, axes, rate, scan);
    drawCuts(svg, axes, eye, scan);
    return svg.markup();
}

std::string shmooPicture(const MarginScan& scan) {
    int lowest = 0;
    int highest = 0;
    std::size_t rows = 0;
    for (const RateScan& rate : scan) {
        for (const LaneScan& lane : rate.scan.lanes) {
            if (!lane.taps.empty()) {
                lowest = std::min(lowest, lane.taps.front().offset - 1);
                highest = std::max(highest, lane.taps.back().offset + 1);
            }
        }
        rows += rate.isScanned() ? 1U : 0U;
    }
    if (rows < 2) {
        return {};
    }
    constexpr double size = 16.0;
    constexpr double start = 110.0;
    const double gridTop = 30.0;
    const double gridWidth = size * (highest - lowest + 1);
    const double gridHeight = size * static_cast<double>(scan.size());
    constexpr double wordsWidth = 420.0; // of title and key
    Svg svg(start + std::max(gridWidth, wordsWidth) + 20.0, gridTop + gridHeight + 56.0,
            "Rates against the offset of the sampling point", "shmoo");
    svg.text(start, 16, "Rates against the sampling point, the worst lane in each cell", "title");
    double y = gridTop;
    for (auto rate = scan.rbegin(); rate != scan.rend(); ++rate, y += size) {
        svg.text(start - 8, y + size - 4, toolkit::frequencyText(rate->hertz), "tiny", "end");
        if (!rate->isScanned()) {
            svg.text(start + 4, y + size - 4, "not scanned", "tiny");
            continue;
        }
        for (int offset = lowest; offset <= highest; ++offset) {
            drawCell(svg, start + size * (offset - lowest), y, size, worstCell(*rate, offset));
        }
    }
    const double zero = start + size * (0.5 - lowest);
    svg.line(zero, gridTop - 4, zero, gridTop + gridHeight + 2, "sampling faint");
    for (int offset = lowest; offset <= highest; ++offset) {
        if (offset % 4 == 0) {
            svg.text(start + size * (offset - lowest + 0.5), gridTop + gridHeight + 14,
                     (offset > 0 ? "+" : "") + std::to_string(offset), "tiny", "middle");
        }
    }
    svg.text(start, gridTop + gridHeight + 30, "samples, 0 as calibrated at each rate", "tiny");
    double x = start;
    const auto key = [&](Cell cell, const char* text) {
        drawCell(svg, x, gridTop + gridHeight + 36, size, cell);
        svg.text(x + size + 4, gridTop + gridHeight + 48, text, "tiny");
        x += 92.0;
    };
    key(Cell::Clean, "no error");
    key(Cell::Errors, "errors");
    key(Cell::OutOfRange, "cut off");
    svg.text(x, gridTop + gridHeight + 48, "empty: not measured", "tiny");
    return svg.markup();
}

} // namespace diagnosis
