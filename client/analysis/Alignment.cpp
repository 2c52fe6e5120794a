#include "client/analysis/Alignment.h"

#include "client/analysis/BitCounts.h"
#include "client/analysis/Conversions.h"

#include <algorithm>
#include <cmath>

namespace VX_QRS::ORV::CLIENT::analysis {

namespace {

constexpr std::int32_t maxDelay = 31;
constexpr std::int32_t maxStretch = 5;

std::uint32_t firstCorrelated(const Burst& burst) {
    return burst.bitSamples + burst.skip;
}

std::size_t lagIndex(std::int32_t lag) {
    return static_cast<std::size_t>(lag + maxLag);
}

} // namespace

std::uint32_t halfPeriod(double oversampling) {
    return integerPart(oversampling / 2 + 0.5);
}

void stretch(const Burst& burst, double onesRatio, Metrics& m) {
    const double expected = onesRatio / (1 - onesRatio);
    const std::uint32_t total = burst.length - halfPeriod(burst.oversampling) - burst.skip;
    const double periods = static_cast<double>(total) / burst.oversampling;
    for (std::uint32_t p = 0; p < usedPins(burst.numPins); ++p) {
        ProcMetrics& pin = m.proc[p];
        pin.ones = integerPart(countOnes(burst.pin[p], 0, burst.length, 0));
        pin.zeros = total - pin.ones;
        double excess = static_cast<double>(pin.zeros);
        if (p != 0) {
            excess *= expected;
        }
        excess = excess - static_cast<double>(pin.ones);
        excess = excess / periods;
        pin.stretch = std::clamp(roundAway(excess), -maxStretch, maxStretch);
    }
}

void alignDataWithClock(const Burst& burst, Metrics& m) {
    for (std::uint32_t p = 1; p < usedPins(burst.numPins); ++p) {
        m.proc[p].delay = halfDifference(m.proc[p].marginAfter, m.proc[p].marginBefore);
    }
}

void alignDataWithData(const Burst& burst, std::uint32_t referencePin, Metrics& m) {
    const std::uint32_t start = firstCorrelated(burst);
    const std::uint32_t count = burst.length - start;
    const std::uint32_t range = std::min<std::uint32_t>(burst.bitSamples, maxLag);
    const auto lags = static_cast<std::int32_t>(range);
    const PackedBits reference(burst.pin[referencePin]);
    const auto n = static_cast<double>(count);
    const auto onesOfReference = static_cast<double>(reference.countOnes(start, count));
    for (std::uint32_t p = 1; p < usedPins(burst.numPins); ++p) {
        const PackedBits pin(burst.pin[p]);
        ProcMetrics& found = m.proc[p];
        found.correlation.fill(0.0);
        for (std::int32_t lag = -lags; lag <= lags; ++lag) {
            const std::uint32_t shifted = start + static_cast<std::uint32_t>(lag);
            found.correlation[lagIndex(lag)] =
                correlationOfCounts(n, onesOfReference, static_cast<double>(pin.countOnes(shifted, count)),
                                    static_cast<double>(reference.countCommonOnes(start, pin, shifted, count)));
        }
    }
    for (std::uint32_t p = 1; p < usedPins(burst.numPins); ++p) {
        findPeakCorrelation(m.proc[p], m.proc[p].delay, range);
    }
}

void correlateAtZero(const Burst& burst, std::uint32_t referencePin, Metrics& m) {
    const std::uint32_t start = firstCorrelated(burst);
    const std::uint32_t count = burst.length - start;
    for (std::uint32_t p = 1; p < usedPins(burst.numPins); ++p) {
        m.proc[p].correlationAtZero = correlateBits(burst.pin[referencePin], burst.pin[p], start, count, 0);
    }
}

double findPeakCorrelation(const ProcMetrics& p, std::int32_t& delay, std::uint32_t range) {
    const auto lags = static_cast<std::int32_t>(std::min<std::uint32_t>(range, maxLag));
    delay = 0;
    double best = 0.0;
    for (std::int32_t lag = -lags; lag <= lags; ++lag) {
        const double amount = std::fabs(p.correlation[lagIndex(lag)]);
        if (amount > best) {
            delay = -lag;
            best = amount;
        }
    }
    return best;
}

void formatDelays(std::uint32_t numPins, Metrics& m) {
    const std::uint32_t used = usedPins(numPins);
    std::int64_t lowest = m.proc[0].delay;
    for (std::uint32_t p = 1; p < used; ++p) {
        lowest = std::min<std::int64_t>(lowest, m.proc[p].delay);
    }
    for (std::uint32_t p = 0; p < used; ++p) {
        const std::int64_t delay = m.proc[p].delay - lowest;
        m.proc[p].delay = static_cast<std::int32_t>(std::min<std::int64_t>(delay, maxDelay));
    }
}

} // namespace VX_QRS::ORV::CLIENT::analysis
