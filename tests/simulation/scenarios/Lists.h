#pragma once

#include "tests/simulation/scenarios/Scenario.h"

namespace simulation {

// One list for each folder of scenarios.
std::vector<Scenario> channelScenarios();
std::vector<Scenario> uploadScenarios();
std::vector<Scenario> receiverScenarios();
std::vector<Scenario> controlScenarios();
std::vector<Scenario> proxyScenarios();
std::vector<Scenario> utilityScenarios();

} // namespace simulation
