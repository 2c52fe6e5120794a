#pragma once

#include "tests/simulation/scenarios/Scenario.h"

namespace simulation {

// One list for each folder of scenarios.
std::vector<Scenario> channelScenarios();
std::vector<Scenario> proxyScenarios();
std::vector<Scenario> utilityScenarios();

} // namespace simulation
