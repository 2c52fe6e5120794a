#pragma once

#include "diagnosis/stream/StreamCheck.h"
#include "toolkit/ExitCode.h"
#include "toolkit/LaneNames.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// What the host has checked of a run beyond the receiver: STEM.checks.json, beside the files of the calibration. Kept, so
// that a later reader of the folder comes to the verdict that the run ended with.

namespace diagnosis {

/// Errors of one lane in a comparison with known words.
struct LaneErrors {
    unsigned lane = 0;        ///< from 0, which carries the top bit
    std::uint64_t errors = 0; ///< wrong bits
    std::uint64_t early = 0;  ///< of those, equal to the next slot's bit only
    std::uint64_t late = 0;   ///< equal to the preceding slot's bit only
};

/// One comparison of recorded words with those that the target was made to send.
struct WordCheck {
    enum class When {
        Alone,  ///< no recording of trace was asked for
        Before, ///< the recording of trace
        After,
    };
    When when = When::Alone;
    std::string pattern;
    double askedErrorRate = 0.0; ///< errors per bit that the number of bits can exclude
    std::uint64_t bits = 0;      ///< compared
    std::uint64_t errors = 0;    ///< wrong bits
    std::vector<LaneErrors> lanes;
    std::string failure; ///< why it was not made or not ended; empty otherwise
    std::optional<Damage> firstDamage{};

    /// Errors per bit that are excluded with 95 % confidence; 1 without a bit.
    double bound() const;
};

/// One recording of trace.
struct RecordingCheck {
    std::uint64_t announcedSamples = 0, samples = 0;
    std::string failure; ///< the receiver's own; empty without one
    std::optional<StreamCheck> stream;
};

/// Errors per bit that are excluded with 95 % confidence by a number of bits with so many errors; 1 without a bit.
double errorRateBound(std::uint64_t bits, std::uint64_t errors);
/// Bits without an error that exclude such a rate.
std::uint64_t bitsThatExclude(double errorRate);

/// "alone", "before", "after".
std::string_view whenName(WordCheck::When when);

/// Values that the host set itself, after the receiver had measured the rate. The burst beside them shows the target's
/// pattern with these values.
struct GivenSetting {
    std::string origin;   ///< "kept": of an earlier calibration; "tune": of the host's own search
    std::string from;     ///< place of the earlier calibration; may be empty
    unsigned setting = 0; ///< of the target's frequency
};

struct RunChecks {
    toolkit::ExitCode code = toolkit::ExitCode::Done; ///< of the run, without the verdict
    std::string failure;                              ///< empty when the run was done
    std::vector<WordCheck> words;
    std::vector<RecordingCheck> recordings;
    toolkit::LaneNames names;            ///< that the user gave the pins
    std::optional<GivenSetting> given{}; ///< nothing when the receiver's calibration chose the values
};

/// Throws Failure (BadInput) with file and what is wrong.
RunChecks parseRunChecks(std::string_view text, const std::string& file);
std::string runChecksText(const RunChecks& checks);

} // namespace diagnosis
