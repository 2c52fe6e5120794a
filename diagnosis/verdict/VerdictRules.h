#pragma once

#include "diagnosis/verdict/RunVerdict.h"

// The rules of the verdict, by what they look at. Each fills its part.

namespace diagnosis::verdict_rules {

/// What speaks for each kind of verdict, and what the verdict shows.
struct Judgement {
    const DiagnosticSet& set;
    const Diagnosis& diagnosis;
    std::vector<RunVerdict::Reason> faults{};
    std::vector<RunVerdict::Reason> unknowns{};
    std::vector<RunVerdict::Reason> thins{};
    RunVerdict verdict{};

    /// The host set the values itself, and the burst beside them shows what they do.
    bool measuredGiven() const { return set.manual() && set.checks && set.checks->given && set.base.burst; }
    /// The attempt that the run works with, or the last one; null without one.
    const FileGroup* attempt() const {
        return measuredGiven() ? &set.base : set.attempts.empty() ? nullptr : &set.attempts.back();
    }
    /// Files that a calibration leaves.
    bool hasCalibration() const { return !set.attempts.empty() || set.base.cal || set.base.burst; }
    /// The stream of a recording of which nothing else is known; null otherwise.
    const StreamCheck* loneStream() const {
        const bool checked = !hasCalibration() && set.checks && !set.checks->recordings.empty();
        return checked && set.checks->recordings.front().stream ? &*set.checks->recordings.front().stream : nullptr;
    }
    void show(const char* name, bool isThere, std::string text) {
        verdict.evidence.push_back({name, isThere, std::move(text)});
    }
};

/// Calibration: the doctor's findings, files that are missing or damaged.
void judgeCalibration(Judgement& judged);
/// Margins of the kept setting, and the jitter that they have to hold against.
void judgeMargins(Judgement& judged);
/// Comparisons with known words: those of the host, and the receiver's own verification.
void judgeWords(Judgement& judged);
/// Recordings of trace.
void judgeRecordings(Judgement& judged);
/// How the run itself ended.
void judgeEnd(Judgement& judged);

/// The error rate that margins have to be good for: the usual one, or a lower one that was asked for. A brief comparison
/// shows less, but makes no margin better.
double askedErrorRate(const DiagnosticSet& set);

} // namespace diagnosis::verdict_rules
