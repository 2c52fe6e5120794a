#pragma once

#include <cstdint>

namespace simulation {

/// Begins to count the allocations of simulated threads, apart from the simulation's own.
void beginMemory();
/// Those that were not freed since the begin.
std::int64_t allocationsLeft();

} // namespace simulation
