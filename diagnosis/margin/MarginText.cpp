#include "diagnosis/margin/MarginScan.h"
#include "toolkit/Format.h"
#include "toolkit/Masked.h"
#include "toolkit/Table.h"
#include "toolkit/Text.h"

#include <algorithm>
#include <cmath>

namespace diagnosis {

namespace {

constexpr const char* bathtubLegend =
    "Offsets of the sampling point in samples, 0 the kept values. - no error, 1 to 9 errors of about\n"
    "1e-1 to 1e-9 per place, # past the wall, blank not measured, | end of the range.\n";
constexpr const char* shmooLegend =
    "The worst lane at each offset: - no error, x errors, . not measured, / out of the range.\n";
constexpr const char* assumption = "Rates of 1e-9 and 1e-12 assume Gaussian tails.\n";

std::string marginCell(const RateScan& rate, const LaneWall& wall) {
    if (!wall.margin || wall.state == WallState::Closed) {
        return "-";
    }
    const std::string least = wall.state == WallState::Clipped ? ">=" : "";
    return least + toolkit::fixedText(*wall.margin, 1) + " " + toolkit::fixedText(rate.picoseconds(*wall.margin), 0) +
           " ps " + toolkit::fixedText(rate.percentOfBit(*wall.margin), 0) + " %";
}

std::string burstCell(const RateScan& rate, std::size_t lane) {
    const auto& burst = rate.bursts[lane];
    return burst ? toolkit::fixedText(burst->setup, 1) + " " + toolkit::fixedText(burst->hold, 1) : "-";
}

std::string laneTable(const RateScan& rate, std::size_t columns) {
    toolkit::Table table({"lane", ">setup", "wall", ">hold", "wall", ">clean", ">1e-9", ">1e-12", ">burst"});
    for (std::size_t i = 0; i < rate.eyes.size(); ++i) {
        const LaneEye& eye = rate.eyes[i];
        table.addRow({rate.titles[i], marginCell(rate, eye.setup), wallStateName(eye.setup.state),
                      marginCell(rate, eye.hold), wallStateName(eye.hold.state), std::to_string(eye.cleanTaps()),
                      samplesText(eye.widthAt1e9()), samplesText(eye.widthAt1e12()), burstCell(rate, i)});
    }
    return table.text(columns);
}

char markOf(const LaneScan& lane, int offset, double share) {
    if (offset < lane.lowest || offset > lane.highest) {
        return '|';
    }
    const auto at = std::ranges::find_if(lane.taps, [=](const LaneTap& tap) { return tap.offset == offset; });
    if (at == lane.taps.end() || (!at->beyond && at->bits == 0)) {
        return ' ';
    }
    const SlotCount count = countOf(*at, share);
    if (at->beyond || count.rate() >= 0.25) {
        return '#';
    }
    if (count.errors == 0) {
        return '-';
    }
    const int decades = static_cast<int>(std::lround(-std::log10(count.rate())));
    return static_cast<char>('0' + std::clamp(decades, 1, 9));
}

struct Reach {
    int lowest = 0, highest = 0;
};

Reach reachOf(const RateScan& rate) {
    Reach reach;
    for (const LaneScan& lane : rate.scan.lanes) {
        if (!lane.taps.empty()) {
            reach.lowest = std::min(reach.lowest, lane.taps.front().offset);
            reach.highest = std::max(reach.highest, lane.taps.back().offset);
        }
    }
    return {reach.lowest - 1, reach.highest + 1};
}

/// The line that says where offset 0 is.
std::string rulerText(std::size_t indent, const Reach& reach) {
    const std::string low = std::to_string(reach.lowest);
    std::string line(indent, ' ');
    line += low;
    const auto zero = indent + static_cast<std::size_t>(-reach.lowest);
    line.resize(std::max(line.size() + 1, zero), ' ');
    line += "0";
    const auto end = indent + static_cast<std::size_t>(reach.highest - reach.lowest);
    line.resize(std::max(line.size() + 1, end), ' ');
    return line + "+" + std::to_string(reach.highest) + "\n";
}

std::string bathtubs(const RateScan& rate) {
    std::size_t widest = 0;
    for (const std::string& title : rate.titles) {
        widest = std::max(widest, title.size());
    }
    const Reach reach = reachOf(rate);
    std::string text = rulerText(widest + 2, reach);
    for (std::size_t i = 0; i < rate.eyes.size(); ++i) {
        std::string row = rate.titles[i];
        row.resize(widest + 2, ' ');
        for (int offset = reach.lowest; offset <= reach.highest; ++offset) {
            row += markOf(rate.scan.lanes[i], offset, rate.plan.transitionShare);
        }
        row.erase(row.find_last_not_of(' ') + 1);
        text += row + "\n";
    }
    return text;
}

/// The mark of all lanes at an offset: the worst.
char worstMark(const RateScan& rate, int offset) {
    bool isMeasured = false;
    for (const LaneScan& lane : rate.scan.lanes) {
        const char mark = markOf(lane, offset, rate.plan.transitionShare);
        if (mark == '|') {
            return '/';
        }
        if (mark == '#' || (mark >= '0' && mark <= '9')) {
            return 'x';
        }
        isMeasured = isMeasured || mark == '-';
    }
    return isMeasured ? '-' : '.';
}

std::string shmooText(const MarginScan& scan) {
    Reach reach;
    std::size_t rows = 0;
    for (const RateScan& rate : scan) {
        if (rate.isScanned()) {
            const Reach own = reachOf(rate);
            reach = {std::min(reach.lowest, own.lowest), std::max(reach.highest, own.highest)};
            ++rows;
        }
    }
    if (rows < 2) {
        return {};
    }
    constexpr std::size_t indent = 12;
    std::string text = "\nRates against offsets\n" + rulerText(indent, reach);
    for (auto rate = scan.rbegin(); rate != scan.rend(); ++rate) {
        std::string row = toolkit::frequencyText(rate->hertz);
        row.resize(indent, ' ');
        if (!rate->isScanned()) {
            text += row + toolkit::masked("not scanned: " + rate->refusal) + "\n";
            continue;
        }
        for (int offset = reach.lowest; offset <= reach.highest; ++offset) {
            row += worstMark(*rate, offset);
        }
        text += row + "\n";
    }
    return text + shmooLegend;
}

std::string rateText(const RateScan& rate, std::size_t columns) {
    std::string text = "\n" + toolkit::frequencyText(rate.hertz) + ", " + toolkit::fixedText(rate.plan.bitSamples, 1) +
                       " samples in a bit, " + toolkit::countText(rate.scan.recordings, "recording") + ", " +
                       toolkit::fixedText(rate.seconds, 1) + " s" + (rate.scan.interrupted ? ", interrupted" : "") +
                       "\n" + laneTable(rate, columns);
    for (std::size_t i = 0; i < rate.eyes.size(); ++i) {
        if (const std::string difference = disagreementOf(rate, i); !difference.empty()) {
            text += rate.titles[i] + ": " + difference + "\n";
        }
        const LaneEye& eye = rate.eyes[i];
        if (eye.isCut()) {
            text += rate.titles[i] + ": cut off by the range of delays, not closed\n";
        }
    }
    return text + bathtubs(rate);
}

} // namespace

std::string marginText(const MarginScan& scan, std::size_t columns) {
    std::string text;
    const std::string answer = marginAnswer(scan);
    for (const toolkit::TextLine& line : toolkit::textLines(answer)) {
        text += toolkit::wrapped(toolkit::masked(line.text), columns, 2) + "\n";
    }
    bool isAnyScanned = false;
    for (const RateScan& rate : scan) {
        if (rate.isScanned()) {
            text += rateText(rate, columns);
            isAnyScanned = true;
        }
    }
    return isAnyScanned ? text + bathtubLegend + assumption + shmooText(scan) : text;
}

} // namespace diagnosis
