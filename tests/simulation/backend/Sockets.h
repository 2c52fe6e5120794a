#pragma once

#include <cstddef>
#include <cstdint>

namespace simulation {

/// Forgets the sockets of the schedule before. The seed decides the sizes of pieces; 0 leaves them whole.
void beginSockets(std::uint64_t seed);
/// Sockets of the product's process that were not closed.
std::size_t socketsLeftOpen();

} // namespace simulation
