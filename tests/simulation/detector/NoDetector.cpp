#include "tests/simulation/scheduler/Order.h"

namespace simulation {

void noteRelease(const void*) {}
void noteAcquire(const void*) {}
void beginUnwatched() {}
void endUnwatched() {}

} // namespace simulation
