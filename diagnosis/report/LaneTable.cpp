#include "diagnosis/analysis/BurstAnalysis.h"
#include "diagnosis/burst/Markup.h"
#include "diagnosis/report/Pictures.h"
#include "diagnosis/report/Sections.h"
#include "diagnosis/verdict/LaneRows.h"
#include "toolkit/Format.h"

#include <algorithm>
#include <utility>

// The table of an attempt's pins, with their margins and delays.

namespace diagnosis::page {

namespace {

/// Columns with pictures, as laneColumns() has them.
constexpr std::size_t marginsColumn = 2;
constexpr std::size_t delayColumn = 5;

/// The margins of a pin in the report; of the clock the smallest of all data pins.
CalPin reportedMargins(const CalFile& cal, std::size_t proc) {
    CalPin margins = cal.pins[proc];
    for (std::size_t data = 1; proc == 0 && data < cal.pins.size(); ++data) {
        const auto lower = [](std::optional<std::uint32_t>& value, const std::optional<std::uint32_t>& other) {
            value = value && other ? std::min(*value, *other) : value ? value : other;
        };
        lower(margins.setupMargin, cal.pins[data].setupMargin);
        lower(margins.holdMargin, cal.pins[data].holdMargin);
    }
    return margins;
}

/// The delays at which a pin's bits are sampled rightly, by its margins. The clock's delay acts the other way round.
std::optional<DelayWindow> windowOf(const CalFile& cal, std::size_t proc) {
    constexpr std::uint32_t widest = 100000; // wider windows come from damaged files
    const CalPin pin = reportedMargins(cal, proc);
    if (!pin.setupMargin || !pin.holdMargin || !pin.delay || *pin.setupMargin > widest || *pin.holdMargin > widest ||
        *pin.delay < 0 || *pin.delay > limits::highestDelay) {
        return std::nullopt;
    }
    // The sample at the clock edge itself is part of the hold margin, and is needed.
    int later = static_cast<int>(*pin.setupMargin);
    int earlier = std::max(0, static_cast<int>(*pin.holdMargin) - 1);
    if (proc == 0) {
        std::swap(later, earlier);
    }
    const bool atEnd = std::any_of(cal.pins.begin(), cal.pins.end(),
                                   [](const CalPin& other) { return other.delay == limits::highestDelay; });
    return DelayWindow{*pin.delay - earlier, *pin.delay + later, *pin.delay, atEnd};
}

/// What the windows of a table show, for its legend.
struct WindowEnds {
    bool cut = false, lost = false;

