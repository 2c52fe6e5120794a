#pragma once

#include "diagnosis/margin/LaneEye.h"
#include "diagnosis/margin/MarginScan.h"
#include "tests/truth/Wirings.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

// Margin scans over the bench's unit, held against its closed form. The counts of a tap are not recorded but drawn: Poisson
// values with the chances that the unit has for the delays that are in its registers.

namespace truth {

/// Where a lane's walls are, in samples from the kept values: a place in a thousand is wrong there, and one in 1e9.
struct WallTruth {
    double setup = 0.0, hold = 0.0;
    double setupAt1e9 = 0.0, holdAt1e9 = 0.0;
};

struct ScannedWiring {
    diagnosis::RateScan rate;
    std::vector<WallTruth> walls; ///< by lane
};

/// Calibrates a wiring and scans the rate that was kept; nothing if it is refused.
std::optional<ScannedWiring> scanWiring(const bench::Scenario& scenario, std::uint64_t seed);

/// How far scans are from the truth.
struct MarginTable {
    unsigned wirings = 0, refused = 0, lanes = 0;
    unsigned walls = 0, clipped = 0, others = 0; ///< others: closed, unstable, not measured
    unsigned within1 = 0, within2 = 0;           ///< of `walls`
    unsigned boundsBroken = 0;                   ///< clipped walls that are nearer than the stated bound
    unsigned lanesWithin1 = 0, lanesWithin2 = 0; ///< all measured walls of the lane
    unsigned claimed = 0, claimsWithin = 0;      ///< eye widths at 1e-9, within 15 %
    unsigned claimsTooWide = 0;                  ///< of those outside, wider than the truth
    std::uint64_t recordings = 0;
    std::vector<std::string> misses; ///< walls that are off by more than a sample

    void add(std::uint64_t seed, const std::optional<ScannedWiring>& scanned);
    std::string text() const;
};

/// Wirings as drawScenario() makes them; `jitter` times their jitter.
MarginTable judgeMargins(std::uint64_t firstSeed, unsigned wirings, double jitter = 1.0);

} // namespace truth
