#pragma once

#include "tests/simulation/scenarios/Scenario.h"

#include <vector>

namespace simulation {

/// Recordings through the data client; proxyScenarios() has them, too.
std::vector<Scenario> recordingScenarios();

} // namespace simulation
