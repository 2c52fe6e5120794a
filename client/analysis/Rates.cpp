#include "client/analysis/Rates.h"

#include "client/analysis/Conversions.h"

#include <array>
#include <cmath>

namespace VX_QRS::ORV::CLIENT::analysis {

namespace {

constexpr std::uint32_t settlingTime = 10; // ms; a count may trail its window by this much

/// One row of the conditioning table: from so many samples on.
struct Conditioning {
    double from;
    std::uint32_t filter; // notSet: unchanged
    std::uint32_t plateau;
    std::uint32_t debounce;
};
constexpr std::array<Conditioning, 9> conditioningTable{{
    {14.0, 7, 7, 8},
    {12.0, 3, 7, 8},
    {10.0, 1, 7, 8},
    {8.0, notSet, 7, 8},
    {7.0, notSet, 7, 7},
    {6.0, notSet, 5, 6},
    {5.0, notSet, 5, 5},
    {4.0, notSet, 3, 4},
    {3.0, notSet, 3, 3},
}};
constexpr Conditioning tightest{0.0, notSet, 3, 0};

const Conditioning& conditioningFor(double samples) {
    for (const Conditioning& row : conditioningTable) {
        if (samples >= row.from) {
            return row;
        }
    }
    return tightest;
}

} // namespace

Rates ratesOf(double exportFrequency, const UnitClock& clock, std::uint32_t numPins, bool doubleDataRate) {
    Rates rates{};
    rates.exportFrequency = exportFrequency;
    rates.dataFrequency = doubleDataRate ? 2 * exportFrequency : exportFrequency;
    rates.dataRate = rates.dataFrequency * static_cast<double>(numPins - 1);
    rates.oversampling = 4 * clock.multiplier * clock.refFrequency / clock.divider / exportFrequency;
    rates.bitSamples = integerPart(rates.oversampling / 2 + 0.5);
    rates.wordClockFrequency = clock.refFrequency * clock.multiplier / (4 * clock.divider);
    return rates;
}

CounterWindow counterWindow(std::uint32_t cpi, const UnitClock& clock) {
    const double counted = clock.refFrequency * clock.multiplier;
    const double seconds = 4 * clock.divider * static_cast<double>(cpi) / counted;
    return {cpi & 0xFFFF, (cpi >> 16) & 0xFF, integerPart(1000 * seconds) + settlingTime};
}

double frequencyOfCount(std::uint32_t count, std::uint32_t cpi, const UnitClock& clock) {
    const double counted = clock.refFrequency * clock.multiplier;
    return static_cast<double>(count) * counted / (8 * static_cast<double>(cpi) * clock.divider);
}

double FrequencyPair::difference() const {
    const double m = mean();
    return m != 0 ? 100 * std::fabs(first - second) / m : 0.0;
}

FrequencyVerdict judge(const FrequencyPair& pair) {
    const double m = pair.mean();
    if (pair.difference() > stableWithin) {
        return FrequencyVerdict::unstable;
    }
    if (m == 0) {
        return FrequencyVerdict::noClock;
    }
    if (m < lowestMeasured || m > highestCounted) {
        return FrequencyVerdict::outOfRange;
    }
    return FrequencyVerdict::good;
}

std::uint32_t startSetting(std::span<const double> frequencies, double limit) {
    if (frequencies.empty()) {
        return 0;
    }
    if (limit == 0.0) {
        return static_cast<std::uint32_t>(frequencies.size() - 1);
    }
    std::uint32_t below = 0;
    while (below < frequencies.size() && frequencies[below] < limit) {
        ++below;
    }
    return below != 0 ? below - 1 : 0;
}

void applyConditioning(double oversampling, ProcCal& pin) {
    constexpr double usable = 0.85; // 15 percent of the period are left for edges that move
    const Conditioning& row = conditioningFor(oversampling * usable);
    if (row.filter != notSet) {
        pin.filter = row.filter;
    }
    pin.plateau = row.plateau;
    pin.debounce = row.debounce;
}

} // namespace VX_QRS::ORV::CLIENT::analysis
