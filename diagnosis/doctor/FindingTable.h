#pragma once

#include <cstddef>
#include <span>

// Everything that the doctor can find, in one table.

namespace diagnosis {

/// What is wrong. Scripts know it by its slug.
enum class FindingKind {
    TransmitterFailed,
    ClockDead,
    ClockTooFast,
    TooManyBits,
    ClockUnusable,
    ClockSuspect,
    SettingsAlike,
    PinsNoisy,
    PinsSilent,
    PinStuck,
    PinGarbled,
    PinsShorted,
    PinsSwapped,
    PinLate,
    PinEarly,
    PinShifted,
    PinUnreliable,
    PinNoisy,
    WordsWrong,
    DutyBeyondCorrection,
    MarginTooSmall,
    NoSamplingPosition,
    MarginLost,
    RegistersDiffer,
};

/// A row of the table. A kind has several where its text depends on what was seen.
enum class FindingId {
    TransmitterFailed,
    ClockDead,
    ClockNotMeasured,
    ClockTooFast,
    ClockLosesPulses,
    TooManyBits,
    ClockUnusable,
    ClockSuspect,
    SettingsAlike,
    PinsNoisy,
    PinsSilent,
    PinStuckAtZero,
    PinStuckAtOne,
    AllPinsStuck,
    PinUnrelated,
    OnlyPinUnrelated,
    PinGarbled,
    AllPinsGarbled,
    PinsShorted,
    PinsSwapped,
    PinAstray,
    PinLate,
    PinEarly,
    PinShifted,
    PinUnreliable,
    AllPinsUnreliable,
    PinNoisy,
    WordsWrong,
    SingleWordsWrong,
    DutyBeyondCorrection,
    MarginTooSmall,
    FasterMarginTooSmall,
    NoSamplingPosition,
    MarginLost,
    RegistersDiffer,
};

enum class SeverityRule {
    Fault,         ///< something is broken, or does not fit
    Note,          ///< worth knowing
    NoteIfAvoided, ///< a fault, unless the calibration succeeded all the same
};

struct FindingRow {
    FindingId id;
    FindingKind kind;
    const char* slug; ///< one for each kind
    SeverityRule severity;
    const char* text;   ///< one sentence; values replace the <names> in their order
    const char* remedy; ///< what to check; in the same way
};

/// All rows, in the order of FindingId.
std::span<const FindingRow> findingTable();

const FindingRow& rowOf(FindingId id);
const char* slugOf(FindingKind kind);

/// "fault", "note", "fault; note if calibrated".
const char* severityText(SeverityRule rule);

} // namespace diagnosis
