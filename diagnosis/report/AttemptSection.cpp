#include "diagnosis/analysis/BurstAnalysis.h"
#include "diagnosis/analysis/LaneMatch.h"
#include "diagnosis/report/Html.h"
#include "diagnosis/report/Pictures.h"
#include "diagnosis/report/Sections.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <utility>

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
    return duty ? fixed(duty->high, 1) + " / " + fixed(duty->low, 1) : "-";
}

/// The delays at which a pin's bits come right, as far as its margins tell. The clock's moves the other way.
std::optional<DelayWindow> windowOf(const CalFile& cal, std::size_t proc) {
    const CalPin& pin = cal.pins[proc];
    std::optional<std::uint32_t> setup = pin.setup;
    std::optional<std::uint32_t> hold = pin.hold;
    if (proc == 0) {
        for (std::size_t data = 1; data < cal.pins.size(); ++data) {
            const CalPin& other = cal.pins[data];
            if (other.setup) {
                setup = std::min(setup.value_or(*other.setup), *other.setup);
            }
            if (other.hold) {
                hold = std::min(hold.value_or(*other.hold), *other.hold);
            }
        }
    }
    constexpr std::uint32_t widest = 100000; // no window is wider; a damaged file may say anything
    if (!setup || !hold || !pin.delay || *setup > widest || *hold > widest || *pin.delay < 0 ||
        *pin.delay > largestDelay) {
        return std::nullopt;
    }
    // Of the room behind the edge the sample at the edge itself is needed.
    int later = static_cast<int>(*setup);
    int earlier = std::max(0, static_cast<int>(*hold) - 1);
    if (proc == 0) {
        std::swap(later, earlier);
    }
    const bool atEnd =
        std::any_of(cal.pins.begin(), cal.pins.end(), [](const CalPin& other) { return other.delay == largestDelay; });
    return DelayWindow{*pin.delay - earlier, *pin.delay + later, *pin.delay, atEnd};
}

/// What the windows of a table show, for its legend.
struct Ends {
    bool cut = false, lost = false;

    void take(const DelayWindow& window) {
        cut = cut || (window.cutBelow() && !window.lostBelow()) || (window.cutAbove() && !window.lostAbove());
        lost = lost || window.lostBelow() || window.lostAbove();
    }
};

/// The room around the clock's edge: the eye's. Without a burst the report's, whose second margin has the edge's own
/// sample in it. Nothing where the report has no margins.
std::optional<Opening> roomAround(const FileGroup& attempt, std::size_t proc) {
    const CalPin& pin = attempt.cal->pins[proc];
    if (!pin.setup || !pin.hold) {
        return std::nullopt;
    }
    if (attempt.burst && proc < attempt.burst->pins.size()) {
        if (const auto eye = foldEye(*attempt.burst, proc); eye && eye->edges != 0) {
            return openingOf(*eye);
        }
    }
    return Opening{*pin.setup, *pin.hold - std::min<std::uint32_t>(*pin.hold, 1)};
}

std::string roomText(const Opening& room) {
    return std::to_string(room.ahead) + " / " + std::to_string(room.behind);
}

std::string laneRow(const DiagnosticSet& set, const FileGroup& attempt, std::size_t proc, Ends& ends) {
    const CalFile& cal = *attempt.cal;
    const CalPin& pin = cal.pins[proc];
    const std::string title = pinTitle(set, proc);
    const auto window = windowOf(cal, proc);
    const auto room = roomAround(attempt, proc);
    const std::string margin = room ? roomText(*room) : proc == 0 ? "" : "-";
    std::string correlation = "-";
    if (pin.correlationAtZero) {
        correlation = std::isfinite(*pin.correlationAtZero) ? fixed(*pin.correlationAtZero, 3) : "none";
    }
    if (window) {
        ends.take(*window);
    }
    const std::string input = attempt.burst && attempt.burst->taken() && proc < attempt.burst->pins.size()
                                  ? std::to_string(attempt.burst->pins[proc].rcvrpin)
                                  : "-";
    return "<tr>" + cell(escaped(title), "pin") + cell(input, "n") +
           cell(proc == 0 ? "" : marginPicture(pin.name, room, cal.rates.oversampling)) + cell(margin, "n") +
           cell(window ? delayPicture(*window, title) : "") + cell(orDash(pin.delay), "n") +
           cell(orDash(pin.stretch), "n") + cell(dutyText(attempt, proc), "n") + cell(correlation, "n") +
           cell(orDash(pin.filter) + " / " + orDash(pin.plateau) + " / " + orDash(pin.debounce), "n") + "</tr>";
}

