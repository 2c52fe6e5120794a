#pragma once

#include "diagnosis/margin/EyeScan.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numbers>
#include <random>
#include <vector>

namespace diagnosis {

/// A lane's eye: distances from the kept sampling point to the mean changes, in samples, and their jitter.
struct SimulatedLane {
    double setup = 5.0, hold = 5.0;
    double jitter = 0.5;
};

/// A target whose errors follow from the position of the sampling point. Like a unit it follows most lanes into the next
/// slot, where their bits are sound again.
class SimulatedLanes {
public:
    SimulatedLanes(const ScanPlan& given, std::vector<SimulatedLane> simulated, std::uint64_t seed)
        : plan(given), lanes(std::move(simulated)), random(seed) {}

    TapCount measure(const Delays& delays, std::uint64_t bits) {
        recorded += bits;
        const double places = static_cast<double>(bits) * plan.transitionShare;
        std::vector<double> crossed;
        std::vector<bool> after;
        for (std::size_t i = 0; i < lanes.size(); ++i) {
            const double offset = static_cast<double>(delays.clock) - static_cast<double>(delays.lanes[i]) -
                                  (static_cast<double>(plan.kept.clock) - static_cast<double>(plan.kept.lanes[i]));
            const double toHold = tail((lanes[i].hold - offset) / lanes[i].jitter);
            const double toSetup = tail((lanes[i].setup + offset + drift) / lanes[i].jitter);
            after.push_back(toHold > toSetup);
            crossed.push_back(std::max(toHold, toSetup));
        }
        const auto votes = std::ranges::count_if(crossed, [](double chance) { return chance > 0.5; });
        const bool follows = 2 * static_cast<std::size_t>(votes) > lanes.size();
        TapCount count;
        count.bits = bits;
        for (std::size_t i = 0; i < lanes.size(); ++i) {
            std::poisson_distribution<std::uint64_t> draw(places * (follows ? 1.0 - crossed[i] : crossed[i]));
            LaneCount lane;
            lane.errors = std::min(draw(random), static_cast<std::uint64_t>(places));
            (after[i] != follows ? lane.early : lane.late) = lane.errors / 2;
            count.lanes.push_back(lane);
        }
        return count;
    }

    double drift = 0.0; ///< added to the setup margins
    std::uint64_t recorded = 0;

private:
    static double tail(double q) { return 0.5 * std::erfc(q / std::numbers::sqrt2); }

    const ScanPlan& plan;
    std::vector<SimulatedLane> lanes;
    std::mt19937_64 random;
};

inline ScanPlan planFor(const std::vector<SimulatedLane>& lanes, const Delays& kept) {
    ScanPlan plan;
    plan.kept = kept;
    plan.bitSamples = 14.0;
    plan.transitionShare = 0.4;
    plan.coarseBits = 100000;
    plan.wallBits = 10000000;
    plan.keptBits = 1000000;
    for (const SimulatedLane& lane : lanes) {
        plan.expected.push_back(ExpectedWalls{lane.setup, lane.hold});
    }
    return plan;
}

} // namespace diagnosis
