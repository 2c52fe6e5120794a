#include "diagnosis/analysis/BurstAnalysis.h"
#include "diagnosis/doctor/Rules.h"
#include "toolkit/Format.h"

#include <algorithm>
#include <cmath>

// Setup and hold margins, the sampling position, and the settings that they are made of.

namespace diagnosis::rules {

namespace {

/// The clock at which the pins of a refused attempt would have enough margin. Wiring takes the same number of samples
/// from a bit at any rate; two thirds of a bit, and half a sample for the rounding, have to be left.
double fittingClock(const DiagnosticSet& set, const FileGroup& attempt, const ClockMargin& margin) {
    const double lost = std::max(0.0, attempt.rates().oversampling / 2.0 - static_cast<double>(margin.sum()));
    return set.sampleRate() / (6.0 * lost + 3.0);
}

void addNoSamplingPosition(Case& given, const FileGroup& attempt, const Verdict& verdict) {
    for (std::size_t pin = 1; pin < attempt.pins(); ++pin) {
        if (given.has(FindingKind::PinGarbled, pin)) {
            return;
        }
    }
    given.add(FindingId::NoSamplingPosition, {}).evidence.push_back(burstOf(attempt) + verdict.words);
}

/// True when an irregular clock is part of the cause.
bool addMarginTooSmall(Case& given, const FileGroup& attempt) {
    const auto margin = clockMarginOf(attempt);
    if (!margin || given.has(FindingKind::PinGarbled, margin->holdPin) ||
        given.has(FindingKind::PinGarbled, margin->setupPin)) {
        return false;
    }
    const double fitting = given.calibrated ? given.set.attempts.back().rates().exportFrequency
                                            : fittingClock(given.set, attempt, *margin);
    const double named = given.calibrated ? fitting : std::floor(fitting / 1e6) * 1e6;
    Finding& finding = given.add(given.calibrated ? FindingId::FasterMarginTooSmall : FindingId::MarginTooSmall, {},
                                 {toolkit::frequencyText(named)});
    finding.fittingRate = fitting;
    finding.evidence.push_back("report of " + attemptTitle(attempt) + ": setup margin " +
                               std::to_string(margin->setupMargin) + " (" + given.title(margin->setupPin) +
                               "), hold margin " + std::to_string(margin->holdMargin) + " (" +
                               given.title(margin->holdPin) + "), " + std::to_string(margin->need) +
                               " needed in all, in samples by the receiver's rule");
    const std::string irregular = given.calibrated ? std::string() : irregularClock(given.set, attempt);
    if (!irregular.empty()) {
        finding.evidence.push_back(irregular);
    }
    return !irregular.empty();
}

} // namespace

void findMarginFaults(Case& given) {
    bool irregular = false;
    for (std::size_t i = 0; i < given.set.attempts.size(); ++i) {
        const FileGroup& attempt = given.set.attempts[i];
        const Verdict& verdict = given.verdicts[i];
        // Margins say nothing about pins that do not follow the clock.
        if (given.withSharedFault.contains(&attempt)) {
            continue;
        }
        if (verdict.reason == Verdict::Reason::Position) {
            addNoSamplingPosition(given, attempt, verdict);
        } else if (verdict.reason == Verdict::Reason::Margin) {
            irregular = addMarginTooSmall(given, attempt) || irregular;
        }
    }
    for (Finding& finding : given.findings) {
        if (irregular && finding.kind == FindingKind::MarginTooSmall) {
            finding.remedy =
                "Check the clock's wire first: its edges are less regular than the data's. " + finding.remedy;
        }
    }
}

void findLostMargin(Case& given) {
    if (!given.set.base.failedBurst) {
        return;
    }
    const int margin = requiredMarginEdges(given.set);
    const auto failure = findMarginFailure(*given.set.base.failedBurst, margin);
    const std::string file = given.set.name + ".err.cap.txt: ";
    given.add(FindingId::MarginLost, {})
        .evidence.push_back(
            failure ? file + (failure->clock ? "the clock's" : "the data's") + " margin failed at sample " +
                          std::to_string(failure->sample) + ", index " + std::to_string(failure->word)
                    : file + "the burst was kept, but has no failure at a margin of " + std::to_string(margin));
}

void findRegisterFaults(Case& given) {
    if (!given.calibrated || given.attempts.empty()) {
        return;
    }
    const FileGroup& attempt = *given.attempts.back();
    // Below the lowest analysed clock the reported values are not written. The files round a clock just below up to it.
    if (!attempt.registers || !attempt.burst || attempt.rates().exportFrequency <= limits::lowestAnalysedClock) {
        return;
    }
    const unsigned channel = channelOf(*attempt.registers);
    for (std::size_t proc = 0; proc < attempt.burst->pins.size(); ++proc) {
        const BurstPin& computed = attempt.burst->pins[proc];
        const auto held = pinRegisters(*attempt.registers, channel, static_cast<unsigned>(proc));
        if (!held) {
            continue;
        }
        const bool same =
            held->enabled == (computed.enable != 0) && static_cast<int>(held->input) == computed.rcvrpin &&
            static_cast<int>(held->delay) == computed.delay && held->stretch == computed.stretch &&
            static_cast<int>(held->filter) == computed.filter && static_cast<int>(held->debounce) == computed.debounce;
        if (!same) {
            given.add(FindingId::RegistersDiffer, {proc}, {given.title(proc)})
                .evidence.push_back("registers of " + attemptTitle(attempt) + ": input " + std::to_string(held->input) +
                                    ", delay " + std::to_string(held->delay) + ", stretch " +
                                    std::to_string(held->stretch) + "; computed: input " +
                                    std::to_string(computed.rcvrpin) + ", delay " + std::to_string(computed.delay) +
                                    ", stretch " + std::to_string(computed.stretch));
        }
    }
}

} // namespace diagnosis::rules
