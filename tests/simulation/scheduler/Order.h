#pragma once

namespace simulation {

// What a race detector has to know, and cannot see through the gates: which thread's work precedes another's. Without one
// they do nothing.

/// What the calling thread has done so far precedes all that follows a noteAcquire of the same address.
void noteRelease(const void* address);
void noteAcquire(const void* address);

/// Between these the calling thread's accesses are the simulation's own.
void beginUnwatched();
void endUnwatched();

} // namespace simulation
