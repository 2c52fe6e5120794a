#pragma once

#include <cstdint>

namespace bench {

// Noise that is a function of where it is drawn: the same place always gives the same value, so that a
// waveform can be drawn from any point on and a run can be repeated.
std::uint64_t hashOf(std::uint64_t seed, std::uint64_t place);

// Uniform in [0, 1).
double uniformOf(std::uint64_t seed, std::uint64_t place);

// Normal, mean 0, standard deviation 1.
double gaussOf(std::uint64_t seed, std::uint64_t place);

// A small sequence generator for what is drawn in order.
class RandomSequence {
public:
    explicit RandomSequence(std::uint64_t seed) : state(seed) {}
    std::uint64_t next();
    double uniform(); // in [0, 1)

    // How many failures come before the next success when each try succeeds with `probability` (above 0); a
    // very large number when the next success is out of reach.
    std::uint64_t failuresBeforeSuccess(double probability);

private:
    std::uint64_t state;
};

} // namespace bench
