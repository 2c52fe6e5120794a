#include "diagnosis/analysis/OwnFigures.h"

#include "diagnosis/analysis/BurstAnalysis.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace diagnosis {

namespace {

/// Reasons that occur after the margins were measured.
constexpr std::array<std::string_view, 5> lateReasons{
    "clock margin too low", "failed calibration pattern test", "failed side-band verification",
    "timeout during calibration verification", "automatic lfsr pattern verification not supported"};

/// Reasons that occur before.
constexpr std::array<std::string_view, 2> earlyReasons{"unable to detect sampling position", "invalid "};

/// The margins were measured on the attempt's own burst. Transmitter, unit or file may fail at any time.
bool reportFitsBurst(const FileGroup& attempt) {
    if (!attempt.cal || !attempt.burst || !attempt.burst->taken()) {
        return false;
    }
    const std::size_t pins = std::min(attempt.cal->pins.size(), attempt.burst->pins.size());
    for (std::size_t proc = 1; proc < pins; ++proc) {
        const BurstMargins margins = marginsOf(*attempt.burst, proc);
        const CalPin& pin = attempt.cal->pins[proc];
        if (std::optional<std::size_t>(pin.holdMargin) != margins.holdMargin ||
            std::optional<std::size_t>(pin.setupMargin) != margins.setupMargin) {
            return false;
        }
    }
    return pins > 1;
}

bool untouched(const Burst& burst) {
    return std::all_of(burst.pins.begin(), burst.pins.end(),
                       [](const BurstPin& pin) { return pin.delay == 0 && pin.stretch == 0; });
}

std::string loggedReason(const DiagnosticSet& set, const FileGroup& attempt) {
    return set.log && attempt.setting ? set.log->failedReason(*attempt.setting).value_or("") : std::string();
}

bool belowAnalysis(const CalFile& cal) {
    return cal.rates.known() && cal.rates.belowAnalysis();
}

} // namespace

bool endedAtVote(const FileGroup& attempt) {
    return attempt.burst && attempt.burst->taken() && votePosition(*attempt.burst).undecided() &&
           untouched(*attempt.burst);
}

bool reachedMargins(const FileGroup& attempt, const std::string& reason) {
    const auto names = [&](std::string_view text) { return reason.find(text) != std::string::npos; };
    if (std::any_of(lateReasons.begin(), lateReasons.end(), names)) {
        return true;
    }
    if (std::any_of(earlyReasons.begin(), earlyReasons.end(), names)) {
        return false;
    }
    if (!reason.empty()) {
        return reportFitsBurst(attempt);
    }
    if (attempt.verification) {
        return true;
    }
    return !attempt.burst || (attempt.burst->taken() && !endedAtVote(attempt));
}

void leaveOutFigures(CalFile& cal) {
    cal.figuresLeftOut = true;
    for (CalPin& pin : cal.pins) {
        pin.holdMargin.reset();
        pin.setupMargin.reset();
        pin.correlation.reset();
        pin.correlationAtZero.reset();
    }
}

void takeHeldValues(CalFile& cal, const RegisterDump* held) {
    if (!belowAnalysis(cal)) {
        return;
    }
    const unsigned channel = held != nullptr ? channelOf(*held) : 0;
    for (std::size_t proc = 0; proc < cal.pins.size(); ++proc) {
        CalPin& pin = cal.pins[proc];
        const auto values = held != nullptr ? pinRegisters(*held, channel, static_cast<unsigned>(proc)) : std::nullopt;
        const auto take = [&](std::optional<int>& field, auto value) {
            field = values ? std::optional(static_cast<int>(value)) : std::nullopt;
        };
        const PinRegisters known = values.value_or(PinRegisters{});
        take(pin.delay, known.delay);
        take(pin.stretch, known.stretch);
        take(pin.filter, known.filter);
        take(pin.debounce, known.debounce);
        take(pin.plateau, known.plateau);
    }
}

void keepOwnFigures(DiagnosticSet& set) {
    const RegisterDump* held = set.base.registers ? &*set.base.registers : nullptr;
    for (FileGroup& attempt : set.attempts) {
        if (attempt.registers) {
            held = &*attempt.registers;
        }
        if (!attempt.cal) {
            continue;
        }
        if (!belowAnalysis(*attempt.cal) && !reachedMargins(attempt, loggedReason(set, attempt))) {
            leaveOutFigures(*attempt.cal);
        }
        takeHeldValues(*attempt.cal, held);
    }
}

} // namespace diagnosis
