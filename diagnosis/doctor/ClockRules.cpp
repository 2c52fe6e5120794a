#include "diagnosis/analysis/BurstAnalysis.h"
#include "diagnosis/doctor/Rules.h"
#include "toolkit/Format.h"
#include "toolkit/Text.h"

#include <algorithm>

// The clock and the transmitter that sends it.

namespace diagnosis::rules {

namespace {

/// A burst of fewer clock periods may be without a clock edge.
constexpr double fewestPeriods = 2.0;

/// No setting was measured: the files do not distinguish a missing clock from a transmitter that refused.
bool nothingMeasured(const DiagnosticSet& set) {
    return set.attempts.empty() && set.base.cal && !set.base.cal->rates.known();
}

void addFailures(const RunLog& log, Finding& finding) {
    for (const std::string& failure : log.failures()) {
        finding.evidence.push_back("log " + log.file + ": " + failure);
    }
}

void addTransmitterFailure(Case& given) {
    if (!given.set.log || given.calibrated) {
        return;
    }
    const RunLog& log = *given.set.log;
    const std::string failure = log.transmitterFailure();
    // A setting that could not be programmed does not matter when others were tried and failed for their signal.
    if (failure.empty() || (log.failure.find(failure) == std::string::npos && !nothingMeasured(given.set))) {
        return;
    }
    Finding& finding = given.add(FindingId::TransmitterFailed, {}, {failure});
    addFailures(log, finding);
    if (finding.evidence.empty()) {
        finding.evidence.push_back("log " + log.file + ": " + plainReason(log.failure));
    }
}

/// Whether a burst is long enough to show a clock of the rate that was counted.
bool wouldShowClock(const Burst& burst) {
    return !burst.rates.known() || static_cast<double>(burst.samples()) >= fewestPeriods * burst.rates.oversampling;
}

void addClockDead(Case& given) {
    for (const FileGroup* attempt : given.attempts) {
        if (!attempt->burst || !attempt->burst->taken() || liveBurst(*attempt) != nullptr ||
            !wouldShowClock(*attempt->burst)) {
            continue;
        }
        given.add(FindingId::ClockDead, {0}, {given.title(0)})
            .evidence.push_back(burstOf(*attempt) + "the clock stays at " +
                                std::to_string(*stuckLevel(*attempt->burst, 0)) + " in all " +
                                std::to_string(attempt->burst->samples()) + " samples");
    }
    if (!nothingMeasured(given.set) || !given.findings.empty()) {
        return;
    }
    const auto& log = given.set.log;
    const bool unusable = log && std::any_of(log->frequencies.begin(), log->frequencies.end(),
                                             [](const FrequencySetting& entry) { return !entry.unused.empty(); });
    Finding& finding = given.add(unusable ? FindingId::ClockDead : FindingId::ClockNotMeasured, {0}, {given.title(0)});
    finding.evidence.push_back(given.set.name + ".cal.txt: exportFrequency 0 Hz, and no setting was tried");
    if (unusable) {
        addFailures(*log, finding);
    }
}

/// A clock that was counted, although no setting was tried.
void addUnusableClock(Case& given) {
    const auto& cal = given.set.base.cal;
    if (!given.set.attempts.empty() || !cal || !cal->rates.known() || !given.findings.empty()) {
        return;
    }
    const std::string clock = toolkit::frequencyText(cal->rates.exportFrequency);
    const std::string megabits = toolkit::fixedText(cal->rates.dataRate / 1e6, 1);
    const bool fast = cal->rates.exportFrequency > limits::highestClock;
    const bool wide = !fast && cal->rates.dataRate > limits::highestDataRate;
    given
        .add(fast   ? FindingId::ClockTooFast
             : wide ? FindingId::TooManyBits
                    : FindingId::ClockUnusable,
             {0}, {wide ? megabits : clock})
        .evidence.push_back(given.set.name + ".cal.txt: exportFrequency " + clock + ", dataRate " + megabits +
                            " Mbit/s, and no setting was tried");
}

/// Settings that all measure the same rate: what is counted is not what the target was set to.
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
    return "reports: settings " + toolkit::enumeration(settings) + " were measured at the same rate, " +
           toolkit::frequencyText(highest);
}

} // namespace

void findClockFaults(Case& given) {
    if (given.set.manual()) {
        return;
    }
    addTransmitterFailure(given);
    findLostClockPulses(given);
    if (!given.has(FindingKind::ClockTooFast, 0)) {
        addClockDead(given);
    }
    addUnusableClock(given);
}

void findSameRates(Case& given) {
    const std::string text = given.calibrated ? std::string() : sameRateText(given.set);
    if (text.empty()) {
        return;
    }
    for (Finding& finding : given.findings) {
        if (finding.kind == FindingKind::ClockSuspect) {
            finding.evidence.push_back(text);
            return;
        }
    }
    given.add(FindingId::SettingsAlike, {0}).evidence.push_back(text);
}

} // namespace diagnosis::rules
