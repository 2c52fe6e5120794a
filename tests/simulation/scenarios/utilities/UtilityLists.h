#pragma once

#include "tests/simulation/scenarios/Scenario.h"

#include <vector>

namespace simulation {

// One list for each file of this folder.
std::vector<Scenario> fileScenarios();
std::vector<Scenario> logScenarios();
std::vector<Scenario> processScenarios();
std::vector<Scenario> threadScenarios();
std::vector<Scenario> timerScenarios();

} // namespace simulation
