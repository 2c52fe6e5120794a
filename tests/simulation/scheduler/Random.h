#pragma once

#include <cmath>
#include <cstdint>

namespace simulation {

/// The only source of chance: equal seeds give equal schedules on every system.
class Random {
public:
    explicit Random(std::uint64_t seed) : state(seed) {}

    std::uint64_t next() {
        state += 0x9E3779B97F4A7C15U;
        std::uint64_t mixed = state;
        mixed = (mixed ^ mixed >> 30U) * 0xBF58476D1CE4E5B9U;
        mixed = (mixed ^ mixed >> 27U) * 0x94D049BB133111EBU;
        return mixed ^ mixed >> 31U;
    }

    /// Uniform from 0 to count - 1.
    std::uint64_t below(std::uint64_t count) { return next() % count; }

    /// Uniform from 0 to 1, without 1.
    double fraction() { return static_cast<double>(next() >> 11U) * 0x1p-53; }

    bool chance(double probability) { return fraction() < probability; }

    /// Between two positive bounds, every order of magnitude as likely as another.
    double logUniform(double low, double high) { return low * std::pow(high / low, fraction()); }

private:
    std::uint64_t state;
};

} // namespace simulation
