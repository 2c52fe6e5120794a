#include "diagnosis/verdict/RunVerdict.h"

#include "diagnosis/analysis/LaneMargins.h"
#include "diagnosis/verdict/VerdictRules.h"

#include <algorithm>
#include <iterator>

namespace diagnosis {

double marginLimit(double errorRate, double jitter) {
    return deviationsAt(errorRate) * std::max(jitter, leastAssumedJitter) + marginUncertainty;
}

RunVerdict judgeRun(const DiagnosticSet& set, const Diagnosis& diagnosis) {
    using Kind = RunVerdict::Kind;
    verdict_rules::Judgement judged{set, diagnosis};
    if (const FileGroup* attempt = judged.attempt(); attempt != nullptr && attempt->rates().known()) {
        judged.verdict.hertz = attempt->rates().exportFrequency;
        judged.verdict.bitsPerSecond = attempt->rates().dataRate;
    }
    for (const auto rule : {verdict_rules::judgeCalibration, verdict_rules::judgeMargins, verdict_rules::judgeWords,
                            verdict_rules::judgeRecordings, verdict_rules::judgeEnd}) {
        rule(judged);
    }
    RunVerdict verdict = std::move(judged.verdict);
    verdict.kind = !judged.faults.empty()     ? Kind::Fault
                   : !judged.unknowns.empty() ? Kind::Unknown
                   : !judged.thins.empty()    ? Kind::Thin
                                              : Kind::Sound;
    for (auto* reasons : {&judged.faults, &judged.unknowns, &judged.thins}) {
        std::move(reasons->begin(), reasons->end(), std::back_inserter(verdict.reasons));
    }
    return verdict;
}

toolkit::ExitCode exitCodeOf(const RunVerdict& verdict, toolkit::ExitCode code, bool strict) {
    using Kind = RunVerdict::Kind;
    if (code != toolkit::ExitCode::Done) {
        return code;
    }
    const bool good = verdict.kind == Kind::Sound || (!strict && verdict.kind != Kind::Fault);
    return good ? code : toolkit::ExitCode::FaultsFound;
}

} // namespace diagnosis