/// The smallest room on either side, of whatever pin. The receiver judges by its own sum of the margins, which is named
/// as such.
std::string allPinsRow(const FileGroup& attempt) {
    const CalFile& cal = *attempt.cal;
    std::optional<Opening> all;
    for (std::size_t proc = 1; proc < cal.pins.size(); ++proc) {
        if (const auto room = roomAround(attempt, proc)) {
            all = all ? narrower(*all, *room) : *room;
        }
    }
    const auto rule = clockMarginOf(attempt);
    if (!all || !rule) {
        return {};
    }
    return "<tr class=\"sum\">" + cell("all together", "pin") + cell("") +
           cell(marginPicture("all pins together", all, cal.rates.oversampling)) + cell(roomText(*all), "n") +
           "<td colspan=\"6\">" + samplesWords(all->samples()) + " free; the receiver's rule counts " +
           std::to_string(rule->hold + rule->setup) + " of at least " + std::to_string(rule->need) + "</td></tr>";
}

std::string whyNotMeasured(const DiagnosticSet& set, const FileGroup& attempt) {
    const double rate = attempt.rates().exportFrequency;
    if (set.manual()) {
        return element("p", "hint", "Nothing was measured: these are the values that were given.");
    }
    if (rate > 0.0 && rate < slowestAnalysed) {
        return element(
            "p", "hint",
            "Below 10.1 MHz the receiver measures nothing on the pins and keeps the unit's default settings. "
            "The values are those of the register dump: what the report lists, a clock delay of 31 among it, is not "
            "written to the unit. Only the proof tells whether they do.");
    }
    if (attempt.cal->figuresLeftOut) {
        return element("p", "hint",
                       "The attempt ended before margins and correlations were measured. Those in its report are of "
                       "an earlier attempt and are left out here.");
    }
    return {};
}

std::string laneTable(const DiagnosticSet& set, const FileGroup& attempt) {
    if (!attempt.cal) {
        return {};
    }
    std::string rows = "<tr><th>pin</th><th class=\"n\">input</th><th class=\"pic\">room around the clock's edge</th>"
                       "<th class=\"n\">ahead / behind</th><th class=\"pic\">delays that would do, 0 to 31</th>"
                       "<th class=\"n\">delay</th><th class=\"n\">stretch</th><th class=\"n\">ones / zeros</th>"
                       "<th class=\"n\">correlation</th><th class=\"n\">filter / plateau / debounce</th></tr>";
    Ends ends;
    for (std::size_t proc = 0; proc < attempt.cal->pins.size(); ++proc) {
        rows += laneRow(set, attempt, proc, ends);
    }
    rows += allPinsRow(attempt);
    std::string legend =
        "<span class=\"swatch\" style=\"background:var(--goodfill);margin-left:0\"></span>room between "
        "the data's changes around the clock's edge (purple)<span class=\"swatch\" "
        "style=\"background:var(--badfill)\"></span>less than a third of a clock period by the receiver's rule; the "
        "dashed "
        "lines stand a sixth to either side<span class=\"swatch\" "
        "style=\"background:var(--window)\"></span>delays that would do, the chosen one marked";
    if (ends.cut) {
        legend += "<span class=\"swatch\" style=\"background:var(--soft)\"></span>the window goes on beyond the range, "
                  "which costs nothing";
    }
    if (ends.lost) {
        legend += "<span class=\"swatch\" style=\"background:var(--bad)\"></span>the middle of the window lies beyond "
                  "the range, and room is lost by it";
    }
    legend += ". Lengths are in samples.";
    const auto measured = [](const CalPin& pin) { return pin.setup && pin.hold; };
    if (std::none_of(attempt.cal->pins.begin(), attempt.cal->pins.end(), measured)) {
        legend = "Lengths are in samples.";
    }
    return element("h3", "", "Lanes") + whyNotMeasured(set, attempt) +
           element("div", "scroll", element("table", "lanes", rows)) + element("p", "legend", legend);
}

