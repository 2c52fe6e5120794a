#pragma once

#include "tests/simulation/exploration/Recipe.h"
#include "tests/simulation/scheduler/Scheduler.h"

#include <functional>
#include <memory>
#include <vector>

namespace simulation {

/// Runs one schedule in this process, with the rules that hold for every scenario: nothing is left open, allocated or
/// running.
Outcome runSchedule(const Recipe& recipe, std::uint64_t length, Limits limits = {});
/// The same with a strategy that is made for each run; the recipe's own is not used.
using StrategyMaker = std::function<std::unique_ptr<Strategy>()>;
Outcome runSchedule(const Recipe& recipe, const StrategyMaker& makeIt, Limits limits = {});

/// What a scenario does without a strategy and without faults.
struct Usual {
    std::uint64_t length = 0; ///< points
    Faults::Counts operations;
    std::vector<Finding> findings; ///< also without a strategy a rule may be broken
};
/// Its recipe: no strategy, no fault.
Recipe usualRecipe(const std::string& scenario);
/// Also the first schedule of this process.
Usual measureUsual(const std::string& scenario);

/// The recipe of a seed: strategies in rotation; half of the recipes have a fault among the usual operations.
Recipe drawRecipe(const std::string& scenario, std::uint64_t seed, const Usual& usual);

} // namespace simulation
