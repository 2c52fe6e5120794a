#pragma once

#include <cstddef>

namespace simulation {

/// Forgets the files of the schedule before.
void beginFiles();
/// From now on no file can get a second name, as on volumes without hard links.
void refuseLinks();
/// Streams that simulated threads opened since and did not close.
std::size_t filesLeftOpen();

} // namespace simulation