std::string eyeGrid(const DiagnosticSet& set, const FileGroup& attempt) {
    const Burst& burst = *attempt.burst;
    std::string eyes;
    const double needed = std::floor(burst.rates.oversampling / 3.0 + 0.5);
    for (std::size_t proc = 1; proc < burst.pins.size(); ++proc) {
        const auto eye = foldEye(burst, proc);
        if (eye) {
            eyes += eyePicture(*eye, burst.rates, pinTitle(set, proc), needed);
        }
    }
    if (eyes.empty()) {
        return element("p", "hint", "The burst shows no running clock, so that there are no eyes to draw.");
    }
    const std::string heading =
        element("h3", "", "Eyes") +
        element("p", "hint",
                "Every change of a pin in the burst, laid over each other around the clock's edge at which the bit is "
                "taken. The darker a line, the more often the pin changed there; the bars below count. The distances "
                "are in samples.");
    // A heading that is printed at the foot of a page belongs to the pictures on the next.
    return element("div", "keep", heading + element("div", "eyes", eyes));
}

/// The data edge that comes nearest to a clock edge.
struct Tightest {
    std::size_t room = 0;
    Spot spot;
};
std::optional<Tightest> tightestOf(const DiagnosticSet& set, const Burst& burst) {
    std::optional<Tightest> found;
    const auto consider = [&](const std::optional<std::size_t>& room, std::size_t at, std::size_t proc,
                              const char* side) {
        if (room && (!found || *room < found->room)) {
            found = Tightest{*room, {at, proc, "smallest room, " + pinTitle(set, proc) + " " + side}};
        }
    };
    for (std::size_t proc = 1; proc < burst.pins.size(); ++proc) {
        const Room room = roomOf(burst, proc);
        consider(room.setup, room.setupAt, proc, "ahead of the clock edge");
        // The receiver's rule counts the edge's own sample.
        consider(room.hold ? std::optional(*room.hold - 1) : room.hold, room.holdAt, proc, "behind the clock edge");
    }
    return found;
}

std::vector<std::string> titlesOf(const DiagnosticSet& set, const Burst& burst) {
    std::vector<std::string> titles;
    for (std::size_t proc = 0; proc < burst.pins.size(); ++proc) {
        titles.push_back(pinTitle(set, proc));
    }
    return titles;
}

constexpr const char* waveformLegend =
    "Purple lines are the clock's edges, at which the pins are taken: a full dot is a 1, an empty one a 0. Time counts "
    "from the burst's first sample.";

std::string waveforms(const DiagnosticSet& set, const FileGroup& attempt) {
    const Burst& burst = *attempt.burst;
    const auto tightest = tightestOf(set, burst);
    const std::size_t around = tightest ? tightest->spot.sample : burst.samples() / 2;
    std::string out = element("h3", "", "Waveforms");
    if (tightest) {
        out += element(
            "p", "hint",
            "The part of the burst in which a pin comes nearest to a clock edge: " + escaped(tightest->spot.label) +
                ", " + std::to_string(tightest->room) + (tightest->room == 1 ? " sample." : " samples."));
        out += burstStrip(burst, {tightest->spot});
    }
    out +=
        waveformPicture(burst, around, tightest ? std::optional(tightest->spot) : std::nullopt, titlesOf(set, burst));
    return element("div", "keep", out + element("p", "legend", waveformLegend));
}

std::string hex(std::uint16_t word) {
    constexpr const char* digits = "0123456789ABCDEF";
    std::string out;
    for (int shift = 12; shift >= 0; shift -= 4) {
        out += digits[word >> shift & 0xF];
    }
    return out;
}

