#include "diagnosis/analysis/BurstAnalysis.h"
#include "diagnosis/burst/Markup.h"
#include "diagnosis/report/Pictures.h"
#include "diagnosis/report/Sections.h"
#include "toolkit/Format.h"

#include <algorithm>
#include <cmath>
#include <utility>

// The table of an attempt's pins, with their margins and delays.

namespace diagnosis::page {

namespace {

std::string orDash(const std::optional<int>& value) {
    return value ? std::to_string(*value) : "-";
}

std::string dutyText(const FileGroup& attempt, std::size_t proc) {
    if (!attempt.burst || proc >= attempt.burst->pins.size()) {
        return "-";
    }
    const auto duty = dutyOf(*attempt.burst, proc);
    return duty ? toolkit::fixedText(duty->high, 1) + " / " + toolkit::fixedText(duty->low, 1) : "-";
}

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

std::string marginsText(const EyeOpening& margins) {
    return std::to_string(margins.setupMargin) + " / " + std::to_string(margins.holdMargin);
}

std::string laneRow(const DiagnosticSet& set, const FileGroup& attempt, std::size_t proc, WindowEnds& ends) {
    const CalFile& cal = *attempt.cal;
    const CalPin& pin = cal.pins[proc];
    const std::string title = pinTitle(set, proc);
    const auto window = windowOf(cal, proc);
    const auto margins = marginsAround(attempt, proc);
    std::string correlation = "-";
    if (pin.correlationAtZero) {
        correlation = std::isfinite(*pin.correlationAtZero) ? toolkit::fixedText(*pin.correlationAtZero, 3) : "none";
    }
    if (window) {
        ends.take(*window);
    }
    const std::string input = attempt.burst && attempt.burst->taken() && proc < attempt.burst->pins.size()
                                  ? std::to_string(attempt.burst->pins[proc].rcvrpin)
                                  : "-";
    return "<tr>" + cell(escaped(title), "pin") + cell(input, "n") +
           cell(proc == 0 ? "" : marginPicture(pin.name, margins, cal.rates)) +
           cell(margins     ? marginsText(*margins)
                : proc == 0 ? ""
                            : "-",
                "n") +
           cell(window ? delayPicture(*window, title) : "") + cell(orDash(pin.delay), "n") +
           cell(orDash(pin.stretch), "n") + cell(dutyText(attempt, proc), "n") + cell(correlation, "n") +
           cell(orDash(pin.filter) + " / " + orDash(pin.plateau) + " / " + orDash(pin.debounce), "n") + "</tr>";
}

/// The smallest margins of all pins, and the receiver's own sum, by which it decides.
std::string allPinsRow(const FileGroup& attempt) {
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
    return "<tr class=\"sum\">" + cell("all together", "pin") + cell("") +
           cell(marginPicture("all pins together", all, cal.rates)) + cell(marginsText(*all), "n") +
           "<td colspan=\"6\">" + toolkit::countText(all->samples(), "sample") +
           " stable; the receiver's rule counts " + std::to_string(rule->sum()) + " of at least " +
           std::to_string(rule->need) + "</td></tr>";
}

std::string whyNotMeasured(const DiagnosticSet& set, const FileGroup& attempt) {
    if (set.manual()) {
        return element("p", "hint", "Nothing was measured: these are the given values.");
    }
    if (attempt.rates().belowAnalysis()) {
        return element(
            "p", "hint",
            "Below 10.1 MHz the receiver measures nothing on the pins and keeps the unit's default settings. "
            "The values are those of the register dump: what the report lists, including a clock delay of 31, is not "
            "written to the unit. Only the verification shows whether they fit.");
    }
    if (attempt.cal->figuresLeftOut) {
        return element("p", "hint",
                       "The attempt ended before margins and correlations were measured. Those in its report are from "
                       "an earlier attempt and are left out here.");
    }
    return {};
}

std::string swatch(const char* colour, const char* text) {
    return std::string("<span class=\"swatch\" style=\"background:var(--") + colour + ")\"></span>" + text;
}

std::string legendOf(const CalFile& cal, const WindowEnds& ends) {
    const std::string lengths = "Lengths are in samples.";
    if (std::none_of(cal.pins.begin(), cal.pins.end(),
                     [](const CalPin& pin) { return pin.setupMargin && pin.holdMargin; })) {
        return lengths;
    }
    return swatch("goodfill", "data stable around the clock's edge (purple): setup margin before it, hold margin after "
                              "it") +
           swatch("badfill",
                  "less than a third of a clock period by the receiver's rule; the dashed lines mark a sixth "
                  "in both directions") +
           swatch("window", "delays that fit, the chosen one marked") +
           (ends.cut ? swatch("soft", "the window continues beyond the range, without any loss") : "") +
           (ends.lost ? swatch("bad", "the middle of the window is beyond the range, which reduces the margins") : "") +
           ". " + lengths;
}

} // namespace

std::string laneTable(const DiagnosticSet& set, const FileGroup& attempt) {
    if (!attempt.cal) {
        return {};
    }
    std::string rows =
        "<tr><th>pin</th><th class=\"n\">input</th><th class=\"pic\">margins around the clock's edge</th>"
        "<th class=\"n\">setup / hold margin</th><th class=\"pic\">delays that fit, 0 to 31</th>"
        "<th class=\"n\">delay</th><th class=\"n\">stretch</th><th class=\"n\">ones / zeros</th>"
        "<th class=\"n\">correlation</th><th class=\"n\">filter / plateau / debounce</th></tr>";
    WindowEnds ends;
    for (std::size_t proc = 0; proc < attempt.cal->pins.size(); ++proc) {
        rows += laneRow(set, attempt, proc, ends);
    }
    return element("h3", "", "Lanes") + whyNotMeasured(set, attempt) +
           element("div", "scroll", element("table", "lanes", rows + allPinsRow(attempt))) +
           element("p", "legend", legendOf(*attempt.cal, ends));
}

} // namespace diagnosis::page
