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
    std::uint64_t faults = 0;      ///< schedules in which an operation failed
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

/// Every operation that can fail, on the usual schedule: once, and it and all later ones of its kind.
SearchResult searchEveryFault(const std::string& scenario, std::uint64_t mostFailures);

/// Every schedule of a scenario that leaves a thread which could go on at most so many times (a preemption), without
/// faults. A thread may be left for another one, or for one that sleeps and wakes early. When a thread blocks, all that
/// can run then are tried. Ends with the first failure.
struct ExhaustivePlan {
    std::string scenario;
    unsigned preemptions = 2;
    std::uint64_t mostSchedules = 1000000;
};
SearchResult searchExhaustively(const ExhaustivePlan& plan);

/// Runs one recipe in a process of its own. Without a failure the rule is empty.
Failure tryRecipe(const Recipe& recipe);

/// Removes departures and the fault for as long as the same rule is broken; at most `tries` schedules.
Failure shorten(const Failure& failure, unsigned tries = 2000);

/// The failure as a person reads it.
std::string textOf(const Failure& failure);

} // namespace simulation
