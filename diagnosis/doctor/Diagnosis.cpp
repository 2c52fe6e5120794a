#include "diagnosis/doctor/Diagnosis.h"

#include "diagnosis/doctor/Rules.h"
#include "diagnosis/files/Text.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace diagnosis {

namespace {

std::string headlineOf(const DiagnosticSet& set, std::optional<bool> calibrated) {
    if (set.manual()) {
        return "taken with given values, nothing was measured";
    }
    if (!calibrated) {
        return "the files do not say whether the calibration succeeded";
    }
    if (!*calibrated) {
        return "not calibrated";
    }
    const FileGroup& last = set.attempts.back();
    return "calibrated at " + frequencyWords(last.rates().exportFrequency) + " (setting " +
           std::to_string(*last.setting) + ")";
}

} // namespace

bool Diagnosis::hasFaults() const {
    return std::any_of(findings.begin(), findings.end(),
                       [](const Finding& finding) { return finding.severity == Finding::Severity::Fault; });
}

std::string pinTitle(const DiagnosticSet& set, std::size_t proc) {
    std::string title = pinName(proc);
    const auto emuIn = [&](const FileGroup& group) {
        const bool there = group.burst && proc < group.burst->pins.size();
        return there ? emuOfInput(group.burst->pins[proc].rcvrpin) : -1;
    };
    int emu = emuIn(set.base);
    for (const FileGroup& attempt : set.attempts) {
        emu = std::max(emu, emuIn(attempt));
    }
    return emu >= 0 ? title + " (EMU" + std::to_string(emu) + ")" : title;
}

std::string attemptTitle(const FileGroup& attempt) {
    if (!attempt.setting) {
        return "the first measurement";
    }
    std::string title = "setting " + std::to_string(*attempt.setting);
    const double rate = attempt.rates().exportFrequency;
    return rate > 0.0 ? title + " (" + frequencyWords(rate) + ")" : title;
}

Diagnosis diagnose(const DiagnosticSet& set) {
    Diagnosis diagnosis;
    for (const FileGroup& attempt : set.attempts) {
        diagnosis.verdicts.push_back(judge(set, attempt));
    }
    diagnosis.calibrated = calibrated(set, diagnosis.verdicts);
    diagnosis.headline = headlineOf(set, diagnosis.calibrated);

    rules::Case given{set, diagnosis.verdicts, diagnosis.calibrated.value_or(false), {}, {}};
    for (const FileGroup& attempt : set.attempts) {
        if (!given.calibrated || &attempt == &set.attempts.back()) {
            given.attempts.push_back(&attempt);
        }
    }
    rules::findClockFaults(given, diagnosis.findings);
    rules::findSharedFaults(given, diagnosis.findings);
    rules::findStuckPins(given, diagnosis.findings);
    rules::findUnrelatedPins(given, diagnosis.findings);
    rules::findLaneFaults(given, diagnosis.findings, diagnosis.limits);
    rules::findDutyFaults(given, diagnosis.findings);
    rules::findMarginFaults(given, diagnosis.findings);
    rules::findSameRates(given, diagnosis.findings);
    rules::findLostMargin(given, diagnosis.findings);
    rules::findRegisterFaults(given, diagnosis.findings);
    rules::findMissing(given, diagnosis);
    std::stable_sort(diagnosis.findings.begin(), diagnosis.findings.end(),
                     [](const Finding& left, const Finding& right) { return left.severity < right.severity; });
    return diagnosis;
}

int lostMarginSetting(const DiagnosticSet& set) {
    const auto text = set.properties ? set.properties->value("ovsMargin") : std::nullopt;
    return text ? std::max(1, numberOf<int>(*text).value_or(1)) : 1;
}

namespace rules {

Finding& findingFor(Findings& findings, const std::string& kind, const std::vector<std::size_t>& pins) {
    for (Finding& finding : findings) {
        if (finding.kind == kind && finding.pins == pins) {
            return finding;
        }
    }
    Finding& made = findings.emplace_back();
    made.kind = kind;
    made.pins = pins;
    return made;
}

bool hasFinding(const Findings& findings, const std::string& kind, std::size_t pin) {
    return std::any_of(findings.begin(), findings.end(), [&](const Finding& finding) {
        return finding.kind == kind && std::find(finding.pins.begin(), finding.pins.end(), pin) != finding.pins.end();
    });
}

std::string enumeration(const std::vector<std::string>& items) {
    std::string text;
    for (std::size_t i = 0; i < items.size(); ++i) {
        text += (i == 0 ? "" : i + 1 == items.size() ? " and " : ", ") + items[i];
    }
    return text;
}

std::string percent(double share) {
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), share > 0.0 && share < 0.001 ? "%.4f %%" : "%.1f %%", share * 100.0);
    return text.data();
}

std::string decimal(double value) {
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%.1f", value);
    return text.data();
}

} // namespace rules

} // namespace diagnosis
