#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "host/diagnostics/BurstAnalysis.h"
#include "host/diagnostics/LaneMatch.h"
#include "host/doctor/Rules.h"

// What bursts, rates and margins tell.

namespace host::rules {

namespace {

using diagnostics::Burst;
using diagnostics::FileGroup;
using diagnostics::Verdict;

constexpr int largestStretch = 5;
/// Ones and zeros that differ by less than this are alike: half of what one step of the stretch does.
constexpr double dutyTolerance = 0.5;
/// A pin whose changes are bunched less than this around one distance from the clock does not follow it.
constexpr double loosest = 0.4;
constexpr std::size_t fewestChanges = 20;
/// The pattern of a calibration changes every pin at nearly every clock edge; one in four is far too few.
constexpr std::size_t rarest = 4;

std::string decimal(double value) {
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%.1f", value);
    return text.data();
}

/// A burst in which the clock runs; without one all pins rest and none can be judged.
const Burst* liveBurst(const FileGroup& group) {
    if (!group.burst || diagnostics::stuckLevel(*group.burst, 0))
        return nullptr;
    return &*group.burst;
}

void addClockDead(const Case& given, Findings& findings) {
    const bool never = given.set.attempts.empty() && given.set.base.cal && !given.set.base.cal->rates.known();
    for (const FileGroup* attempt : given.attempts) {
        if (!attempt->burst || liveBurst(*attempt) != nullptr)
            continue;
        findingFor(findings, "clock-dead", {0})
            .evidence.push_back("burst of " + attemptTitle(*attempt) + ": the clock stands at " +
                                std::to_string(*diagnostics::stuckLevel(*attempt->burst, 0)) + " in all " +
                                std::to_string(attempt->burst->samples()) + " samples");
    }
    if (never)
        findingFor(findings, "clock-dead", {0})
            .evidence.push_back(given.set.name + ".cal.txt: the clock was counted at 0 Hz, and no setting was tried");
    for (Finding& finding : findings) {
        if (finding.kind != "clock-dead")
            continue;
        finding.text = "no trace clock arrives at the " + pinTitle(given.set, 0) + " pin";
        finding.remedy =
            "Is the target powered and its trace export enabled? Does the pin map name the right clock pin? "
            "Is its wire connected?";
    }
}

} // namespace

void findClockFaults(const Case& given, Findings& findings) {
    if (given.set.manual())
        return;
    addClockDead(given, findings);
    if (!given.set.attempts.empty() || !given.set.base.cal || !given.set.base.cal->rates.known())
        return;
    const diagnostics::Rates& rates = given.set.base.cal->rates;
    const std::string clock = diagnostics::frequencyWords(rates.exportFrequency);
    const std::string evidence = given.set.name + ".cal.txt: exportFrequency " + clock + ", dataRate " +
                                 decimal(rates.dataRate / 1e6) + " Mbit/s, and no setting was tried";
    Finding finding;
    finding.pins = {0};
    finding.evidence.push_back(evidence);
    if (rates.exportFrequency > diagnostics::fastestClock) {
        finding.kind = "clock-too-fast";
        finding.text = "the target's slowest setting, " + clock + ", is faster than the 120 MHz that the unit records";
        finding.remedy = "Lower the clock that the target's trace export is derived from (its PLL).";
    } else if (rates.dataRate > diagnostics::highestDataRate) {
        finding.kind = "too-many-bits";
        finding.text =
            "the pins carry " + decimal(rates.dataRate / 1e6) + " Mbit/s, more than the 960 that the unit takes";
        finding.remedy = "Use fewer data pins or a slower clock.";
    } else {
        finding.kind = "clock-unusable";
        finding.text = "a clock of " + clock + " was counted, but no setting of the target could be used";
        finding.remedy =
            "The clock is not stable, lies outside of 11 Hz to 350 MHz, or the transmitter refused its first "
            "setting: the log names which. Look at the clock's wire.";
    }
    findings.push_back(std::move(finding));
}

void findStuckPins(const Case& given, Findings& findings) {
    for (const FileGroup* attempt : given.attempts) {
        const Burst* burst = liveBurst(*attempt);
        if (burst == nullptr)
            continue;
        std::optional<diagnostics::LaneMatch> match;
        if (attempt->verification)
            match = diagnostics::matchLanes(*attempt->verification, burst->dataPins());
        for (std::size_t proc = 1; proc < burst->pins.size(); ++proc) {
            const auto level = diagnostics::stuckLevel(*burst, proc);
            if (!level || (match && match->lanes[proc - 1].stuck != level))
                continue;
            Finding& finding = findingFor(findings, "pin-stuck", {proc});
            finding.text = pinTitle(given.set, proc) + " is stuck at " + std::to_string(*level);
            finding.remedy =
                *level == 0 ? "Is the wire connected, or shorted to ground? Is the pin enabled on the target?"
                            : "Is the wire shorted to the supply, or open with a pull-up? Is the pin enabled on the "
                              "target?";
            std::string line = "burst of " + attemptTitle(*attempt) + ": " + std::to_string(burst->samples()) +
                               " samples at " + std::to_string(*level) + " while the clock changes " +
                               std::to_string(diagnostics::edgesOf(burst->pins[0].levels).size()) + " times";
            if (match)
                line += "; the same in the proof";
            finding.evidence.push_back(std::move(line));
        }
    }
}

void findUnrelatedPins(const Case& given, Findings& findings) {
    for (const FileGroup* attempt : given.attempts) {
        const Burst* burst = liveBurst(*attempt);
        if (burst == nullptr)
            continue;
        for (std::size_t proc = 1; proc < burst->pins.size(); ++proc) {
            const diagnostics::Bunching bunching = diagnostics::bunchingOf(*burst, proc);
            const std::size_t clock = diagnostics::edgesOf(burst->pins[0].levels, diagnostics::burstStart).size();
            const bool loose = bunching.changes >= fewestChanges && bunching.share <= loosest;
            const bool rare = bunching.changes != 0 && bunching.changes * rarest < clock;
            if (!loose && !rare)
                continue;
            Finding& finding = findingFor(findings, "pin-garbled", {proc});
            finding.text = pinTitle(given.set, proc) + " changes without regard to the clock";
            finding.remedy = "Is its wire open, so that the input floats? Is something else driving it?";
            std::string line = "burst of " + attemptTitle(*attempt) + ": it changes " +
                               std::to_string(bunching.changes) + " times, the clock " + std::to_string(clock) +
                               " times";
            if (loose)
                line += ", and the changes lie all over the clock period";
            finding.evidence.push_back(std::move(line));
        }
    }
}

void findDutyFaults(const Case& given, Findings& findings) {
    for (const FileGroup* attempt : given.attempts) {
        const Burst* burst = liveBurst(*attempt);
        if (burst == nullptr)
            continue;
        for (std::size_t proc = 0; proc < burst->pins.size(); ++proc) {
            const int stretch = burst->pins[proc].stretch;
            const auto duty = diagnostics::dutyOf(*burst, proc);
            if (!duty || hasFinding(findings, "pin-garbled", proc))
                continue;
            // Each step of the stretch makes ones half a sample longer and zeros as much shorter.
            const double raw = duty->high - duty->low - stretch;
            if (std::abs(raw) <= largestStretch + dutyTolerance)
                continue;
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
    const diagnostics::DiagnosticSet& set = given.set;
    for (std::size_t i = 0; i < set.attempts.size(); ++i) {
        const FileGroup& attempt = set.attempts[i];
        const Verdict& verdict = given.verdicts[i];
        // A pin that does not follow the clock is no matter of margins.
        const auto garbled = [&](std::size_t pin) { return hasFinding(findings, "pin-garbled", pin); };
        bool anyGarbled = false;
        for (std::size_t pin = 1; pin < attempt.pins(); ++pin)
            anyGarbled = anyGarbled || garbled(pin);
        if (verdict.reason == Verdict::Reason::Position && !anyGarbled) {
            Finding& finding = findingFor(findings, "no-sampling-position", {});
            finding.severity = given.calibrated ? Finding::Severity::Note : Finding::Severity::Fault;
            finding.text = "the data change neither clearly between the clock's edges nor clearly at them";
            finding.remedy =
                "The pins' lengths differ by about a quarter of a clock period: use a shorter cable or wires "
                "of one length, or a slower clock.";
            finding.evidence.push_back("burst of " + attemptTitle(attempt) + ": " + verdict.words);
        }
        const auto margin = diagnostics::clockMarginOf(attempt);
        if (verdict.reason != Verdict::Reason::Margin || !margin || garbled(margin->holdPin) ||
            garbled(margin->setupPin))
            continue;
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
                           diagnostics::frequencyWords(*finding.fittingRate);
        } else {
            finding.fittingRate = fitting;
            finding.text = "too little room is left around the clock's edges; it would fit at about " +
                           diagnostics::frequencyWords(std::floor(fitting / 1e6) * 1e6);
        }
        finding.remedy = given.calibrated ? "Only if a faster setting is wanted: shorten the cable, improve its ground."
                                          : "Shorten the cable, improve its ground, or use a slower clock.";
        finding.evidence.push_back("report of " + attemptTitle(attempt) + ": " + std::to_string(margin->setup) +
                                   " ahead (" + pinTitle(set, margin->setupPin) + ") and " +
                                   std::to_string(margin->hold) + " behind (" + pinTitle(set, margin->holdPin) + "), " +
                                   std::to_string(margin->need) + " needed, in samples");
    }
}

void findLostMargin(const Case& given, Findings& findings) {
    if (!given.set.base.failedBurst)
        return;
    const Burst& burst = *given.set.base.failedBurst;
    const int margin = lostMarginSetting(given.set);
    const auto failure = diagnostics::findMarginFailure(burst, margin);
    Finding finding;
    finding.kind = "margin-lost";
    finding.text = "a margin became too small during a recording";
    finding.remedy =
        "Skew moves with temperature and with the supply: calibrate again when the board is warm, or use a "
        "slower clock. This file stays from run to run; remove it once it has been looked at.";
    std::string line = given.set.name + ".err.cap.txt: ";
    if (failure)
        line += std::string(failure->clock ? "the clock's" : "the data's") + " margin failed at sample " +
                std::to_string(failure->sample) + ", index " + std::to_string(failure->word);
    else
        line += "the burst was kept, but holds no failure at a margin of " + std::to_string(margin);
    finding.evidence.push_back(std::move(line));
    findings.push_back(std::move(finding));
}

void findRegisterFaults(const Case& given, Findings& findings) {
    if (!given.calibrated || given.attempts.empty())
        return;
    const FileGroup& attempt = *given.attempts.back();
    // Below this rate the values of the report are not the ones that were written.
    if (!attempt.registers || !attempt.burst || attempt.rates().exportFrequency < diagnostics::slowestAnalysed)
        return;
    const unsigned channel = diagnostics::channelOf(*attempt.registers);
    for (std::size_t proc = 0; proc < attempt.burst->pins.size(); ++proc) {
        const diagnostics::BurstPin& wanted = attempt.burst->pins[proc];
        const auto held = diagnostics::pinRegisters(*attempt.registers, channel, static_cast<unsigned>(proc));
        if (!held)
            continue;
        const bool same = held->enabled == (wanted.enable != 0) && static_cast<int>(held->input) == wanted.rcvrpin &&
                          static_cast<int>(held->delay) == wanted.delay && held->stretch == wanted.stretch &&
                          static_cast<int>(held->filter) == wanted.filter &&
                          static_cast<int>(held->debounce) == wanted.debounce;
        if (same)
            continue;
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

} // namespace host::rules
