#pragma once

#include <cstddef>

// The allocator of the whole program, which can fail once on demand.

namespace failing_allocator {

/// The calling thread's allocation after this many others throws std::bad_alloc.
void failAfter(std::size_t allocations);
/// Whether an allocation has failed; no further one fails.
bool disarm();

} // namespace failing_allocator
