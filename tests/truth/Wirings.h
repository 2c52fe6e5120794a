#pragma once

#include "bench/scenarios/Scenario.h"

#include <cstdint>
#include <string>

namespace truth {

/// A random wiring with a target, drawn from a seed: skew 0 to 3 samples on each pin, jitter 0 to 0.4 samples rms,
/// falling edges late by up to a sample, data changing midway between clock edges or at them, 1, 2 or 4 data pins,
/// 1 to 6 rates from 8 to 130 MHz. The same on every system.
bench::Scenario drawScenario(std::uint64_t seed, bench::ExportKind kind);

/// The EMU pins of the scenario's target as a setting: the clock, then one for each data pin.
std::string pinMapOf(const bench::Scenario& scenario);

/// The scenario as a file for the bench's server, with all digits.
std::string scenarioText(const bench::Scenario& scenario);

} // namespace truth
