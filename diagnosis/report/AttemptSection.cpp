#include "diagnosis/analysis/BurstAnalysis.h"
#include "diagnosis/analysis/LaneMatch.h"
#include "diagnosis/burst/Markup.h"
#include "diagnosis/report/Pictures.h"
#include "diagnosis/report/Sections.h"
#include "toolkit/Format.h"

#include <fmt/core.h>

#include <cstdlib>

namespace diagnosis::page {

namespace {

std::string eyeGrid(const DiagnosticSet& set, const FileGroup& attempt) {
    const Burst& burst = *attempt.burst;
    std::string eyes;
    for (std::size_t proc = 1; proc < burst.pins.size(); ++proc) {
        if (const auto eye = foldEye(burst, proc)) {
            eyes += eyePicture(*eye, burst.rates, pinTitle(set, proc));
        }
    }
    if (eyes.empty()) {
        return element("p", "hint", "The burst shows no running clock: there are no eyes to draw.");
    }
    const std::string heading =
        element("h3", "", "Eyes") +
        element(
            "p", "hint",
            "Every change of a pin in the burst, overlaid around the clock edge (purple) at which the bit is sampled. "
            "The darker a line, the more often the pin changed there. The bars below count, max at the tallest; "
            "heights "
            "are square roots, so that rare changes show. Dashed marks are the neighbouring clock edges. The field is "
            "open in the whole burst, and hatched if it is too small by the receiver's rule. In the lower scale a unit "
            "interval, UI, is one bit.");
    // When printed, a heading at the foot of a page would be separated from its pictures.
    return element("div", "keep", heading + element("div", "eyes", eyes));
}

/// The data edge with the smallest margin.
struct Tightest {
    std::size_t margin = 0;
    Spot spot;
};
std::optional<Tightest> tightestOf(const DiagnosticSet& set, const Burst& burst) {
    std::optional<Tightest> found;
    const auto consider = [&](const std::optional<std::size_t>& margin, std::size_t at, std::size_t proc,
                              const char* kind) {
        if (margin && (!found || *margin < found->margin)) {
            found = Tightest{*margin, {at, proc, std::string("smallest ") + kind + ", " + pinTitle(set, proc)}};
        }
    };
    for (std::size_t proc = 1; proc < burst.pins.size(); ++proc) {
        const BurstMargins margins = marginsOf(burst, proc);
        consider(margins.setupMargin, margins.setupAt, proc, "setup margin");
        // The receiver's rule counts the edge's own sample.
        consider(margins.holdMargin ? std::optional(*margins.holdMargin - 1) : std::nullopt, margins.holdAt, proc,
                 "hold margin");
    }
    return found;
}

/// A strip that shows where the spot is, and the waveforms around it.
std::string pictureOf(const DiagnosticSet& set, const Burst& burst, const std::optional<Spot>& spot) {
    Waveforms shown{partAround(burst, spot ? spot->sample : burst.samples() / 2), {}, {}, {}, spot};
    for (std::size_t proc = 0; proc < burst.pins.size(); ++proc) {
        shown.titles.push_back(pinTitle(set, proc));
    }
    return element("div", "scroll drawn",
                   (spot ? burstStrip(burst, {*spot}) : std::string()) + waveformPicture(burst, shown)) +
           element("p", "legend",
                   "Purple lines are the clock's edges, at which the pins are sampled: a full dot is a 1, an empty one "
                   "a 0. Time counts from the burst's first sample." +
                       std::string(spot ? " The red field and arrow mark the position; the dark start of the strip is "
                                          "not analysed."
                                        : ""));
}

std::string waveforms(const DiagnosticSet& set, const Burst& burst) {
    const auto tightest = tightestOf(set, burst);
    std::string out = element("h3", "", "Waveforms");
    if (tightest) {
        out += element("p", "hint",
                       "The part of the burst in which a pin changes nearest to a clock edge: " +
                           escaped(tightest->spot.label) + ", " + toolkit::countText(tightest->margin, "sample") + ".");
    }
    return element("div", "keep", out + pictureOf(set, burst, tightest ? std::optional(tightest->spot) : std::nullopt));
}

std::string matchRow(const DiagnosticSet& set, const Lane& found, std::size_t lane) {
    const std::string carries =
        found.stuck ? "always " + std::to_string(*found.stuck) : escaped(pinLabel(set, found.carries + 1));
    const std::string shift = !found.shiftSignKnown        ? "one slot, in either direction"
                              : found.shift == 0           ? "none"
                              : std::abs(found.shift) == 1 ? std::to_string(found.shift) + " slot"
                                                           : std::to_string(found.shift) + " slots";
    return "<tr>" + cell(escaped(pinTitle(set, lane + 1)), "pin") +
           cell(toolkit::numberText(found.asNamed * 100.0, 3) + " %", "n") +
           cell(toolkit::numberText(found.agreement * 100.0, 3) + " %", "n") + cell(carries) + cell(shift) + "</tr>";
}

std::string firstErrorsText(const Verification& recording, const PatternCheck& check) {
    std::string first;
    for (const std::size_t at : check.firstErrors) {
        first += (first.empty() ? "" : "; ") + std::string("packet ") + std::to_string(recording.packetOf(at)) +
                 ", word " + std::to_string(recording.indexOf(at)) + ": <code>" +
                 fmt::format("{:04X}", recording.words[at]) + "</code>";
    }
    return first.empty() ? first : element("p", "hint", "The first wrong words: " + first + ".");
}

std::string verificationSection(const DiagnosticSet& set, const FileGroup& attempt) {
    const Verification& recording = *attempt.verification;
    if (attempt.pins() < 2) {
        return {};
    }
    const std::size_t dataPins = attempt.pins() - 1;
    const std::string heading = element("h3", "", "Verification");
    std::string text =
        std::to_string(recording.packets) + " packets, " + std::to_string(recording.words.size()) + " words";
    if (recording.otherPackets + recording.unknownPackets != 0) {
        text += ", " + std::to_string(recording.otherPackets) + " packets without trace, " +
                std::to_string(recording.unknownPackets) + " of no known type";
    }
    const auto match = matchLanes(recording, dataPins, set.verificationPattern());
    const auto sent = match ? patternNamed(dataPins, match->pattern) : std::nullopt;
    if (!sent) {
        return heading + element("p", "", text + ". There is no pattern for this number of pins.");
    }
    const PatternCheck check = checkPattern(recording, *sent);
    text += ". Pattern " + match->pattern + ": " + toolkit::countText(check.errors, "fault") + ".";
    std::string rows = "<tr><th>pin</th><th class=\"n\">fits its own bits</th><th class=\"n\">fits best</th>"
                       "<th>that is, the bits of</th><th>shifted by</th></tr>";
    for (std::size_t lane = 0; lane < match->lanes.size(); ++lane) {
        rows += matchRow(set, match->lanes[lane], lane);
    }
    return heading + element("p", "", escaped(text)) +
           element("div", "scroll", element("table", "verification", rows)) + firstErrorsText(recording, check);
}

} // namespace

std::string verdictText(const Verdict& verdict) {
    const std::string words = escaped(verdict.words);
    return verdict.receiverText.empty() ? words : "<b>" + escaped(verdict.receiverText) + ".</b> " + words;
}

std::string attemptSection(const DiagnosticSet& set, const FileGroup& attempt, const Verdict& verdict) {
    const std::string title = attemptTitle(attempt);
    const std::string id = attempt.setting ? "setting-" + std::to_string(*attempt.setting) : "measured";
    const std::string heading = attempt.setting ? "S" + title.substr(1)
                                : set.manual()  ? "The given values"
                                                : "What was measured";
    std::string out = element("h2", "", escaped(heading) + " " + (attempt.setting ? verdictBadge(verdict) : ""));
    out += element("p", "", verdictText(verdict));
    out += section(id + "-lanes", laneTable(set, attempt));
    if (attempt.burst && !showsPins(set, attempt)) {
        out += element("p", "hint", "No burst was taken: there are neither eyes nor waveforms to draw.");
    } else if (attempt.burst && stuckLevel(*attempt.burst, 0) && !attempt.setting) {
        out += element("p", "hint",
                       "No setting was tried, so that no burst shows the pins: there are neither eyes nor waveforms to "
                       "draw.");
    } else if (attempt.burst && stuckLevel(*attempt.burst, 0)) {
        out += element("p", "hint", "The burst shows no running clock: there are neither eyes nor waveforms to draw.");
    } else if (attempt.burst) {
        out += section(id + "-eyes", eyeGrid(set, attempt));
        out += section(id + "-waveforms", waveforms(set, *attempt.burst));
    }
    if (attempt.verification) {
        out += section(id + "-verification", verificationSection(set, attempt));
    }
    return section(id, out);
}

std::string lostMarginSection(const DiagnosticSet& set) {
    if (!set.base.failedBurst) {
        return {};
    }
    const Burst& burst = *set.base.failedBurst;
    const std::string heading = element("h2", "", "A margin that failed during a recording");
    const int margin = requiredMarginEdges(set);
    const auto failure = findMarginFailure(burst, margin);
    if (!failure) {
        return section("lost-margin", heading + element("p", "",
                                                        "The burst was kept, but has no failure at a margin of " +
                                                            std::to_string(margin) + "."));
    }
    const Spot spot{failure->sample, 0, failure->clock ? "clock margin failure" : "data margin failure"};
    const std::string what =
        std::string(failure->clock ? "The clock changed although no data had changed since its preceding edge"
                                   : "The data changed twice between two edges of the clock") +
        ": at sample " + std::to_string(failure->sample) + ", which the receiver calls index " +
        std::to_string(failure->word) + ". This file stays from run to run; remove it after reading it.";
    return section("lost-margin", heading + element("p", "", what) + pictureOf(set, burst, spot));
}

} // namespace diagnosis::page
