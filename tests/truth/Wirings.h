#pragma once

#include "bench/scenarios/Scenario.h"

#include <cstdint>
#include <optional>
#include <string>

namespace truth {

/// Whether an edge comes at the same time whatever the lines carry, or depends on it as on a real board: then by how many
/// samples at most, by memory at 100 MHz and by coupling for each neighbour.
struct Board {
    std::optional<double> mostShift;
    bool unkind() const { return mostShift.has_value(); }
};
inline constexpr Board kindBoard{};
inline constexpr Board unkindBoard{0.6};

/// A random wiring with a target, drawn from a seed: skew 0 to 3 samples on each pin, jitter 0 to 0.4 samples rms,
/// falling edges late by up to a sample, data changing midway between clock edges or at them, 1, 2 or 4 data pins,
/// 1 to 6 rates from 8 to 130 MHz. The same on every system.
///
/// An unkind board has the kind one's wiring, and on each pin coupling of 0 to `mostShift`, and memory by which an edge
/// after a long run is 0 to `mostShift` late at 100 MHz. For 0.6 samples the longest time constant is 3.9.
bench::Scenario drawScenario(std::uint64_t seed, bench::ExportKind kind, const Board& board = kindBoard);

/// The time constant of a line on which an edge after a long run is that late, relative to one that always toggles.
double memoryOfLateness(double lateness, double halfPeriod);

/// The EMU pins of the scenario's target as a setting: the clock, then one for each data pin.
std::string pinMapOf(const bench::Scenario& scenario);

/// The scenario as a file for the bench's server, with all digits.
std::string scenarioText(const bench::Scenario& scenario);

} // namespace truth
