#pragma once

#include "tests/simulation/backend/Libraries.h"

namespace simulation {

/// The CPU that the siblings know: the unit's own generator, on a clock and four data pins.
inline constexpr const char* cpuName = "fpga";

/// Sibling libraries that know one device. Replay is not installed.
Exports siblingLibraries();

} // namespace simulation
