#include "diagnosis/analysis/BurstAnalysis.h"
#include "diagnosis/doctor/Rules.h"

#include <array>
#include <cstdio>

// The clock, and who sends it.

namespace diagnosis::rules {

namespace {

constexpr const char* deadRemedy =
    "Is the target powered and its trace export enabled? Does the pin map name the right clock pin? "
    "Is its wire connected?";

/// Nothing was measured at any setting: the files do not tell a clock that is missing from a transmitter that refused.
bool nothingMeasured(const DiagnosticSet& set) {
    return set.attempts.empty() && set.base.cal && !set.base.cal->rates.known();
}

void addTransmitterFailure(const Case& given, Findings& findings) {
    if (!given.set.log || given.calibrated) {
        return;
    }
    const LogWords& log = *given.set.log;
    const std::string failure = log.transmitterFailure();
    // A setting that could not be programmed is no matter when others were tried and failed for their signal.
    if (failure.empty() || (log.last.find(failure) == std::string::npos && !nothingMeasured(given.set))) {
        return;
    }
    Finding& finding = findingFor(findings, "transmitter-failed", {});
    finding.text = "the transmitter failed: " + failure;
    finding.remedy = "Is the debugger connected and the target running? Is its trace block powered, and does nothing "
                     "else use it?";
    for (const auto* reasons : {&log.unused, &log.failed}) {
        for (const auto& [setting, reason] : *reasons) {
            finding.evidence.push_back("log " + log.file + ": setting " + std::to_string(setting) + ": " + reason);
        }
    }
    if (finding.evidence.empty()) {
        finding.evidence.push_back("log " + log.file + ": " + log.last);
    }
}

void addClockDead(const Case& given, Findings& findings) {
    for (const FileGroup* attempt : given.attempts) {
        if (!attempt->burst || !attempt->burst->taken() || liveBurst(*attempt) != nullptr) {
            continue;
        }
        Finding& finding = findingFor(findings, "clock-dead", {0});
        finding.text = "no trace clock arrives at the " + pinTitle(given.set, 0) + " pin";
        finding.remedy = deadRemedy;
        finding.evidence.push_back("burst of " + attemptTitle(*attempt) + ": the clock stands at " +
                                   std::to_string(*stuckLevel(*attempt->burst, 0)) + " in all " +
                                   std::to_string(attempt->burst->samples()) + " samples");
    }
    if (!nothingMeasured(given.set) || !findings.empty()) {
        return;
    }
    Finding& finding = findingFor(findings, "clock-dead", {0});
    finding.evidence.push_back(given.set.name + ".cal.txt: exportFrequency 0 Hz, and no setting was tried");
    const auto& log = given.set.log;
    for (const auto& [setting, reason] : log ? log->unused : std::map<unsigned, std::string>{}) {
        finding.evidence.push_back("log " + log->file + ": setting " + std::to_string(setting) + ": " + reason);
    }
    if (finding.evidence.size() > 1) {
        finding.text = "no trace clock arrives at the " + pinTitle(given.set, 0) + " pin";
        finding.remedy = deadRemedy;
    } else {
        finding.text = "no trace clock was measured at the " + pinTitle(given.set, 0) + " pin";
        finding.remedy = std::string("Did the transmitter refuse? The receiver's log names it. If not, no clock "
                                     "arrives: ") +
                         deadRemedy;
    }
}

/// Settings that all measure the same: what is counted there is not what the target was set to.
std::string sameRateText(const DiagnosticSet& set) {
    constexpr double same = 0.005;
    std::vector<std::string> settings;
    double lowest = 0.0;
    double highest = 0.0;
    for (const FileGroup& attempt : set.attempts) {
        const double rate = attempt.rates().exportFrequency;
        if (rate <= 0.0) {
            continue;
        }
        lowest = settings.empty() ? rate : std::min(lowest, rate);
        highest = std::max(highest, rate);
        settings.push_back(std::to_string(*attempt.setting));
    }
    if (settings.size() < 2 || highest - lowest > same * highest) {
        return {};
    }
    return "reports: settings " + enumeration(settings) + " were measured at the same rate, " + frequencyWords(highest);
}

} // namespace

const Burst* liveBurst(const FileGroup& group) {
    if (!group.burst || !group.burst->taken() || stuckLevel(*group.burst, 0)) {
        return nullptr;
    }
    return &*group.burst;
}

void findClockFaults(const Case& given, Findings& findings) {
    if (given.set.manual()) {
        return;
    }
    addTransmitterFailure(given, findings);
    addClockDead(given, findings);
    if (!given.set.attempts.empty() || !given.set.base.cal || !given.set.base.cal->rates.known() || !findings.empty()) {
        return;
    }
    const Rates& rates = given.set.base.cal->rates;
    const std::string clock = frequencyWords(rates.exportFrequency);
    const std::string evidence = given.set.name + ".cal.txt: exportFrequency " + clock + ", dataRate " +
                                 decimal(rates.dataRate / 1e6) + " Mbit/s, and no setting was tried";
    Finding finding;
    finding.pins = {0};
    finding.evidence.push_back(evidence);
    if (rates.exportFrequency > fastestClock) {
        finding.kind = "clock-too-fast";
        finding.text = "the target's slowest setting, " + clock + ", is faster than the 120 MHz that the unit records";
        finding.remedy = "Lower the clock that the target's trace export is derived from (its PLL).";
    } else if (rates.dataRate > highestDataRate) {
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

void findSameRates(const Case& given, Findings& findings) {
    const std::string text = given.calibrated ? std::string() : sameRateText(given.set);
    if (text.empty()) {
        return;
    }
    for (Finding& finding : findings) {
        if (finding.kind == "clock-suspect") {
            finding.evidence.push_back(text);
            return;
        }
    }
    Finding& finding = findingFor(findings, "settings-alike", {0});
    finding.severity = Finding::Severity::Note;
    finding.text = "every setting was measured at the same rate";
    finding.remedy =
        "Is the pin that is named as the clock the trace clock? Does the target take its frequency settings?";
    finding.evidence.push_back(text);
}

} // namespace diagnosis::rules
