#include "diagnosis/analysis/Verdict.h"

#include "diagnosis/analysis/BurstAnalysis.h"
#include "diagnosis/analysis/OwnFigures.h"
#include "toolkit/Format.h"

#include <algorithm>

namespace diagnosis {

namespace {

using Outcome = Verdict::Outcome;
using Reason = Verdict::Reason;

/// The receiver rejects values outside of these ranges before it writes them. Empty when all are inside.
std::string invalidValue(const CalFile& cal) {
    const auto outside = [](const std::optional<int>& value, int low, int high) {
        return value && (*value < low || *value > high);
    };
    for (const CalPin& pin : cal.pins) {
        if (outside(pin.filter, 0, limits::highestFilter)) {
            return "invalid filter";
        }
        if (pin.plateau && !limits::isPlateau(static_cast<std::uint32_t>(*pin.plateau))) {
            return "invalid plateau";
        }
        if (outside(pin.debounce, 0, limits::highestDebounce)) {
            return "invalid debounce";
        }
        if (outside(pin.delay, 0, limits::highestDelay)) {
            return "invalid delay";
        }
        if (outside(pin.stretch, -limits::highestStretch, limits::highestStretch)) {
            return "invalid stretch";
        }
    }
    return {};
}

Verdict judgeVerification(const DiagnosticSet& set, const FileGroup& attempt) {
    const Verification& recording = *attempt.verification;
    const std::string kind = set.exportKind();
    if (recording.packets < limits::verificationPackets) {
        return {Outcome::Rejected, Reason::Timeout, "timeout during calibration verification",
                "The verification recording has " + std::to_string(recording.packets) + " of " +
                    std::to_string(limits::verificationPackets) +
                    " packets: the clock stopped, or no words were received."};
    }
    const std::size_t pins = attempt.pins();
    const std::optional<Pattern> held =
        pins > 1 ? patternHeld(recording, pins - 1, set.verificationPattern()) : std::nullopt;
    if (kind == "tpiu") {
        return {Outcome::Accepted,
                Reason::None,
                {},
                held ? "The verification was recorded. The receiver does not check its words for this kind of export; "
                       "all of them fit the pattern " +
                           std::string(held->name) + "."
                     : std::string("The verification was recorded. The receiver does not check its words for this "
                                   "kind of export, and they do not fit any pattern.")};
    }
    if (!held) {
        return {Outcome::Rejected, Reason::Pattern, "failed calibration pattern test",
                "The verification recording has wrong words."};
    }
    if (kind == "pti" && !checkPattern(recording, *held).countsAddUp) {
        return {Outcome::Rejected, Reason::SideBand, "failed side-band verification",
                "The words of the verification are right, but they are too few or do not add up: synchronisation "
                "sequences were lost or damaged."};
    }
    return {Outcome::Accepted,
            Reason::None,
            {},
            "All " + std::to_string(recording.words.size()) + " words of the verification are as sent (pattern " +
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
    return {Outcome::Rejected, Reason::Position, "unable to detect sampling position",
            std::to_string(vote.between) + " data edges are between clock edges and " + std::to_string(vote.near) +
                " near one; one of these numbers has to be at least three times the other."};
}

Verdict judgeMargin(const FileGroup& attempt) {
    const auto margin = clockMarginOf(attempt);
    if (!margin || margin->enough()) {
        return {};
    }
    return {Outcome::Rejected, Reason::Margin, "clock margin too low",
            "The receiver's rule counts " + toolkit::countText(margin->sum(), "sample") +
                " around the clock's edges (setup margin " + std::to_string(margin->setupMargin) + ", hold margin " +
                std::to_string(margin->holdMargin) + ", with the edge's own); " +
                toolkit::countText(margin->need, "sample") + ", a third of the clock period, are needed."};
}

/// The log's reason; `otherwise` where there is none.
Verdict judgeByLog(const DiagnosticSet& set, const FileGroup& attempt, const char* otherwise) {
    if (const auto reason = set.log ? set.log->failedReason(*attempt.setting) : std::nullopt) {
        return {Outcome::Rejected, Reason::Log, *reason,
                "The reason is from the log (" + set.log->file + "); the files have none."};
    }
    return {Outcome::Unknown, Reason::NoVerification, {}, otherwise};
}

Verdict judgeAnalysis(const DiagnosticSet& set, const FileGroup& attempt) {
    if (attempt.burst && !attempt.burst->taken()) {
        return judgeByLog(set, attempt,
                          "The attempt ended before the unit was set up and a burst was taken: because of the "
                          "transmitter, the unit or a file, which only the log names.");
    }
    const std::string invalid = attempt.cal ? invalidValue(*attempt.cal) : std::string();
    if (!invalid.empty()) {
        return {Outcome::Rejected, Reason::Value, invalid, "A value is outside of the unit's range."};
    }
    if (attempt.rates().exportFrequency >= limits::lowestAnalysedClock) {
        // A failed vote comes first: the attempt then has no margins of its own.
        const Verdict vote = judgeVote(attempt);
        const Verdict margin = endedAtVote(attempt) ? Verdict() : judgeMargin(attempt);
        for (const Verdict& verdict : {margin, vote}) {
            if (verdict.outcome == Outcome::Rejected) {
                return verdict;
            }
        }
    }
    if (set.properties && set.properties->value("verifyCal") == "false" && &attempt == &set.attempts.back()) {
        return {Outcome::Accepted, Reason::Unverified, {}, "Kept without a verification, as the properties ask."};
    }
    return judgeByLog(set, attempt,
                      "There is no verification recording, and the analysis has no reason to refuse: the attempt was "
                      "ended by the transmitter, the unit or a file, which only the log names.");
}

} // namespace

std::optional<ClockMargin> clockMarginOf(const FileGroup& attempt) {
    if (!attempt.cal || !attempt.cal->rates.known()) {
        return std::nullopt;
    }
    std::optional<ClockMargin> margin;
    for (std::size_t proc = 1; proc < attempt.cal->pins.size(); ++proc) {
        const CalPin& pin = attempt.cal->pins[proc];
        // A pin that never changes does not count: its margins are the highest possible numbers.
        if (!pin.holdMargin || !pin.setupMargin) {
            continue;
        }
        if (!margin) {
            margin = ClockMargin{*pin.setupMargin, *pin.holdMargin, proc, proc, attempt.cal->rates.neededMargin()};
        }
        if (*pin.holdMargin < margin->holdMargin) {
            margin->holdMargin = *pin.holdMargin;
            margin->holdPin = proc;
        }
        if (*pin.setupMargin < margin->setupMargin) {
            margin->setupMargin = *pin.setupMargin;
            margin->setupPin = proc;
        }
    }
    return margin;
}

Verdict judge(const DiagnosticSet& set, const FileGroup& attempt) {
    if (!attempt.setting && set.manual()) {
        return {Outcome::Accepted, Reason::Manual, {}, "Set with given values; nothing was measured or verified."};
    }
    if (!attempt.setting && set.attempts.empty()) {
        return {
            Outcome::Rejected, Reason::Unmeasured, {}, "No frequency setting could be used, so that none was tried."};
    }
    if (!attempt.setting) {
        return {Outcome::Unknown, Reason::None, {}, "A burst that was taken outside of the attempts."};
    }
    if (attempt.verification) {
        return judgeVerification(set, attempt);
    }
    if (attempt.cal || attempt.burst) {
        return judgeAnalysis(set, attempt);
    }
    return {Outcome::Unknown, Reason::NoVerification, {}, "The files that would show it are missing."};
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
    case Outcome::Rejected:
        return false;
    case Outcome::Unknown:
        break;
    }
    return std::nullopt;
}

} // namespace diagnosis
