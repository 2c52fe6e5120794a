#pragma once

#include "bench/scenarios/Scenario.h"

#include <cstdint>
#include <string>

namespace truth {

/// A wiring that nobody has measured, with a target on it, drawn from a seed: skew 0 to 3 samples on each pin, jitter 0
/// to 0.4 samples rms, falling edges late by up to a sample, data in the middle between clock edges or together
/// with them, 1, 2 or 4 data pins, 1 to 6 rates from 8 to 130 MHz. The same on every system.
bench::Scenario drawScenario(std::uint64_t seed, bench::ExportKind kind);

/// The EMU pins that the scenario's target drives, as a setting: the clock, then one for each data pin.
std::string pinMapOf(const bench::Scenario& scenario);

/// The scenario as a file that the bench's server reads, to the last digit.
std::string scenarioText(const bench::Scenario& scenario);

} // namespace truth