    void take(const DelayWindow& window) {
        cut = cut || (window.cutBelow() && !window.lostBelow()) || (window.cutAbove() && !window.lostAbove());
        lost = lost || window.lostBelow() || window.lostAbove();
    }
};

/// The margins of the pin's eye. Without a burst those of the report, whose hold margin counts the clock edge's own
/// sample too. Nothing where the report has none.
std::optional<EyeOpening> marginsAround(const FileGroup& attempt, std::size_t proc) {
    const CalPin& pin = attempt.cal->pins[proc];
    if (!pin.setupMargin || !pin.holdMargin) {
        return std::nullopt;
    }
    if (attempt.burst && proc < attempt.burst->pins.size()) {
        if (const auto eye = foldEye(*attempt.burst, proc); eye && eye->edges != 0) {
            return openingOf(*eye);
        }
    }
    return EyeOpening{*pin.setupMargin, *pin.holdMargin - std::min<std::uint32_t>(*pin.holdMargin, 1)};
}

MarginBar barOf(const JudgedLane& margins) {
    return {margins.setup, margins.hold, margins.limit, margins.isThin()};
}

/// The cells that the terminal's table has, in their order, with pictures where there are some.
std::string laneRow(const FileGroup& attempt, const LaneRow& row, WindowEnds& ends) {
    const CalFile& cal = *attempt.cal;
    const std::size_t proc = row.place.proc;
    const auto window = windowOf(cal, proc);
    if (window) {
        ends.take(*window);
    }
    const std::vector<std::string> cells = laneCells(row);
    std::string out = cell(escaped(cells[0]), "pin");
    for (std::size_t i = 1; i < cells.size(); ++i) {
        std::string content = escaped(cells[i]);
        if (i == marginsColumn && row.margins) {
            content = marginPicture(row.title, barOf(*row.margins), cal.rates.oversampling) +
                      (row.margins->isThin() ? "<span class=\"thin\">" + content + "</span>" : content);
        } else if (i == delayColumn && window) {
            content = delayPicture(*window, row.title) + content;
        }
        out += cell(content, "n");
    }
    return element("tr", "", out);
}

/// The smallest margins of all pins in the burst, and the receiver's own sum, by which it decides.
std::string allPinsRow(const FileGroup& attempt, std::size_t columns) {
    const CalFile& cal = *attempt.cal;
    std::optional<EyeOpening> all;
    for (std::size_t proc = 1; proc < cal.pins.size(); ++proc) {
        if (const auto margins = marginsAround(attempt, proc)) {
            all = all ? narrower(*all, *margins) : *margins;
        }
    }
    const auto rule = clockMarginOf(attempt);
    if (!all || !rule) {
        return {};
    }
    const MarginBar bar{static_cast<double>(all->setupMargin), static_cast<double>(all->holdMargin),
                        cal.rates.oversampling / 6.0, !rule->enough()};
    return "<tr class=\"sum\">" + cell("all", "pin") + cell("") +
           cell(marginPicture("all pins together", bar, cal.rates.oversampling) +
                    toolkit::setupHoldText(bar.setup, bar.hold, 0),
                "n") +
           "<td colspan=\"" + std::to_string(columns - 3) +
           "\">smallest seen: " + toolkit::countText(all->samples(), "sample") +
           " stable; the receiver's rule counts " + std::to_string(rule->sum()) + " of at least " +
           std::to_string(rule->need) + "</td></tr>";
}

std::string whyNotMeasured(const DiagnosticSet& set, const FileGroup& attempt) {
    if (set.manual()) {
        return element("p", "hint",
                       showsPins(set, attempt)
                           ? "These are the given values; the margins are those of a burst with them."
                           : "Nothing was measured: these are the given values.");
    }
    if (attempt.rates().belowAnalysis()) {
        return element(
            "p", "hint",
            "Below 10.1 MHz the receiver measures nothing on the pins and keeps the unit's default settings. "
            "The values are those of the register dump: what the report lists, including a clock delay of 31, is not "
            "written to the unit. The verdict's margins are those of the burst.");
    }
    if (attempt.cal->figuresLeftOut) {
        return element("p", "hint",
                       "The attempt ended before margins and correlations were measured. Those in its report are from "
                       "an earlier attempt and are left out here.");
    }
    return {};
}

std::string swatch(const char* look, const char* text) {
    return std::string("<span class=\"swatch ") + look + "\"></span>" + text;
}

std::string legendOf(const CalFile& cal, const WindowEnds& ends) {
    const std::string lengths = "Lengths are in samples of the unit unless noted.";
    if (std::none_of(cal.pins.begin(), cal.pins.end(),
                     [](const CalPin& pin) { return pin.setupMargin && pin.holdMargin; })) {
        return lengths;
    }
    return swatch("good", "data stable around the clock edge (purple): setup margin before it, hold margin after it; "
                          "the dashed lines are the limit") +
           swatch("bad", "below the limit (hatched)") +
           swatch("window", "delays that fit, from 0 to 31, the chosen one marked") +
           (ends.cut ? swatch("cut", "the window continues beyond the range, without any loss") : "") +
           (ends.lost ? swatch("lost", "the middle of the window is beyond the range, which reduces the margins")
                      : "") +
           ". " + lengths +
           " In the last row the margins are the smallest of all pins, and the limit is a sixth of a clock period in "
           "both directions.";
}

} // namespace

bool showsPins(const DiagnosticSet& set, const FileGroup& attempt) {
    return attempt.burst && attempt.burst->taken() && !(set.manual() && stuckLevel(*attempt.burst, 0));
}

std::string laneTable(const DiagnosticSet& set, const FileGroup& attempt) {
    if (!attempt.cal) {
        return {};
    }
    std::string heads;
    const std::vector<std::string> columns = laneColumns();
    for (std::size_t i = 0; i < columns.size(); ++i) {
        const bool right = columns[i].starts_with('>');
        const bool pictured = i == marginsColumn || i == delayColumn;
        heads += std::string("<th class=\"") + (right ? "n" : "") + (pictured ? " pic" : "") + "\">" +
                 escaped(columns[i].substr(right ? 1 : 0)) + "</th>";
    }
    std::string rows;
    WindowEnds ends;
    for (const LaneRow& row : laneRows(set, attempt)) {
        rows += laneRow(attempt, row, ends);
    }
    return element("h3", "", "Lanes") + whyNotMeasured(set, attempt) +
           element("div", "scroll",
                   element("table", "lanes", element("tr", "", heads) + rows + allPinsRow(attempt, columns.size()))) +
           element("p", "legend", legendOf(*attempt.cal, ends));
}

} // namespace diagnosis::page
