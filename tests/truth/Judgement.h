#pragma once

#include "bench/scenarios/Scenario.h"
#include "bench/unit/Unit.h"

#include <cstdint>
#include <filesystem>
#include <span>
#include <string>
#include <vector>

// A calibration, judged by what the bench knows.

namespace truth {

/// Bytes of the recording by which a calibration is verified.
inline constexpr std::uint32_t verificationBytes = 0x40000;

/// What a calibration came to.
enum class Outcome {
    right,   ///< all pins in the same bit slot, every clock edge inside the middle 70 percent of every eye
    thin,    ///< the same slot, nearer to an edge, and a recording ten times as long as the verification's is faultless
    refused, ///< with a stated reason
    wrong,   ///< everything else
};
/// One character for each: '+', 't', 'r', 'w'.
char letterOf(Outcome outcome);
const char* nameOf(Outcome outcome);

/// Where the clock takes its samples.
struct Position {
    bool sameSlot = true;
    bool central = true; ///< within the middle 70 percent of every eye
    bool right() const { return sameSlot && central; }
};
struct EyePosition {
    std::int64_t slot = 0;
    double eye = 0.0; ///< samples
    double fractionMin = 0.0;
    double fractionMax = 0.0;
};
Position positionOf(std::span<const EyePosition> pins);

struct Verdict {
    Outcome outcome = Outcome::wrong;
    Position position;      ///< of what was not refused
    double megahertz = 0.0; ///< the rate chosen; of a refusal, the fastest on offer
    std::uint32_t setting = 0;
    std::string reason;      ///< of a refusal its text, of a wrong one what the recording showed
    std::string description; ///< the wiring, and what the bench knows of each pin
    /// For each data pin behind the first: the skew that the delays take out, less the wiring's, in samples.
    std::vector<double> skewErrors;
};

/// Calibrates a channel over the bench's unit in this process and judges it. The diagnostic files stay in `folder`, under
/// the stem "trace". `roundTrip` is what a request to the unit takes, in nanoseconds: at another one, other samples are
/// taken, and other noise is met.
/// @throws std::logic_error when a refusal has no reason or leaves the channel in another state than it says.
Verdict calibrateAndJudge(const bench::Scenario& scenario, const std::filesystem::path& folder,
                          std::uint64_t roundTrip = 20000);

} // namespace truth