std::string proofSection(const DiagnosticSet& set, const FileGroup& attempt) {
    const Verification& proof = *attempt.verification;
    if (attempt.pins() < 2) {
        return {};
    }
    const std::size_t dataPins = attempt.pins() - 1;
    const auto match = matchLanes(proof, dataPins, set.provedWith());
    std::string out = element("h3", "", "Proof");
    std::string text = std::to_string(proof.packets) + " packets, " + std::to_string(proof.words.size()) + " words";
    if (proof.otherPackets + proof.unknownPackets != 0) {
        text += ", " + std::to_string(proof.otherPackets) + " packets without trace, " +
                std::to_string(proof.unknownPackets) + " of no known type";
    }
    if (!match) {
        return out + element("p", "", text + ". There is no pattern for this number of pins.");
    }
    const auto patterns = patternsFor(dataPins);
    const auto sent = std::find_if(patterns.begin(), patterns.end(),
                                   [&](const auto& pattern) { return pattern.name == match->pattern; });
    const PatternCheck check = checkPattern(proof, *sent);
    text += ". Pattern " + match->pattern + ": " + std::to_string(check.errors) +
            (check.errors == 1 ? " fault." : " faults.");
    out += element("p", "", escaped(text));
    std::string rows = "<tr><th>pin</th><th class=\"n\">fits its own bits</th><th class=\"n\">fits best</th>"
                       "<th>that is, the bits of</th><th>shifted by</th></tr>";
    for (std::size_t lane = 0; lane < match->lanes.size(); ++lane) {
        const Lane& found = match->lanes[lane];
        const std::string carries = found.stuck ? "always " + std::to_string(*found.stuck) : pinName(found.carries + 1);
        std::string shift = found.shift == 0             ? "none"
                            : std::abs(found.shift) == 1 ? std::to_string(found.shift) + " slot"
                                                         : std::to_string(found.shift) + " slots";
        if (!found.shiftSignKnown) {
            shift = "one slot, either way";
        }
        rows += "<tr>" + cell(escaped(pinTitle(set, lane + 1)), "pin") +
                cell(number(found.asNamed * 100.0, 3) + " %", "n") +
                cell(number(found.agreement * 100.0, 3) + " %", "n") + cell(carries) + cell(shift) + "</tr>";
    }
    out += element("div", "scroll", element("table", "proof", rows));
    if (!check.firstErrors.empty()) {
        std::string first;
        for (const std::size_t at : check.firstErrors) {
            first += (first.empty() ? "" : ", ") + std::string("packet ") + std::to_string(proof.packetOf(at)) +
                     " word " + std::to_string(proof.indexOf(at)) + " <code>" + hex(proof.words[at]) + "</code>";
        }
        out += element("p", "hint", "The first words at fault: " + first + ".");
    }
    return out;
}

} // namespace

std::string attemptSection(const DiagnosticSet& set, const FileGroup& attempt, const Verdict& verdict) {
    const std::string title = attemptTitle(attempt);
    const std::string heading = attempt.setting ? "S" + title.substr(1)
                                : set.manual()  ? "The given values"
                                                : "What was measured";
    std::string out = element("h2", "", escaped(heading) + " " + (attempt.setting ? verdictBadge(verdict) : ""));
    std::string words = escaped(verdict.words);
    if (!verdict.receiverText.empty()) {
        words = "<b>" + escaped(verdict.receiverText) + ".</b> " + words;
    }
    out += element("p", "", words);
    out += laneTable(set, attempt);
    if (attempt.burst && (set.manual() || !attempt.burst->taken())) {
        out += element("p", "hint", "No burst was taken, so that there are neither eyes nor waveforms to draw.");
    } else if (attempt.burst && stuckLevel(*attempt.burst, 0)) {
        out += element("p", "hint", "The burst shows no running clock: there are neither eyes nor waveforms to draw.");
    } else if (attempt.burst) {
        out += eyeGrid(set, attempt);
        out += waveforms(set, attempt);
    }
    if (attempt.verification) {
        out += proofSection(set, attempt);
    }
    return out;
}

std::string lostMarginSection(const DiagnosticSet& set) {
    if (!set.base.failedBurst) {
        return {};
    }
    const Burst& burst = *set.base.failedBurst;
    std::string out = element("h2", "", "A margin that failed during a recording");
    const int margin = lostMarginSetting(set);
    const auto failure = findMarginFailure(burst, margin);
    if (!failure) {
        return out + element("p", "",
                             "The burst was kept, but holds no failure at a margin of " + std::to_string(margin) + ".");
    }
    const Spot spot{failure->sample, 0, failure->clock ? "clock margin failure" : "data margin failure"};
    out += element("p", "",
                   std::string(failure->clock ? "The clock changed although no data had changed since its "
                                                "edge before"
                                              : "The data changed twice between two edges of the clock") +
                       ": at sample " + std::to_string(failure->sample) + ", which the receiver calls index " +
                       std::to_string(failure->word) +
                       ". This file stays from run to run; remove it once it has been looked at.");
    out += burstStrip(burst, {spot});
    out += waveformPicture(burst, spot.sample, spot, titlesOf(set, burst));
    return out + element("p", "legend", waveformLegend);
}

} // namespace diagnosis::page
