#pragma once

#include "bench/unit/Unit.h"

#include <cstdint>

namespace fuzz {

/// Turns on all inputs of channel 0.
void enableInputs(bench::Unit& unit);

/// What the unit sees of its transmitter: a burst, a count of clock edges, and a short recording. `now` is the unit's
/// time.
void measure(bench::Unit& unit, std::uint64_t& now);

} // namespace fuzz
