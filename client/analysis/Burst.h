#pragma once

#include "rcvr/framework/TraceLimits.h"

#include <array>
#include <cstdint>
#include <span>

// The input of an analysis: one burst of samples of all pins, and the clock that it was captured with.

namespace VX_QRS::ORV::CLIENT::analysis {

/// Samples of one pin, 16 to a word. Sample s is in word s / 16, bit s modulo 16, bit 0 being the earliest.
/// Samples past the end of the storage read as 0.
using Samples = std::span<const std::uint16_t>;

inline constexpr std::uint32_t samplesPerWord = Vx::Qrs::Trace::limits::burstWordSamples;
inline constexpr std::uint32_t maxPins = Vx::Qrs::Trace::limits::mostPins;

/// The number of pins that an analysis uses, whatever the settings ask for.
constexpr std::uint32_t usedPins(std::uint32_t numPins) {
    return numPins < maxPins ? numPins : maxPins;
}

struct Burst {
    std::array<Samples, maxPins> pin; ///< 0 is the trace clock
    std::uint32_t numPins = 0;        ///< with the clock, 8 at most
    std::uint32_t length = 0;         ///< samples per pin
    std::uint32_t skip = 0;           ///< samples at the start that are ignored
    double oversampling = 0.0;        ///< samples in a clock period
    std::uint32_t bitSamples = 0;     ///< whole samples in half a clock period
};

} // namespace VX_QRS::ORV::CLIENT::analysis
