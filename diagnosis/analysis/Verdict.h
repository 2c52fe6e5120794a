#pragma once

#include "diagnosis/analysis/DiagnosticSet.h"

#include <optional>
#include <string>
#include <vector>

namespace diagnosis {

/// What became of one attempt, worked out again from its files by the receiver's own rules.
struct Verdict {
    enum class Outcome {
        Accepted, ///< calibrated with these values
        Refused,  ///< the receiver gave this setting up
        Untold,   ///< the files do not say
    };
    enum class Reason {
        None,
        Position,
        Margin,
        Value,
        Pattern,
        SideBand,
        Timeout,
        NoProof,
        Manual,
        Unproved,
        Unmeasured,
        Log, ///< only the log says why
    };

    Outcome outcome = Outcome::Untold;
    Reason reason = Reason::None;
    std::string receiverText; ///< what the receiver says of it, such as "clock margin too low"; may be empty
    std::string words;        ///< one or two sentences for a person
};

/// The smallest margins over all data pins, as the receiver adds them up.
struct ClockMargin {
    std::uint32_t hold = 0, setup = 0;
    unsigned need = 0;                     ///< a third of a clock period
    std::size_t holdPin = 0, setupPin = 0; ///< the pins that have them
    bool enough() const { return hold + setup >= need; }
};
/// Nothing when a data pin's margins were not measured.
std::optional<ClockMargin> clockMarginOf(const FileGroup& attempt);

/// The fastest clock and the highest data rate that the receiver takes.
inline constexpr double fastestClock = 1.2e8;
inline constexpr double highestDataRate = 9.6e8;

Verdict judge(const DiagnosticSet& set, const FileGroup& attempt);

/// Whether the calibration as a whole succeeded; nothing when the files do not say.
std::optional<bool> calibrated(const DiagnosticSet& set, const std::vector<Verdict>& verdicts);

/// "1 sample", "2 samples".
std::string samplesWords(std::size_t samples);

/// "50 MHz", "12.5 MHz".
std::string frequencyWords(double hertz);

} // namespace diagnosis
