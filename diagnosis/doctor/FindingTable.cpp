#include "diagnosis/doctor/FindingTable.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace diagnosis {

namespace {

using Id = FindingId;
using Kind = FindingKind;
using Rule = SeverityRule;

constexpr auto noClock = "Is the target powered and its trace export enabled? Does the pin map name the right clock "
                         "pin? Is its wire connected?";
constexpr auto nothingSent = "Is the target's trace export enabled on these pins, and does it send? Does the pin map "
                             "name the pins that it uses? Is the cable connected, its ground too?";
constexpr auto openOrDriven = "Is its wire open, so that the input floats? Is something else driving it?";
constexpr auto crossedWires = "Cross the wires back, or give the pin map in the order of the wires.";
constexpr auto otherLength =
    "Is its wire longer or shorter than the others' by half a clock period or more? Or was its delay set to the wrong "
    "side? Wires of one length and a slower clock prevent that.";

constexpr std::array table{
    FindingRow{Id::TransmitterFailed, Kind::TransmitterFailed, "transmitter-failed", Rule::Fault,
               "the transmitter failed: <reason>",
               "Is the debugger connected and the target running? Is its trace block powered, and unused by others?"},
    FindingRow{Id::ClockDead, Kind::ClockDead, "clock-dead", Rule::Fault, "no trace clock arrives at the <pin> pin",
               noClock},
    FindingRow{Id::ClockNotMeasured, Kind::ClockDead, "clock-dead", Rule::Fault,
               "no trace clock was measured at the <pin> pin",
               "Did the transmitter refuse? The receiver's log names it. If not, no clock arrives: Is the target "
               "powered and its trace export enabled? Does the pin map name the right clock pin? Is its wire "
               "connected? A clock above some 250 MHz counts as none, too: the unit removes its pulses as too short."},
    FindingRow{Id::ClockTooFast, Kind::ClockTooFast, "clock-too-fast", Rule::Fault,
               "the target's slowest setting, <rate>, is faster than the 120 MHz that the unit records",
               "Lower the clock that the target's trace export is derived from (its PLL)."},
    FindingRow{Id::ClockLosesPulses, Kind::ClockTooFast, "clock-too-fast", Rule::Fault,
               "the target's clock is faster than the unit records, which counts only some of its pulses",
               "Lower the clock that the target's trace export is derived from (its PLL)."},
    FindingRow{Id::TooManyBits, Kind::TooManyBits, "too-many-bits", Rule::Fault,
               "the pins carry <rate> Mbit/s, more than the 960 that the unit records",
               "Use fewer data pins or a slower clock."},
    FindingRow{Id::ClockUnusable, Kind::ClockUnusable, "clock-unusable", Rule::Fault,
               "a clock of <rate> was counted, but no setting of the target could be used",
               "The clock is unstable, is outside of 11 Hz to 350 MHz, or the transmitter refused its first setting: "
               "see the log. Check the clock's wire."},
    FindingRow{Id::ClockSuspect, Kind::ClockSuspect, "clock-suspect", Rule::Fault,
               "check the <pin> pin first: the data pins do not follow it",
               "Is the clock's wire open or its ground bad? Does the pin map name the pin that carries the trace "
               "clock? Are its edges clean, without jitter? The data pins can be judged only then."},
    FindingRow{Id::SettingsAlike, Kind::SettingsAlike, "settings-alike", Rule::Note,
               "every setting was measured at the same rate",
               "Is the pin that is named as the clock the trace clock? Does the target apply its frequency settings?"},
    FindingRow{Id::PinsNoisy, Kind::PinsNoisy, "pins-noisy", Rule::Fault,
               "<pins> change without regard to the clock and to each other",
               "All pins at once indicate a shared cause: check the clock's edges and the ground first, then the "
               "port's supply and the cable. A slower clock tolerates more noise."},
    FindingRow{Id::PinsSilent, Kind::PinsSilent, "pins-silent", Rule::Fault,
               "<pins> change far less often than the clock", nothingSent},
    FindingRow{Id::PinStuckAtZero, Kind::PinStuck, "pin-stuck", Rule::Fault, "<pin> is stuck at 0",
               "Is the wire connected, or shorted to ground? Is the pin enabled on the target?"},
    FindingRow{Id::PinStuckAtOne, Kind::PinStuck, "pin-stuck", Rule::Fault, "<pin> is stuck at 1",
               "Is the wire shorted to the supply, or open with a pull-up? Is the pin enabled on the target?"},
    FindingRow{Id::AllPinsStuck, Kind::PinStuck, "pin-stuck", Rule::Fault, "<pins> are stuck while the clock runs",
               nothingSent},
    FindingRow{Id::PinUnrelated, Kind::PinGarbled, "pin-garbled", Rule::Fault,
               "<pin> changes without regard to the clock", openOrDriven},
    FindingRow{Id::OnlyPinUnrelated, Kind::PinGarbled, "pin-garbled", Rule::Fault,
               "<pin>, the only data pin, changes without regard to the clock",
               "Is its wire open or the clock's, so that an input floats? Is something else driving one of them?"},
    FindingRow{Id::PinGarbled, Kind::PinGarbled, "pin-garbled", Rule::Fault,
               "<pin> carries bits that fit the pattern of no pin", openOrDriven},
    FindingRow{Id::AllPinsGarbled, Kind::PinGarbled, "pin-garbled", Rule::Fault,
               "<pins> carry bits that fit the pattern of no pin",
               "All pins at once indicate a shared cause: check the clock's wire and edges first, then the ground and "
               "the port's supply. Does the target send the pattern?"},
    FindingRow{Id::PinsShorted, Kind::PinsShorted, "pins-shorted", Rule::Fault, "<pin> and <pin> carry the same bits",
               "Check for a short between the two wires, and for a pin map that names one pin twice."},
    FindingRow{Id::PinsSwapped, Kind::PinsSwapped, "pins-swapped", Rule::Fault, "<pins> are swapped", crossedWires},
    FindingRow{Id::PinAstray, Kind::PinsSwapped, "pins-swapped", Rule::Fault, "<pin> carries another pin's bits",
               crossedWires},
    FindingRow{Id::PinLate, Kind::PinLate, "pin-late", Rule::Fault, "<pin> is <bits> late against <others>",
               otherLength},
    FindingRow{Id::PinEarly, Kind::PinEarly, "pin-early", Rule::Fault, "<pin> is <bits> early against <others>",
               otherLength},
    FindingRow{Id::PinShifted, Kind::PinShifted, "pin-shifted", Rule::Fault,
               "<pin> is <bits> early or late against <others>", otherLength},
    FindingRow{Id::PinUnreliable, Kind::PinUnreliable, "pin-unreliable", Rule::Fault,
               "<pin> is sampled wrongly now and then",
               "Noise or too small a margin: check ground and termination of this wire, or use a slower clock."},
    FindingRow{Id::AllPinsUnreliable, Kind::PinUnreliable, "pin-unreliable", Rule::Fault,
               "<pins> are sampled wrongly now and then",
               "All pins at once indicate a shared cause: check the clock's wire and edges first, then the ground and "
               "the port's supply. A slower clock leaves larger margins."},
    FindingRow{Id::PinNoisy, Kind::PinNoisy, "pin-noisy", Rule::Fault,
               "the edges of <pin> jitter far more than those of other pins",
               "Noise on this wire: check its ground, its termination and what runs beside it."},
    FindingRow{Id::WordsWrong, Kind::WordsWrong, "words-wrong", Rule::Fault,
               "the verification recording has wrong words, and no single pin explains them",
               "Check the clock: an extra or a missing edge shifts all pins at once."},
    FindingRow{Id::SingleWordsWrong, Kind::WordsWrong, "words-wrong", Rule::Fault,
               "single words of the verification recording are wrong, those around them are right",
               "Noise, or a defect of the unit's memory, which would appear at the same address again: calibrate once "
               "more and compare, or run orvtrace soak."},
    FindingRow{Id::DutyBeyondCorrection, Kind::DutyBeyondCorrection, "duty-beyond-correction", Rule::NoteIfAvoided,
               "the duty error of <pin> is beyond the unit's correction",
               "Check this wire's edges with an oscilloscope: a weak driver, a pull-up or a wrong supply makes its "
               "ones <shorter> than its zeros."},
    FindingRow{Id::MarginTooSmall, Kind::MarginTooSmall, "margin-too-small", Rule::NoteIfAvoided,
               "setup and hold margin are too small; about <rate> would fit",
               "Skew, jitter and duty errors all reduce the margins; the eyes in the report show which. Shorten the "
               "cable, improve its ground, check the clock's edges, or use a slower clock."},
    FindingRow{Id::FasterMarginTooSmall, Kind::MarginTooSmall, "margin-too-small", Rule::NoteIfAvoided,
               "setup and hold margin are too small at faster settings; <rate> fits",
               "Only if a faster setting is needed: shorten the cable, improve its ground."},
    FindingRow{Id::NoSamplingPosition, Kind::NoSamplingPosition, "no-sampling-position", Rule::NoteIfAvoided,
               "the data change neither clearly between the clock's edges nor clearly at them",
               "Causes are wires whose lengths differ by about a quarter of a clock period, and a clock or a cable "
               "with much jitter: the eyes in the report show which. Then use wires of one length, a shorter cable, "
               "or a slower clock."},
    FindingRow{Id::MarginLost, Kind::MarginLost, "margin-lost", Rule::Fault,
               "a margin became too small during a recording",
               "Skew changes with temperature and with the supply: calibrate again when the board is warm, or use a "
               "slower clock. This file stays from run to run; remove it after reading it."},
    FindingRow{Id::RegistersDiffer, Kind::RegistersDiffer, "registers-differ", Rule::Fault,
               "the unit's registers of <pin> do not hold the computed values",
               "Did something else write to the unit? Calibrate again."},
};

/// Rows are in the order of their ids, and a slug belongs to one kind.
constexpr bool isConsistent() {
    for (std::size_t i = 0; i < table.size(); ++i) {
        for (std::size_t k = 0; k < i; ++k) {
            const bool sameSlug = std::string_view(table[i].slug) == table[k].slug;
            if (sameSlug != (table[i].kind == table[k].kind)) {
                return false;
            }
        }
        if (table[i].id != static_cast<FindingId>(i)) {
            return false;
        }
    }
    return table.back().id == FindingId::RegistersDiffer;
}
static_assert(isConsistent());

} // namespace

std::span<const FindingRow> findingTable() {
    return table;
}

const FindingRow& rowOf(FindingId id) {
    return table[static_cast<std::size_t>(id)];
}

const char* slugOf(FindingKind kind) {
    return std::find_if(table.begin(), table.end(), [=](const FindingRow& row) { return row.kind == kind; })->slug;
}

const char* severityText(SeverityRule rule) {
    switch (rule) {
    case SeverityRule::Fault:
        return "fault";
    case SeverityRule::Note:
        return "note";
    case SeverityRule::NoteIfAvoided:
        break;
    }
    return "fault; note if calibrated";
}

} // namespace diagnosis
