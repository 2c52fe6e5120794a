#pragma once

#include "diagnosis/doctor/Diagnosis.h"

#include <set>

// The rules of the diagnosis. Each adds its findings to what it is given.

namespace diagnosis::rules {

/// What a rule works on: the attempts whose state counts. Of a calibration that succeeded that is the last one alone,
/// since what the earlier ones met did not matter in the end.
struct Case {
    const DiagnosticSet& set;
    const std::vector<Verdict>& verdicts;
    bool calibrated;
    std::vector<const FileGroup*> attempts;
    /// Those of them in whose bursts all data pins fail alike, so that none is to blame by itself.
    std::set<const FileGroup*> alike;
};

/// A pin whose changes are bunched less than this around one distance from the clock does not follow it.
inline constexpr double loosest = 0.4;
inline constexpr std::size_t fewestChanges = 20;
/// The pattern of a calibration changes every pin at nearly every clock edge; one in four is far too few.
inline constexpr std::size_t rarest = 4;

using Findings = std::vector<Finding>;
using Limits = std::vector<std::string>;

void findClockFaults(const Case& given, Findings& findings);
/// Fills `alike`; goes ahead of the rules about single pins.
void findSharedFaults(Case& given, Findings& findings);
void findStuckPins(const Case& given, Findings& findings);
void findUnrelatedPins(const Case& given, Findings& findings);
void findDutyFaults(const Case& given, Findings& findings);
void findLaneFaults(const Case& given, Findings& findings, Limits& limits);
void findSameRates(const Case& given, Findings& findings);
void findMarginFaults(const Case& given, Findings& findings);
void findLostMargin(const Case& given, Findings& findings);
void findRegisterFaults(const Case& given, Findings& findings);

/// What the files do not hold: fills `missing` and `judged`, adds to `limits`.
void findMissing(const Case& given, Diagnosis& diagnosis);

/// The finding of that kind about these pins, made when there is none yet: several attempts tell of one fault.
Finding& findingFor(Findings& findings, const std::string& kind, const std::vector<std::size_t>& pins);
bool hasFinding(const Findings& findings, const std::string& kind, std::size_t pin);
/// "a, b and c".
std::string enumeration(const std::vector<std::string>& items);
std::string percent(double share);
/// With one place behind the point.
std::string decimal(double value);
/// Evidence for a clock whose edges come less regularly than the data's; empty when they do not.
std::string irregularClock(const FileGroup& attempt);
/// The burst of an attempt in which the clock runs; without one all pins rest and none can be judged.
const Burst* liveBurst(const FileGroup& group);

} // namespace diagnosis::rules
