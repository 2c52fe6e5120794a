#pragma once

#include "bench/scenarios/Scenario.h"
#include "bench/unit/Unit.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <span>
#include <string>
#include <vector>

// A calibration, judged by the bench's truth.

namespace truth {

/// Size in bytes of the recording that verifies a calibration.
inline constexpr std::uint32_t verificationBytes = 0x40000;

/// Outcome of a calibration.
enum class Outcome {
    right, ///< all pins in the same bit slot, every clock edge inside the middle 70 percent of every eye
    thin,  ///< the same slot, nearer to an edge, and a recording ten times as long as the verification's is faultless;
           ///< of trace where the content shifts edges, otherwise of the verification's pattern
    refused, ///< with a stated reason
    wrong,   ///< everything else
};
/// One character for each: '+', 't', 'r', 'w'.
char letterOf(Outcome outcome);
const char* nameOf(Outcome outcome);

/// Position of the clock edges in the eyes.
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

/// What the bench knows of a lane, the one with the top bit first.
struct LaneTruth {
    std::int64_t slot = 0;
    double errorRate = 0.0; ///< of a bit that differs from its neighbours, in the worst content
    bool isCoupled = false; ///< that content is neighbours that change the other way, whatever was before
};

struct Verdict {
    Outcome outcome = Outcome::wrong;
    Position position;      ///< unless refused
    double megahertz = 0.0; ///< the chosen rate; the fastest one when refused
    std::uint32_t setting = 0;
    std::string reason;      ///< text of the refusal, or the error of a wrong recording
    std::string description; ///< the wiring, and the truth about each pin
    /// For each data pin after the first: the skew that the delays correct, less the wiring's, in samples.
    std::vector<double> skewErrors;
    std::vector<LaneTruth> lanes; ///< unless refused
    double clockLoss = 0.0;       ///< probability in a slot that the clock loses a pulse
};

/// The recording that decides about a thin calibration, and what else a right one needs.
enum class Judging {
    ByPattern, ///< the verification's pattern; the position alone makes it right
    ByTrace,   ///< trace, whose edges can be worse; a right one has no content with a wrong bit either
};

/// Calibrates a channel over the bench's unit in this process and judges it. The diagnostic files are in `folder`, with
/// the stem "trace", while `onFiles` runs: when the calibration has ended. `roundTrip` is the duration of a request to the unit in nanoseconds; another value selects
/// other samples, with other noise.
/// @throws std::logic_error when a refusal has no reason or leaves the channel in another state than reported.
Verdict calibrateAndJudge(
    const bench::Scenario& scenario, const std::filesystem::path& folder, std::uint64_t roundTrip = 20000,
    Judging judging = Judging::ByPattern, const std::function<void()>& onFiles = [] {});

} // namespace truth
