#include "bench/signal/Random.h"

#include <cmath>
#include <numbers>

namespace bench {

namespace {

double unit(std::uint64_t value) {
    return static_cast<double>(value >> 11) * 0x1.0p-53;
}

} // namespace

std::uint64_t hashOf(std::uint64_t seed, std::uint64_t place) {
    return Hash(seed)(place);
}

double uniformOf(std::uint64_t seed, std::uint64_t place) {
    return unit(hashOf(seed, place));
}

double gaussOf(std::uint64_t seed, std::uint64_t place) {
    const std::uint64_t first = hashOf(seed, place);
    const double radius = std::sqrt(-2.0 * std::log(1.0 - unit(first)));
    return radius * std::cos(2.0 * std::numbers::pi * unit(Hash::mix(first + Hash::golden)));
}

std::uint64_t RandomSequence::next() {
    state += Hash::golden;
    return Hash::mix(state);
}

double RandomSequence::uniform() {
    return unit(next());
}

Trials::Trials(double probability) : failing(1.0 - probability), logarithm(std::log1p(-probability)) {}

std::uint64_t Trials::failuresBeforeSuccess(RandomSequence& random) const {
    if (failing <= 0.0) {
        return 0;
    }
    const double drawn = 1.0 - random.uniform();
    // A few failures are found without a logarithm, unless its rounding decides.
    constexpr std::uint64_t fewFailures = 6;
    constexpr double rounding = 1e-12;
    double reached = 1.0;
    for (std::uint64_t failures = 0; failures < fewFailures; ++failures) {
        reached *= failing;
        if (drawn > reached * (1.0 + rounding)) {
            return failures;
        }
        if (drawn > reached * (1.0 - rounding)) {
            break;
        }
    }
    const double count = std::log(drawn) / logarithm;
    constexpr double outOfReach = 1e18;
    return static_cast<std::uint64_t>(count < outOfReach ? count : outOfReach);
}

} // namespace bench
