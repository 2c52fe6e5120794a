#include "diagnosis/analysis/Verdict.h"

#include "diagnosis/analysis/BurstAnalysis.h"
#include "diagnosis/analysis/OwnFigures.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace diagnosis {

namespace {

using Outcome = Verdict::Outcome;
using Reason = Verdict::Reason;

/// The receiver refuses values outside of these ranges before it writes them.
std::string invalidValue(const CalFile& cal) {
    for (const CalPin& pin : cal.pins) {
        if (pin.filter && (*pin.filter < 0 || *pin.filter > 7)) {
            return "invalid filter";
        }
        if (pin.plateau && *pin.plateau != 3 && *pin.plateau != 5 && *pin.plateau != 7) {
            return "invalid plateau";
        }
        if (pin.debounce && (*pin.debounce < 0 || *pin.debounce > 8)) {
            return "invalid debounce";
        }
        if (pin.delay && (*pin.delay < 0 || *pin.delay > 31)) {
            return "invalid delay";
        }
        if (pin.stretch && (*pin.stretch < -5 || *pin.stretch > 5)) {
            return "invalid stretch";
        }
    }
    return {};
}

Verdict judgeProof(const DiagnosticSet& set, const FileGroup& attempt) {
    const Verification& proof = *attempt.verification;
    const std::string kind = set.exportKind();
    if (proof.packets < verificationPackets) {
        return {Outcome::Refused, Reason::Timeout, "timeout during calibration verification",
                "The proof's recording holds " + std::to_string(proof.packets) + " of " +
                    std::to_string(verificationPackets) + " packets: the clock stopped, or no words came."};
    }
    const std::size_t pins = attempt.pins();
    const std::optional<Pattern> held = pins > 1 ? patternHeld(proof, pins - 1, set.provedWith()) : std::nullopt;
    if (kind == "tpiu") {
        return {Outcome::Accepted,
                Reason::None,
                {},
                held ? "The proof was recorded. The receiver does not look at its words for this kind of export; all "
                       "of them fit the pattern " +
                           std::string(held->name) + "."
                     : std::string("The proof was recorded. The receiver does not look at its words for this kind of "
                                   "export, and they do not fit any pattern.")};
    }
    if (!held) {
        return {Outcome::Refused, Reason::Pattern, "failed calibration pattern test",
                "The proof came back with wrong words."};
    }
    if (kind == "pti" && !checkPattern(proof, *held).countsAddUp) {
        return {Outcome::Refused, Reason::SideBand, "failed side-band verification",
                "The words of the proof are right, but they are too few or do not add up: synchronisation sequences "
                "were lost or damaged."};
    }
    return {Outcome::Accepted,
            Reason::None,
            {},
            "All " + std::to_string(proof.words.size()) + " words of the proof came back as sent (pattern " +
                std::string(held->name) + ")."};
}

Verdict judgeVote(const FileGroup& attempt) {
    if (!attempt.burst) {
        return {};
    }
    const PositionVote vote = votePosition(*attempt.burst);
    if (!vote.undecided()) {
        return {};
    }
    return {Outcome::Refused, Reason::Position, "unable to detect sampling position",
            std::to_string(vote.between) + " data edges lie between clock edges and " + std::to_string(vote.near) +
                " near one; one of them has to be three times the other, or more."};
}

/// What the log says, where it lies beside the files and they are silent.
Verdict judgeByLog(const DiagnosticSet& set, const FileGroup& attempt, const char* otherwise) {
    if (set.log && set.log->failed.contains(*attempt.setting)) {
        return {Outcome::Refused, Reason::Log, set.log->failed.at(*attempt.setting),
                "So says the log (" + set.log->file + "); the files hold no reason."};
    }
    return {Outcome::Untold, Reason::NoProof, {}, otherwise};
}

Verdict judgeAnalysis(const DiagnosticSet& set, const FileGroup& attempt) {
    if (attempt.burst && !attempt.burst->taken()) {
        return judgeByLog(set, attempt,
                          "The attempt ended before the unit was set up and a burst was taken: because of the "
                          "transmitter, the unit or a file, which only the log names.");
    }
    if (attempt.cal) {
        const std::string invalid = invalidValue(*attempt.cal);
        if (!invalid.empty()) {
            return {Outcome::Refused, Reason::Value, invalid, "A value lies outside of what the unit takes."};
        }
    }
    if (attempt.rates().exportFrequency >= slowestAnalysed) {
        // A vote that fails comes first.
        const Verdict vote = judgeVote(attempt);
        if (vote.outcome == Outcome::Refused && endedAtVote(attempt)) {
            return vote;
        }
        const auto margin = clockMarginOf(attempt);
        if (margin && !margin->enough()) {
            return {Outcome::Refused, Reason::Margin, "clock margin too low",
                    "The receiver's rule counts " + samplesWords(margin->hold + margin->setup) +
                        " around the clock's edges (" + std::to_string(margin->setup) + " ahead, " +
                        std::to_string(margin->hold) + " behind, with the edge's own); " + samplesWords(margin->need) +
                        ", a third of the clock period, are needed."};
        }
        if (vote.outcome == Outcome::Refused) {
            return vote;
        }
    }
    if (set.properties && set.properties->value("verifyCal") == "false" && &attempt == &set.attempts.back()) {
        return {Outcome::Accepted, Reason::Unproved, {}, "Kept without a proof, as the properties ask."};
    }
    return judgeByLog(set, attempt,
                      "There is no proof, and the analysis has no reason to refuse: the attempt was ended by the "
                      "transmitter, the unit or a file, which only the log names.");
}

} // namespace

