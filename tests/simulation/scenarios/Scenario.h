#pragma once

#include "tests/simulation/scheduler/Scheduler.h"

#include <string>
#include <vector>

namespace simulation {

/// One life of the objects under test, from their creation to their end, with all its threads.
struct Scenario {
    std::string name; ///< as in "channel.stop"
    /// Thread 0 of each schedule. Quiet: what it does itself does not fail. It enters the product's code by ProductCall
    /// and catches what the product may throw.
    void (*run)();
    Time longest = Limits{}.time; ///< a schedule that takes longer counts as endless
    bool isSmall = false;         ///< few enough points for every schedule with two preemptions
};

/// All scenarios, in the order of the files that list them.
const std::vector<Scenario>& scenarios();
/// For the tests of the simulation itself: a scenario that scenarioOf() knows, too, and scenarios() does not list.
void addScenario(const Scenario& scenario);
/// Throws std::invalid_argument for an unknown name.
const Scenario& scenarioOf(const std::string& name);

/// Reports a finding of that rule unless the condition holds.
void expect(bool holds, const std::string& rule, const std::string& text);

} // namespace simulation
