#pragma once

#include "host/doctor/Diagnosis.h"

// The rules of the diagnosis. Each adds its findings to what it is given.

namespace host::rules {

/// What a rule works on: the attempts whose state counts. Of a calibration that succeeded that is the last one alone,
/// since what the earlier ones met did not matter in the end.
struct Case {
    const diagnostics::DiagnosticSet& set;
    const std::vector<diagnostics::Verdict>& verdicts;
    bool calibrated;
    std::vector<const diagnostics::FileGroup*> attempts;
};

using Findings = std::vector<Finding>;
using Limits = std::vector<std::string>;

void findClockFaults(const Case& given, Findings& findings);
void findStuckPins(const Case& given, Findings& findings);
void findUnrelatedPins(const Case& given, Findings& findings);
void findDutyFaults(const Case& given, Findings& findings);
void findLaneFaults(const Case& given, Findings& findings, Limits& limits);
void findMarginFaults(const Case& given, Findings& findings);
void findLostMargin(const Case& given, Findings& findings);
void findRegisterFaults(const Case& given, Findings& findings);

/// The finding of that kind about these pins, made when there is none yet: several attempts tell of one fault.
Finding& findingFor(Findings& findings, const std::string& kind, const std::vector<std::size_t>& pins);
bool hasFinding(const Findings& findings, const std::string& kind, std::size_t pin);
/// "a, b and c".
std::string enumeration(const std::vector<std::string>& items);
std::string percent(double share);

} // namespace host::rules
