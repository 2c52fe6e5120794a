#pragma once

#include "diagnosis/doctor/Diagnosis.h"

#include <set>

// The rules of the diagnosis. Each adds its findings to the case.

namespace diagnosis::rules {

/// What the rules work on and what they have found.
struct Case {
    const DiagnosticSet& set;
    const std::vector<Verdict>& verdicts;
    bool calibrated;
    /// The attempts that count: after a successful calibration the last one only, since faults of earlier ones did not
    /// matter in the end.
    std::vector<const FileGroup*> attempts;
    /// Attempts in whose bursts all data pins fail in the same way, so that no single one is the cause.
    std::set<const FileGroup*> withSharedFault;
    std::vector<Finding> findings;
    std::vector<std::string> limits; ///< what the files cannot show

    /// The finding of that kind about these pins, with the text and remedy of the row; made if it is not there yet,
    /// since several attempts show the same fault. Values replace the row's <names>.
    Finding& add(FindingId id, const std::vector<std::size_t>& pins, const std::vector<std::string>& values = {},
                 const std::vector<std::string>& remedyValues = {});
    bool has(FindingKind kind, std::size_t pin) const;
    std::string title(std::size_t proc) const { return pinTitle(set, proc); }
    std::string label(std::size_t proc) const { return pinLabel(set, proc); }
};

/// Changes of a pin that follows its clock are concentrated by more than this at one distance from its edges.
inline constexpr double leastConcentration = 0.4;
/// Fewer changes than these say nothing about a pin.
inline constexpr std::size_t fewestChanges = 20;
/// The pattern of a calibration changes every pin at nearly every clock edge; one in four is far too few.
inline constexpr std::size_t rarestChange = 4;
/// Whether a pin changes far less often than the clock. A synchronisation sequence, in which it hardly does, is allowed
/// for: on a single pin it is longer than a burst at 10 MHz.
bool changesRarely(std::size_t changes, std::size_t clockChanges, std::size_t dataPins);
/// A pattern that was received as sent shows that the pins are sound, however the burst looks.
bool patternWasHeld(const Case& given, const FileGroup& attempt);

void findClockFaults(Case& given);
/// A clock of which the unit counts only some pulses: fills `withSharedFault`.
void findLostClockPulses(Case& given);
/// Fills `withSharedFault`; runs before the rules about single pins.
void findSharedFaults(Case& given);
void findStuckPins(Case& given);
void findUnrelatedPins(Case& given);
void findDutyFaults(Case& given);
/// Pins that are noisy, or change apart from others, where a setting fails for its margin.
void findPinsApart(Case& given);
void findLaneFaults(Case& given);
void findSameRates(Case& given);
void findMarginFaults(Case& given);
void findLostMargin(Case& given);
void findRegisterFaults(Case& given);

/// What the files do not hold: fills `missing` and `judged`, adds to the limits.
void findMissing(Case& given, Diagnosis& diagnosis);

/// Evidence for a clock whose edges are less regular than the data's; empty when they are not.
std::string irregularClock(const DiagnosticSet& set, const FileGroup& attempt);
/// Names the wire that is late or early against the others, by the synchronisation sequences of the burst. False without
/// one.
bool addSequenceShift(Case& given, const FileGroup& attempt, const Burst& burst);
/// The burst of an attempt in which the clock runs; null without one, since no pin can be judged then.
const Burst* liveBurst(const FileGroup& group);
/// "burst of setting 3 (95 MHz): ".
std::string burstOf(const FileGroup& attempt);
/// Procs 1 and up.
std::vector<std::size_t> dataProcs(std::size_t dataPins);

} // namespace diagnosis::rules
