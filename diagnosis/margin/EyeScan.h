#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

// Walks the clock's delay over all lanes, from the kept value outwards until errors are certain or the range ends, and
// counts the errors of each lane at each tap. A tap is one sample of the unit. Offsets are relative to the kept values:
// below 0 a bit is sampled earlier, which uses up the setup margin, above 0 the hold margin.

namespace diagnosis {

struct Delays {
    unsigned clock = 0;
    std::vector<unsigned> lanes; ///< lane 0 carries the top bit
    bool operator==(const Delays&) const = default;
};

struct LaneCount {
    std::uint64_t errors = 0;
    std::uint64_t early = 0; ///< of those, equal to the next slot's bit only
    std::uint64_t late = 0;  ///< equal to the preceding slot's bit only
};

struct TapCount {
    std::uint64_t bits = 0; ///< of each lane
    std::vector<LaneCount> lanes;
    bool astray = false; ///< the words could not be followed: there are errors, and no count of them
};

/// Records known words with these delays; nothing when the user has interrupted the scan.
using MeasureTap = std::function<std::optional<TapCount>(const Delays&, std::uint64_t bits)>;

/// Mean distances from the sampling point to the lane's changes, from a burst.
struct ExpectedWalls {
    double setup = 0.0, hold = 0.0; ///< samples
};

struct ScanPlan {
    Delays kept;
    unsigned longestDelay = 31;
    double bitSamples = 0.0;                            ///< in half a clock period
    double transitionShare = 1.0;                       ///< places where an error can show, of all bits
    std::vector<std::optional<ExpectedWalls>> expected; ///< by lane; a wall further out is that of another slot
    std::uint64_t coarseBits = 0;                       ///< at each tap
    std::uint64_t wallBits = 0;                         ///< at the taps of a wall, at most
    std::uint64_t keptBits = 0;                         ///< at the kept values
    std::uint64_t wantedErrors = 100;
};

/// All counts of one lane at one offset.
struct LaneTap {
    int offset = 0;
    std::uint64_t bits = 0;
    std::uint64_t errors = 0, early = 0, late = 0;
    /// Most lanes had passed their walls, and the unit followed them to the next slot: what counts as an error of this lane
    /// are the bits that it still took from its own slot.
    bool nextSlot = false;
    /// Past the wall, without a count: the words could not be followed, or are those of the next slot.
    bool beyond = false;
};

struct LaneScan {
    std::vector<LaneTap> taps;                      ///< by offset
    bool setupReached = false, holdReached = false; ///< a tap past the wall
    bool setupMoved = false, holdMoved = false;     ///< its first count and one at the end differ too much
    int lowest = 0, highest = 0;                    ///< offsets that the range of delays allows
};

struct EyeScanResult {
    std::vector<LaneScan> lanes;
    bool interrupted = false;
    std::size_t recordings = 0;
};

/// Errors and opportunities of a tap in the lane's own slot.
struct SlotCount {
    std::uint64_t errors = 0;
    std::uint64_t opportunities = 0;
    double rate() const {
        return opportunities == 0 ? 0.0 : static_cast<double>(errors) / static_cast<double>(opportunities);
    }
};
SlotCount countOf(const LaneTap& tap, double transitionShare);

/// The delays that move all lanes by an offset, as far as each of them can follow.
struct MovedDelays {
    Delays delays;
    std::vector<bool> follows; ///< by lane
};
MovedDelays movedBy(const ScanPlan& plan, int offset);

/// Called before each recording with the share of the work that is done.
using ScanProgress = std::function<void(double)>;

EyeScanResult scanEyes(const ScanPlan& plan, const MeasureTap& measure, const ScanProgress& progress = {});

} // namespace diagnosis
