#include "diagnosis/doctor/DiagnosisText.h"

#include "diagnosis/files/BurstFile.h"
#include "toolkit/FilePath.h"
#include "toolkit/Format.h"
#include "toolkit/JsonText.h"
#include "toolkit/Masked.h"
#include "toolkit/Text.h"

#include <nlohmann/json.hpp>

#include <algorithm>

namespace diagnosis {

namespace {

using nlohmann::json;

const char* outcomeName(Verdict::Outcome outcome) {
    switch (outcome) {
    case Verdict::Outcome::Accepted:
        return "accepted";
    case Verdict::Outcome::Rejected:
        return "rejected";
    case Verdict::Outcome::Unknown:
        break;
    }
    return "unknown";
}

json attemptJson(const DiagnosticSet& set, const Diagnosis& diagnosis, std::size_t index) {
    const FileGroup& attempt = set.attempts[index];
    const Verdict& verdict = diagnosis.verdicts[index];
    return {{"setting", *attempt.setting},
            {"hertz", attempt.rates().known() ? json(attempt.rates().exportFrequency) : json()},
            {"verdict", outcomeName(verdict.outcome)},
            {"receiverText", toolkit::orNull(verdict.receiverText)},
            {"explanation", toolkit::orNull(verdict.words)}};
}

json findingJson(const Finding& finding) {
    json out{{"kind", slugOf(finding.kind)},
             {"severity", finding.severity == Finding::Severity::Fault ? "fault" : "note"},
             {"text", finding.text},
             {"evidence", finding.evidence},
             {"remedy", finding.remedy},
             {"pins", json::array()},
             {"fittingHertz", toolkit::orNull(finding.fittingRate)}};
    for (const std::size_t pin : finding.pins) {
        out["pins"].push_back(toolkit::pinKey(pin));
    }
    return out;
}

} // namespace

std::string whatIsMissing(const Diagnosis& diagnosis) {
    if (diagnosis.missing.empty()) {
        return "these files do not show how the calibration ended; the receiver's log does";
    }
    std::string text = diagnosis.missing.size() == 1
                           ? std::string("a kind of file is missing: ")
                           : std::to_string(diagnosis.missing.size()) + " kinds of files are missing: ";
    return text + toolkit::enumeration(diagnosis.missing);
}

std::string findingCount(const Diagnosis& diagnosis) {
    const auto faults = static_cast<std::size_t>(
        std::count_if(diagnosis.findings.begin(), diagnosis.findings.end(),
                      [](const Finding& finding) { return finding.severity == Finding::Severity::Fault; }));
    const std::size_t notes = diagnosis.findings.size() - faults;
    if (diagnosis.findings.empty() && !diagnosis.judged) {
        return diagnosis.calibrated ? std::string("nothing was judged")
                                    : "nothing found, but " + whatIsMissing(diagnosis);
    }
    if (diagnosis.findings.empty()) {
        return "nothing found";
    }
    if (notes == 0) {
        return toolkit::countText(faults, "fault") + " found";
    }
    return faults == 0 ? "nothing broken found, " + toolkit::countText(notes, "note")
                       : toolkit::countText(faults, "fault") + " and " + toolkit::countText(notes, "note") + " found";
}

std::string diagnosisText(const DiagnosticSet& set, const Diagnosis& diagnosis) {
    std::string text = toolkit::masked(set.name) + ": " + diagnosis.headline + "\n" + findingCount(diagnosis) + "\n";
    for (const Finding& finding : diagnosis.findings) {
        text += finding.severity == Finding::Severity::Fault ? "\nfault: " : "\nnote: ";
        text += toolkit::masked(finding.text) + "\n";
        for (const std::string& line : finding.evidence) {
            text += "  evidence: " + toolkit::masked(line) + "\n";
        }
        text += "  check: " + toolkit::masked(finding.remedy) + "\n";
    }
    if (!diagnosis.limits.empty()) {
        text += "\n";
    }
    for (const std::string& limit : diagnosis.limits) {
        text += toolkit::masked(limit) + "\n";
    }
    return text;
}

json diagnosisJson(const DiagnosticSet& set, const Diagnosis& diagnosis) {
    json out{{"stem", (set.folder / toolkit::filePath(set.name)).string()},
             {"calibrated", toolkit::orNull(diagnosis.calibrated)},
             {"headline", diagnosis.headline},
             {"attempts", json::array()},
             {"findings", json::array()},
             {"labels", toolkit::labelsJson(set.dataPins() == 0 ? 0 : set.dataPins() + 1,
                                            [&](std::size_t proc) { return pinLabel(set, proc); })},
             {"limits", diagnosis.limits},
             {"judged", diagnosis.judged},
             {"missing", diagnosis.missing},
             {"damaged", set.troubles}};
    for (std::size_t i = 0; i < set.attempts.size(); ++i) {
        out["attempts"].push_back(attemptJson(set, diagnosis, i));
    }
    for (const Finding& finding : diagnosis.findings) {
        out["findings"].push_back(findingJson(finding));
    }
    return out;
}

} // namespace diagnosis
