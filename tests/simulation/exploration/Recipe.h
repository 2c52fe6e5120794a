#pragma once

#include "tests/simulation/faults/Faults.h"
#include "tests/simulation/scheduler/Strategy.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace simulation {

/// All that one schedule depends on.
struct Recipe {
    std::string scenario;
    std::string strategy;   ///< of strategyNames(); "departures" follows `departures`
    std::uint64_t seed = 0; ///< of the strategy, and of what a real system decides by chance
    std::vector<Departure> departures;
    std::optional<FaultPlan> fault;
};

/// One line, as in "channel.stop early 17 fileWrite:1:3+" or "channel.stop departures 17 - 0:34>2 1:17>0".
std::string textOf(const Recipe& recipe);
/// Throws std::invalid_argument on anything else.
Recipe recipeOf(const std::string& text);

} // namespace simulation
