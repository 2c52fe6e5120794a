#pragma once

#include "diagnosis/analysis/DiagnosticSet.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace diagnosis {

/// How one attempt ended, derived from its files by the receiver's own rules.
struct Verdict {
    enum class Outcome {
        Accepted, ///< calibrated with these values
        Rejected, ///< the receiver went on to a slower setting, or gave up
        Unknown,  ///< the files do not show it
    };
    enum class Reason {
        None,
        Position,
        Margin,
        Value,
        Pattern,
        SideBand,
        Timeout,
        NoVerification,
        Manual,
        Unverified,
        Unmeasured,
        Log, ///< only the log has the reason
    };

    Outcome outcome = Outcome::Unknown;
    Reason reason = Reason::None;
    std::string receiverText; ///< the receiver's own words, such as "clock margin too low"; may be empty
    std::string words;        ///< one or two sentences for a person
};

/// The smallest margins over all data pins, which the receiver adds up. In samples.
struct ClockMargin {
    std::uint32_t setupMargin = 0, holdMargin = 0;
    std::size_t setupPin = 0, holdPin = 0; ///< the pins that have them
    unsigned need = 0;                     ///< a third of a clock period
    std::uint32_t sum() const { return setupMargin + holdMargin; }
    bool enough() const { return sum() >= need; }
};
/// Nothing when no data pin's margins were measured.
std::optional<ClockMargin> clockMarginOf(const FileGroup& attempt);

Verdict judge(const DiagnosticSet& set, const FileGroup& attempt);

/// Whether the calibration as a whole succeeded; nothing when the files do not show it.
std::optional<bool> calibrated(const DiagnosticSet& set, const std::vector<Verdict>& verdicts);

} // namespace diagnosis
