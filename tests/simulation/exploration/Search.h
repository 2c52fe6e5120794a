#pragma once

#include "tests/simulation/exploration/Recipe.h"
#include "tests/simulation/scheduler/Scheduler.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace simulation {

/// A schedule that broke a rule.
struct Failure {
    Recipe recipe;
    std::string rule;
    std::string text;
    std::vector<Departure> departures; ///< of the schedule
};

struct SearchResult {
    std::uint64_t schedules = 0;
    std::uint64_t points = 0;
    std::uint64_t switches = 0;
    std::vector<Failure> failures; ///< in the order of their seeds
};

struct SearchPlan {
    std::string scenario;
    std::uint64_t firstSeed = 1;
    std::uint64_t schedules = 1000;
    std::uint64_t mostFailures = 1; ///< the search ends with so many
    bool faults = true;
    std::string strategy; ///< empty: all in rotation
};

/// Runs schedules in processes of their own, which a schedule that is stuck takes down with it. Every hundredth schedule
/// runs twice and has to be the same.
SearchResult search(const SearchPlan& plan);

/// Runs one recipe in a process of its own. Without a failure the rule is empty.
Failure tryRecipe(const Recipe& recipe);

/// Removes departures and the fault for as long as the same rule is broken; at most `tries` schedules.
Failure shorten(const Failure& failure, unsigned tries = 2000);

/// The failure as a person reads it.
std::string textOf(const Failure& failure);

} // namespace simulation
