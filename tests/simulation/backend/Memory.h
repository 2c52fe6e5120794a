#pragma once

#include <cstddef>
#include <cstdint>

namespace simulation {

/// Begins to count the allocations of simulated threads, apart from the simulation's own.
void beginMemory();
/// Those that were not freed since the begin.
std::int64_t allocationsLeft();

/// What the operators new and delete do. Null when there is no memory, or when the schedule says so.
void* allocate(std::size_t size) noexcept;
void release(void* memory) noexcept;

} // namespace simulation
