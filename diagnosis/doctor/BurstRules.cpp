#include "diagnosis/analysis/BurstAnalysis.h"
#include "diagnosis/analysis/LaneMatch.h"
#include "diagnosis/doctor/Rules.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

// What bursts and margins tell of single pins.

namespace diagnosis::rules {

namespace {

constexpr int largestStretch = 5;
/// Ones and zeros that differ by less than this are alike: half of what one step of the stretch does.
constexpr double dutyTolerance = 0.5;
/// A pin follows the clock worse than the others do when it is bunched by this much less.
constexpr double odd = 0.25;

/// The burst of an attempt whose pins are looked at one by one: the clock runs, and they do not fail all alike.
const Burst* singly(const Case& given, const FileGroup& attempt) {
    return given.alike.contains(&attempt) ? nullptr : liveBurst(attempt);
}

/// The best that any pin but this one keeps to the clock.
double bestOfOthers(const Burst& burst, std::size_t proc) {
    double best = 0.0;
    for (std::size_t other = 1; other < burst.pins.size(); ++other) {
        const Bunching bunching = bunchingOf(burst, other);
        if (other != proc && bunching.changes >= fewestChanges) {
            best = std::max(best, bunching.share);
        }
    }
    return best;
}

} // namespace

void findStuckPins(const Case& given, Findings& findings) {
    for (const FileGroup* attempt : given.attempts) {
        const Burst* burst = singly(given, *attempt);
        if (burst == nullptr) {
            continue;
        }
        std::optional<LaneMatch> match;
        if (attempt->verification) {
            match = matchLanes(*attempt->verification, burst->dataPins(), given.set.provedWith());
        }
        for (std::size_t proc = 1; proc < burst->pins.size(); ++proc) {
            const auto level = stuckLevel(*burst, proc);
            if (!level || (match && match->lanes[proc - 1].stuck != level)) {
                continue;
            }
            Finding& finding = findingFor(findings, "pin-stuck", {proc});
            finding.text = pinTitle(given.set, proc) + " is stuck at " + std::to_string(*level);
            finding.remedy =
                *level == 0 ? "Is the wire connected, or shorted to ground? Is the pin enabled on the target?"
                            : "Is the wire shorted to the supply, or open with a pull-up? Is the pin enabled on the "
                              "target?";
            std::string line = "burst of " + attemptTitle(*attempt) + ": " + std::to_string(burst->samples()) +
                               " samples at " + std::to_string(*level) + " while the clock changes " +
                               std::to_string(edgesOf(burst->pins[0].levels).size()) + " times";
            if (match) {
                line += "; the same in the proof";
            }
            finding.evidence.push_back(std::move(line));
        }
    }
}

void findUnrelatedPins(const Case& given, Findings& findings) {
    for (const FileGroup* attempt : given.attempts) {
        const Burst* burst = singly(given, *attempt);
        if (burst == nullptr) {
            continue;
        }
        for (std::size_t proc = 1; proc < burst->pins.size(); ++proc) {
            const Bunching bunching = bunchingOf(*burst, proc);
            const std::size_t clock = edgesOf(burst->pins[0].levels, burstStart).size();
            const bool alone = burst->dataPins() == 1;
            const bool loose = bunching.changes >= fewestChanges && bunching.share <= loosest &&
                               (alone || bestOfOthers(*burst, proc) >= bunching.share + odd);
            const bool rare = bunching.changes != 0 && bunching.changes * rarest < clock;
            if (!loose && !rare) {
                continue;
            }
            Finding& finding = findingFor(findings, "pin-garbled", {proc});
            finding.text = pinTitle(given.set, proc) + " changes without regard to the clock";
            finding.remedy = alone ? "Is its wire open or the clock's, so that an input floats? Is something else "
                                     "driving one of them?"
                                   : "Is its wire open, so that the input floats? Is something else driving it?";
            std::string line = "burst of " + attemptTitle(*attempt) + ": it changes " +
                               std::to_string(bunching.changes) + " times, the clock " + std::to_string(clock) +
                               " times";
            if (loose) {
                line += ", and the changes lie all over the clock period";
            }
            finding.evidence.push_back(std::move(line));
        }
    }
}

void findDutyFaults(const Case& given, Findings& findings) {
    for (const FileGroup* attempt : given.attempts) {
        const Burst* burst = singly(given, *attempt);
        if (burst == nullptr) {
            continue;
        }
        for (std::size_t proc = 0; proc < burst->pins.size(); ++proc) {
            const int stretch = burst->pins[proc].stretch;
            const auto duty = dutyOf(*burst, proc);
            if (!duty || hasFinding(findings, "pin-garbled", proc) ||
                (proc == 0 && hasFinding(findings, "clock-suspect", 0))) {
                continue;
            }
            // Each step of the stretch makes ones half a sample longer and zeros as much shorter.
            const double raw = duty->high - duty->low - stretch;
            if (std::abs(raw) <= largestStretch + dutyTolerance) {
                continue;
            }
            const char* lack = raw < 0.0 ? "shorter" : "longer";
            Finding& finding = findingFor(findings, "duty-beyond-correction", {proc});
            finding.text = "the duty error of " + pinTitle(given.set, proc) + " is beyond the unit's correction";
            finding.remedy =
                "Look at this line's edges with an oscilloscope: a weak driver, a pull-up or a wrong supply "
                "makes its ones " +
                std::string(lack) + " than its zeros.";
            finding.severity = given.calibrated ? Finding::Severity::Note : Finding::Severity::Fault;
            finding.evidence.push_back("burst of " + attemptTitle(*attempt) + ": ones last " + decimal(duty->high) +
                                       " samples, zeros " + decimal(duty->low) + ", with a stretch of " +
                                       std::to_string(stretch) + "; it can take out " + std::to_string(largestStretch) +
                                       " of the " + decimal(std::abs(raw)));
        }
    }
}

void findMarginFaults(const Case& given, Findings& findings) {
    const DiagnosticSet& set = given.set;
    bool clockToo = false;
    for (std::size_t i = 0; i < set.attempts.size(); ++i) {
        const FileGroup& attempt = set.attempts[i];
        const Verdict& verdict = given.verdicts[i];
        // Pins that do not follow the clock are no matter of margins.
        if (given.alike.contains(&attempt)) {
            continue;
        }
        const auto garbled = [&](std::size_t pin) { return hasFinding(findings, "pin-garbled", pin); };
        bool anyGarbled = false;
        for (std::size_t pin = 1; pin < attempt.pins(); ++pin) {
            anyGarbled = anyGarbled || garbled(pin);
        }
        if (verdict.reason == Verdict::Reason::Position && !anyGarbled) {
            Finding& finding = findingFor(findings, "no-sampling-position", {});
            finding.severity = given.calibrated ? Finding::Severity::Note : Finding::Severity::Fault;
            finding.text = "the data change neither clearly between the clock's edges nor clearly at them";
            finding.remedy =
                "Wires whose lengths differ by about a quarter of a clock period do that, and so does a clock or a "
                "cable with much jitter: the eyes in the report tell which. Then use wires of one length, a shorter "
                "cable, or a slower clock.";
            finding.evidence.push_back("burst of " + attemptTitle(attempt) + ": " + verdict.words);
        }
        const auto margin = clockMarginOf(attempt);
        if (verdict.reason != Verdict::Reason::Margin || !margin || garbled(margin->holdPin) ||
            garbled(margin->setupPin)) {
            continue;
        }
        // What the wiring takes away of a bit is a matter of samples, whatever the rate. Two thirds of a bit, and
        // half a sample for the rounding, have to be left of it.
        const double period = attempt.rates().oversampling;
        const double lost = std::max(0.0, period / 2.0 - static_cast<double>(margin->hold + margin->setup));
        const double fitting = set.sampleRate() / (6.0 * lost + 3.0);
        Finding& finding = findingFor(findings, "margin-too-small", {});
        finding.severity = given.calibrated ? Finding::Severity::Note : Finding::Severity::Fault;
        if (given.calibrated) {
            finding.fittingRate = set.attempts.back().rates().exportFrequency;
            finding.text = "faster settings leave too little room around the clock's edges; it fits at " +
                           frequencyWords(*finding.fittingRate);
        } else {
            finding.fittingRate = fitting;
            finding.text = "too little room is left around the clock's edges; it would fit at about " +
                           frequencyWords(std::floor(fitting / 1e6) * 1e6);
        }
        finding.remedy = given.calibrated ? "Only if a faster setting is wanted: shorten the cable, improve its ground."
                                          : "Skew, jitter and duty errors all take of this room; the eyes in the "
                                            "report tell which. Shorten the cable, improve its ground, look at the "
                                            "clock's edges, or use a slower clock.";
        finding.evidence.push_back("report of " + attemptTitle(attempt) + ": " + std::to_string(margin->setup) +
                                   " ahead (" + pinTitle(set, margin->setupPin) + ") and " +
                                   std::to_string(margin->hold) + " behind (" + pinTitle(set, margin->holdPin) + "), " +
                                   std::to_string(margin->need) + " needed, in samples by the receiver's rule");
        const std::string irregular = given.calibrated ? std::string() : irregularClock(attempt);
        if (!irregular.empty()) {
            finding.evidence.push_back(irregular);
            clockToo = true;
        }
    }
    for (Finding& finding : findings) {
        if (clockToo && finding.kind == "margin-too-small") {
            finding.remedy =
                "Look at the clock's wire first: its edges come less regularly than the data's. " + finding.remedy;
        }
    }
}

void findLostMargin(const Case& given, Findings& findings) {
    if (!given.set.base.failedBurst) {
        return;
    }
    const Burst& burst = *given.set.base.failedBurst;
    const int margin = lostMarginSetting(given.set);
    const auto failure = findMarginFailure(burst, margin);
    Finding finding;
    finding.kind = "margin-lost";
    finding.text = "a margin became too small during a recording";
    finding.remedy =
        "Skew moves with temperature and with the supply: calibrate again when the board is warm, or use a "
        "slower clock. This file stays from run to run; remove it once it has been looked at.";
    std::string line = given.set.name + ".err.cap.txt: ";
    if (failure) {
        line += std::string(failure->clock ? "the clock's" : "the data's") + " margin failed at sample " +
                std::to_string(failure->sample) + ", index " + std::to_string(failure->word);
    } else {
        line += "the burst was kept, but holds no failure at a margin of " + std::to_string(margin);
    }
    finding.evidence.push_back(std::move(line));
    findings.push_back(std::move(finding));
}

void findRegisterFaults(const Case& given, Findings& findings) {
    if (!given.calibrated || given.attempts.empty()) {
        return;
    }
    const FileGroup& attempt = *given.attempts.back();
    // Below this rate the values of the report are not the ones that were written.
    if (!attempt.registers || !attempt.burst || attempt.rates().exportFrequency < slowestAnalysed) {
        return;
    }
    const unsigned channel = channelOf(*attempt.registers);
    for (std::size_t proc = 0; proc < attempt.burst->pins.size(); ++proc) {
        const BurstPin& wanted = attempt.burst->pins[proc];
        const auto held = pinRegisters(*attempt.registers, channel, static_cast<unsigned>(proc));
        if (!held) {
            continue;
        }
        const bool same = held->enabled == (wanted.enable != 0) && static_cast<int>(held->input) == wanted.rcvrpin &&
                          static_cast<int>(held->delay) == wanted.delay && held->stretch == wanted.stretch &&
                          static_cast<int>(held->filter) == wanted.filter &&
                          static_cast<int>(held->debounce) == wanted.debounce;
        if (same) {
            continue;
        }
        Finding& finding = findingFor(findings, "registers-differ", {proc});
        finding.text = "the unit's registers of " + pinTitle(given.set, proc) + " do not hold what was computed";
        finding.remedy = "Did something else write to the unit? Calibrate again.";
        finding.evidence.push_back("registers of " + attemptTitle(attempt) + ": input " + std::to_string(held->input) +
                                   ", delay " + std::to_string(held->delay) + ", stretch " +
                                   std::to_string(held->stretch) + "; computed: input " +
                                   std::to_string(wanted.rcvrpin) + ", delay " + std::to_string(wanted.delay) +
                                   ", stretch " + std::to_string(wanted.stretch));
    }
}

} // namespace diagnosis::rules
