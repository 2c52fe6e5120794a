#include "diagnosis/doctor/Diagnosis.h"

#include "diagnosis/analysis/BurstAnalysis.h"
#include "diagnosis/doctor/Rules.h"
#include "diagnosis/files/Patterns.h"
#include "toolkit/Format.h"
#include "toolkit/Text.h"

#include <algorithm>
#include <numeric>
#include <set>

namespace diagnosis {

namespace {

std::string headlineOf(const DiagnosticSet& set, std::optional<bool> calibrated) {
    if (set.manual()) {
        return "set with given values, nothing was measured";
    }
    if (!calibrated) {
        return "the files do not show whether the calibration succeeded";
    }
    if (!*calibrated) {
        return "not calibrated";
    }
    const FileGroup& last = set.attempts.back();
    return "calibrated at " + toolkit::frequencyText(last.rates().exportFrequency) + " (setting " +
           std::to_string(*last.setting) + ")";
}

/// The template with its <names> replaced by the values, in their order.
std::string filledIn(std::string text, const std::vector<std::string>& values) {
    std::size_t at = 0;
    for (const std::string& value : values) {
        at = text.find('<', at);
        if (at == std::string::npos) {
            break;
        }
        text.replace(at, text.find('>', at) + 1 - at, value);
        at += value.size();
    }
    return text;
}

bool isShift(FindingKind kind) {
    return kind == FindingKind::PinLate || kind == FindingKind::PinEarly || kind == FindingKind::PinShifted;
}

/// Pins with a duty error that the unit cannot correct.
std::set<std::size_t> dutyFaultsOf(const std::vector<Finding>& findings) {
    std::set<std::size_t> pins;
    for (const Finding& finding : findings) {
        if (finding.kind == FindingKind::DutyBeyondCorrection) {
            pins.insert(finding.pins.front());
        }
    }
    return pins;
}

} // namespace

bool Diagnosis::hasFaults() const {
    return std::any_of(findings.begin(), findings.end(),
                       [](const Finding& finding) { return finding.severity == Finding::Severity::Fault; });
}

std::string pinTitle(const DiagnosticSet& set, std::size_t proc) {
    return set.names.title(set.lane(proc));
}

std::string pinLabel(const DiagnosticSet& set, std::size_t proc) {
    return set.names.label(set.lane(proc));
}

std::string allPinsTitle(std::size_t dataPins) {
    return dataPins == 2 ? "both data pins" : "all " + std::to_string(dataPins) + " data pins";
}

std::string attemptTitle(const FileGroup& attempt) {
    if (!attempt.setting) {
        return "the first measurement";
    }
    std::string title = "setting " + std::to_string(*attempt.setting);
    const double rate = attempt.rates().exportFrequency;
    return rate > 0.0 ? title + " (" + toolkit::frequencyText(rate) + ")" : title;
}

Diagnosis diagnose(const DiagnosticSet& set) {
    Diagnosis diagnosis;
    for (const FileGroup& attempt : set.attempts) {
        diagnosis.verdicts.push_back(judge(set, attempt));
    }
    diagnosis.calibrated = calibrated(set, diagnosis.verdicts);
    diagnosis.headline = headlineOf(set, diagnosis.calibrated);

    rules::Case given{set, diagnosis.verdicts, diagnosis.calibrated.value_or(false), {}, {}, {}, {}};
    for (const FileGroup& attempt : set.attempts) {
        if (!given.calibrated || &attempt == &set.attempts.back()) {
            given.attempts.push_back(&attempt);
        }
    }
    // The order matters: later rules leave out pins that earlier ones found at fault.
    for (const auto rule :
         {rules::findClockFaults, rules::findSharedFaults, rules::findStuckPins, rules::findUnrelatedPins,
          rules::findLaneFaults, rules::findDutyFaults, rules::findPinsApart, rules::findMarginFaults,
          rules::findSameRates, rules::findLostMargin, rules::findRegisterFaults}) {
        rule(given);
    }
    rules::findMissing(given, diagnosis);
    diagnosis.findings = std::move(given.findings);
    diagnosis.limits = std::move(given.limits);
    // A pin that is shifted for its duty error comes after that. Of two pins, the other one then looks shifted as well.
    const bool arePair = !set.attempts.empty() && set.attempts.back().pins() == 3;
    std::stable_partition(diagnosis.findings.begin(), diagnosis.findings.end(),
                          [arePair, dutyPins = dutyFaultsOf(diagnosis.findings)](const Finding& finding) {
                              const bool ofDuty = dutyPins.contains(finding.pins.empty() ? 0 : finding.pins.front()) ||
                                                  (arePair && !dutyPins.empty());
                              return !isShift(finding.kind) || !ofDuty;
                          });
    std::stable_sort(diagnosis.findings.begin(), diagnosis.findings.end(),
                     [](const Finding& left, const Finding& right) { return left.severity < right.severity; });
    return diagnosis;
}

int requiredMarginEdges(const DiagnosticSet& set) {
    const auto text = set.properties ? set.properties->value("ovsMargin") : std::nullopt;
    return text ? std::max(1, toolkit::numberOf<int>(*text).value_or(1)) : 1;
}

namespace rules {

Finding& Case::add(FindingId id, const std::vector<std::size_t>& pins, const std::vector<std::string>& values,
                   const std::vector<std::string>& remedyValues) {
    const FindingRow& row = rowOf(id);
    auto found = std::find_if(findings.begin(), findings.end(),
                              [&](const Finding& finding) { return finding.kind == row.kind && finding.pins == pins; });
    if (found == findings.end()) {
        found = findings.emplace(found);
        found->kind = row.kind;
        found->pins = pins;
    }
    const bool note = row.severity == SeverityRule::Note || (row.severity == SeverityRule::NoteIfAvoided && calibrated);
    found->severity = note ? Finding::Severity::Note : Finding::Severity::Fault;
    found->text = filledIn(row.text, values);
    found->remedy = filledIn(row.remedy, remedyValues);
    return *found;
}

bool Case::has(FindingKind kind, std::size_t pin) const {
    return std::any_of(findings.begin(), findings.end(), [&](const Finding& finding) {
        return finding.kind == kind && std::find(finding.pins.begin(), finding.pins.end(), pin) != finding.pins.end();
    });
}

const Burst* liveBurst(const FileGroup& group) {
    return group.burst && group.burst->taken() && !stuckLevel(*group.burst, 0) ? &*group.burst : nullptr;
}

std::string burstOf(const FileGroup& attempt) {
    return "burst of " + attemptTitle(attempt) + ": ";
}

bool changesRarely(std::size_t changes, std::size_t clockChanges, std::size_t dataPins) {
    const std::size_t sequence = limits::syncLength * slotsOf(dataPins);
    return clockChanges > sequence && changes * rarestChange < clockChanges - sequence;
}

bool patternWasHeld(const Case& given, const FileGroup& attempt) {
    return given.calibrated && attempt.verification && attempt.pins() > 1 &&
           patternHeld(*attempt.verification, attempt.pins() - 1, given.set.verificationPattern());
}

std::vector<std::size_t> dataProcs(std::size_t dataPins) {
    std::vector<std::size_t> procs(dataPins);
    std::iota(procs.begin(), procs.end(), std::size_t{1});
    return procs;
}

} // namespace rules

} // namespace diagnosis
