#pragma once

#include "diagnosis/doctor/Diagnosis.h"

#include <nlohmann/json_fwd.hpp>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

// Can this trace be trusted? The one answer that the terminal, the page, JSON and the exit code of every command give.

namespace diagnosis {

/// Errors per bit that margins have to be good for unless a lower rate was asked for.
inline constexpr double usualErrorRate = 1e-9;
/// A margin at which bits are wrong more often than this is a fault, whatever else the run shows.
inline constexpr double certainErrorRate = 1e-6;
/// In samples: positions are known to this only when the clock's period is a whole number of samples, and calibration
/// patterns do not show by how much an edge after a long run comes late.
inline constexpr double marginUncertainty = 0.5;
/// In samples: no less is assumed where a burst shows none.
inline constexpr double leastAssumedJitter = 0.1;
/// Share of a bit that a margin needs where its jitter was not measured.
inline constexpr double limitWithoutJitter = 0.2;

/// The margin in samples that an error rate asks for:
///
///     deviations(errorRate) * max(jitter, leastAssumedJitter) + marginUncertainty
///
/// where a normal value exceeds so many standard deviations at that rate (6.0 at 1e-9), and `jitter` is the rms jitter of
/// data and clock together that the burst does not exceed with 95 % confidence (LaneMargins::mostJitter).
double marginLimit(double errorRate, double jitter);

/// The smallest setup or hold margin of a data lane, held against what the error rate asks for: how far the mean change
/// has to move before a bit is wrong.
struct WorstMargin {
    std::size_t pin = 0; ///< proc; the lane
    std::string title;   ///< "D1 (EMU2)"
    bool isSetup = true; ///< otherwise hold
    double samples = 0.0;
    double nanoseconds = 0.0;
    double percentOfBit = 0.0;
    double limitSamples = 0.0; ///< below it the verdict is thin
};

/// What an error rate is known from.
struct ErrorRate {
    std::uint64_t bits = 0;
    std::uint64_t errors = 0;
    double bound = 1.0; ///< errors per bit are below it, with 95 % confidence
};

/// One piece of evidence that the verdict uses or misses.
struct Evidence {
    std::string name; ///< slug: "calibration", "margins", "words", "words-after", "stream"
    bool isThere = false;
    std::string text; ///< what it shows, or how to get it
};

struct RunVerdict {
    enum class Kind {
        Sound,   ///< nothing speaks against it, and the evidence is complete
        Thin,    ///< the same, but a margin is below the limit
        Fault,   ///< something is wrong
        Unknown, ///< evidence is missing
    };
    struct Reason {
        std::string slug; ///< a finding's, a damage's, or one of the verdict's own
        std::string text; ///< a sentence without its full stop
    };

    Kind kind = Kind::Unknown;
    std::vector<Reason> reasons; ///< the first cause first; empty when sound
    std::vector<Evidence> evidence;
    std::optional<double> hertz; ///< of the trace clock
    std::optional<double> bitsPerSecond;
    std::optional<WorstMargin> worstMargin;
    std::optional<ErrorRate> errorRate;
};

/// "sound", "thin", "fault", "unknown".
const char* verdictName(RunVerdict::Kind kind);

/// Decides from the files of a run alone, so that the run itself and a later reader of its folder agree.
RunVerdict judgeRun(const DiagnosticSet& set, const Diagnosis& diagnosis);

/// "1e-9", "1.4e-6".
std::string rateText(double errorRate);

/// One line: kind, rate, worst margin with its lane and limit, and the first reason of anything less than sound.
std::string verdictLine(const RunVerdict& verdict);
nlohmann::json verdictJson(const RunVerdict& verdict);

/// 10 for a fault, also when the receiver was content; with `strict` for thin and unknown, too. A run that failed keeps
/// its own code.
toolkit::ExitCode exitCodeOf(const RunVerdict& verdict, toolkit::ExitCode code, bool strict);

} // namespace diagnosis
