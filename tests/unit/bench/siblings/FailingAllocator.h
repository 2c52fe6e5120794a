#pragma once

#include <cstddef>

// The allocator of the whole program, which can be told to fail once.

namespace failing_allocator {

/// The calling thread's allocation after this many others throws std::bad_alloc.
void failAfter(std::size_t allocations);
/// Whether one has failed since; from here on none does.
bool disarm();

} // namespace failing_allocator
