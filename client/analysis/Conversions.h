#pragma once

#include <cstdint>

// Doubles to whole numbers with a defined result for every double. A rate that was never measured is 0, and what
// is derived from it is infinite or not a number; none of that may end in a conversion without a meaning.

namespace VX_QRS::ORV::CLIENT::analysis {

/// The integer part, taken as a 64-bit signed number of which the low 32 bits are kept. What 64 bits cannot hold,
/// and what is not a number, keeps no bits: 0.
std::uint32_t integerPart(double value);

/// Half a step away from zero, then truncated. Clamped to 32 bits; 0 for what is not a number.
std::int32_t roundAway(double value);

/// Sum in 32 bits, wrapping.
constexpr std::int32_t wrappingSum(std::int32_t a, std::uint32_t b) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) + b);
}

/// Half of a difference of two unsigned distances; the difference is taken in 32 bits and read as signed.
std::int32_t halfDifference(std::uint32_t minuend, std::uint32_t subtrahend);

} // namespace VX_QRS::ORV::CLIENT::analysis
