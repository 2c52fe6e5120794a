#pragma once

#include "client/analysis/Cal.h"
#include "rcvr/framework/TraceLimits.h"

#include <cstdint>
#include <span>

// From clock counts to rates, from rates to what they mean for sampling, and what the unit can take.

namespace VX_QRS::ORV::CLIENT::analysis {

/// The clocks that the unit samples and counts with: reference in Hz, multiplier, divider.
struct UnitClock {
    double refFrequency;
    double multiplier;
    double divider;
};

/// What follows from the rate of the trace clock.
struct Rates {
    double exportFrequency;    ///< Hz
    double dataFrequency;      ///< Hz
    double dataRate;           ///< bits per second over all data pins
    double oversampling;       ///< samples in a clock period
    std::uint32_t bitSamples;  ///< whole samples in half a clock period
    double wordClockFrequency; ///< Hz
};
Rates ratesOf(double exportFrequency, const UnitClock& clock, std::uint32_t numPins, bool doubleDataRate);

/// The counter's window.
struct CounterWindow {
    std::uint32_t low; ///< register contents
    std::uint32_t high;
    std::uint32_t wait; ///< milliseconds until the count is complete
};
CounterWindow counterWindow(std::uint32_t cpi, const UnitClock& clock);

/// Hz. Infinite or not a number when `cpi` is 0.
double frequencyOfCount(std::uint32_t count, std::uint32_t cpi, const UnitClock& clock);

// Limits of the unit.
inline constexpr double lowestMeasured = 11.0;                                  ///< Hz, as a frequency
inline constexpr double highestCounted = 3.5e8;                                 ///< Hz
inline constexpr double highestRecorded = Vx::Qrs::Trace::limits::highestClock; ///< Hz
inline constexpr double highestDataRate =
    Vx::Qrs::Trace::limits::highestDataRate; ///< bits per second, over all data pins
inline constexpr double stableWithin = 0.5;  ///< percent of the mean, between two measurements
inline constexpr double lowestAnalysed =
    Vx::Qrs::Trace::limits::lowestAnalysedClock; ///< Hz; slower clocks are not analysed

/// Two successive measurements.
struct FrequencyPair {
    double first;
    double second;
    double mean() const { return (first + second) / 2; }
    /// Percent of the mean; 0 when that is 0.
    double difference() const;
    bool settled() const { return difference() <= stableWithin; }
};

enum class FrequencyVerdict { good, unstable, noClock, outOfRange };
FrequencyVerdict judge(const FrequencyPair& pair);

constexpr bool exceedsRecording(double exportFrequency, double dataRate) {
    return exportFrequency > highestRecorded || dataRate > highestDataRate;
}

/// The index of the fastest rate below the limit, or 0; the last one when the limit is 0.
std::uint32_t startSetting(std::span<const double> frequencies, double limit);

/// Sets the input conditioning for the samples of a clock period. With few samples the filter stays.
void applyConditioning(double oversampling, ProcCal& pin);

} // namespace VX_QRS::ORV::CLIENT::analysis
