#pragma once

#include "bench/scenarios/Scenario.h"

#include <cstdint>

namespace bench_client {

/// A scenario with a wiring drawn at random: skews of 0 to 3 samples, duty errors up to a sample, jitter of 0 to 0.4
/// samples rms, centre- or edge-aligned, 1, 2 or 4 data pins, 1 to 6 rates from 8 to 130 MHz. The same seed draws the
/// same on every system.
bench::Scenario drawScenario(std::uint64_t seed, bench::ExportKind kind);

} // namespace bench_client