std::string frequencyWords(double hertz) {
    constexpr std::array<std::pair<double, const char*>, 3> scales{{{1e9, "GHz"}, {1e6, "MHz"}, {1e3, "kHz"}}};
    std::array<char, 40> text{};
    for (const auto& [scale, unit] : scales) {
        if (hertz >= scale) {
            std::snprintf(text.data(), text.size(), "%.4g %s", hertz / scale, unit);
            return text.data();
        }
    }
    std::snprintf(text.data(), text.size(), "%.4g Hz", hertz);
    return text.data();
}

std::string samplesWords(std::size_t samples) {
    return std::to_string(samples) + (samples == 1 ? " sample" : " samples");
}

std::optional<ClockMargin> clockMarginOf(const FileGroup& attempt) {
    if (!attempt.cal || !attempt.cal->rates.known()) {
        return std::nullopt;
    }
    ClockMargin margin;
    bool some = false;
    for (std::size_t proc = 1; proc < attempt.cal->pins.size(); ++proc) {
        const CalPin& pin = attempt.cal->pins[proc];
        // A pin that never changes takes no part: its margins are the largest of numbers.
        if (!pin.hold || !pin.setup) {
            continue;
        }
        if (!some || *pin.hold < margin.hold) {
            margin.hold = *pin.hold;
            margin.holdPin = proc;
        }
        if (!some || *pin.setup < margin.setup) {
            margin.setup = *pin.setup;
            margin.setupPin = proc;
        }
        some = true;
    }
    if (!some) {
        return std::nullopt;
    }
    margin.need = static_cast<unsigned>(attempt.cal->rates.oversampling / 3.0 + 0.5);
    return margin;
}

Verdict judge(const DiagnosticSet& set, const FileGroup& attempt) {
    if (!attempt.setting && set.manual()) {
        return {Outcome::Accepted, Reason::Manual, {}, "Taken with given values; nothing was measured or proved."};
    }
    if (!attempt.setting && set.attempts.empty()) {
        return {
            Outcome::Refused, Reason::Unmeasured, {}, "No frequency setting could be used, so that none was tried."};
    }
    if (!attempt.setting) {
        return {Outcome::Untold, Reason::None, {}, "A burst that was taken by itself, beside the attempts."};
    }
    if (attempt.verification) {
        return judgeProof(set, attempt);
    }
    if (attempt.cal || attempt.burst) {
        return judgeAnalysis(set, attempt);
    }
    return {Outcome::Untold, Reason::NoProof, {}, "There are no files that tell."};
}

std::optional<bool> calibrated(const DiagnosticSet& set, const std::vector<Verdict>& verdicts) {
    if (set.manual()) {
        return true;
    }
    if (verdicts.empty()) {
        return set.base.cal ? std::optional<bool>(false) : std::nullopt;
    }
    switch (verdicts.back().outcome) {
    case Outcome::Accepted:
        return true;
    case Outcome::Refused:
        return false;
    case Outcome::Untold:
        break;
    }
    return std::nullopt;
}

} // namespace diagnosis
