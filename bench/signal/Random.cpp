#include "bench/signal/Random.h"

#include <cmath>
#include <numbers>

namespace bench {

namespace {

std::uint64_t mix(std::uint64_t value) {
    value = (value ^ (value >> 30)) * 0xBF58476D1CE4E5B9ULL;
    value = (value ^ (value >> 27)) * 0x94D049BB133111EBULL;
    return value ^ (value >> 31);
}

constexpr std::uint64_t golden = 0x9E3779B97F4A7C15ULL;

double unit(std::uint64_t value) {
    return static_cast<double>(value >> 11) * 0x1.0p-53;
}

} // namespace

std::uint64_t hashOf(std::uint64_t seed, std::uint64_t place) {
    return mix(mix(seed + golden) ^ (place * golden + 1));
}

double uniformOf(std::uint64_t seed, std::uint64_t place) {
    return unit(hashOf(seed, place));
}

double gaussOf(std::uint64_t seed, std::uint64_t place) {
    const std::uint64_t first = hashOf(seed, place);
    const double radius = std::sqrt(-2.0 * std::log(1.0 - unit(first)));
    return radius * std::cos(2.0 * std::numbers::pi * unit(mix(first + golden)));
}

std::uint64_t RandomSequence::next() {
    state += golden;
    return mix(state);
}

double RandomSequence::uniform() {
    return unit(next());
}

std::uint64_t RandomSequence::failuresBeforeSuccess(double probability) {
    if (probability >= 1.0) {
        return 0;
    }
    const double count = std::log(1.0 - uniform()) / std::log1p(-probability);
    constexpr double outOfReach = 1e18;
    return static_cast<std::uint64_t>(count < outOfReach ? count : outOfReach);
}

} // namespace bench
