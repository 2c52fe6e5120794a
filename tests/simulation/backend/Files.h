#pragma once

#include <cstddef>

namespace simulation {

/// Forgets the files of the schedule before.
void beginFiles();
/// Streams that simulated threads opened since and did not close.
std::size_t filesLeftOpen();

} // namespace simulation
