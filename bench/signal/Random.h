#pragma once

#include <cstdint>

namespace bench {

/// Noise as a function of its position: a position always has the same value, so a waveform can be drawn from
/// any position and a run can be repeated.
std::uint64_t hashOf(std::uint64_t seed, std::uint64_t place);

/// The same for many places of one seed.
class Hash {
public:
    explicit Hash(std::uint64_t seed) : base(mix(seed + golden)) {}
    std::uint64_t operator()(std::uint64_t place) const { return mix(base ^ (place * golden + 1)); }

    static constexpr std::uint64_t golden = 0x9E3779B97F4A7C15ULL;
    static constexpr std::uint64_t mix(std::uint64_t value) {
        value = (value ^ (value >> 30)) * 0xBF58476D1CE4E5B9ULL;
        value = (value ^ (value >> 27)) * 0x94D049BB133111EBULL;
        return value ^ (value >> 31);
    }

private:
    std::uint64_t base;
};

/// Uniform in [0, 1).
double uniformOf(std::uint64_t seed, std::uint64_t place);

/// Normal, mean 0, standard deviation 1.
double gaussOf(std::uint64_t seed, std::uint64_t place);

/// A small generator for values that are drawn in order.
class RandomSequence {
public:
    explicit RandomSequence(std::uint64_t seed) : state(seed) {}
    std::uint64_t next();
    double uniform(); ///< in [0, 1)

private:
    std::uint64_t state;
};

/// Trials that succeed with one probability, above 0.
class Trials {
public:
    explicit Trials(double probability);

    /// Number of failures before the next success; a very large number when no recording is long enough for a success.
    std::uint64_t failuresBeforeSuccess(RandomSequence& random) const;

private:
    double failing; ///< the chance of a failure
    double logarithm;
};

} // namespace bench
