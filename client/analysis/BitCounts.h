#pragma once

#include "client/analysis/Burst.h"

#include <cstdint>
#include <vector>

// Counting and correlating bit streams. Positions are 32-bit numbers that wrap, so that a negative lag works as long
// as the start is not less than its size; positions outside of the storage read as 0. All counts are whole numbers in
// doubles, hence exact.

namespace VX_QRS::ORV::CLIENT::analysis {

/// The samples at 1 in positions start + lag up to start + lag + count - 1.
double countOnes(Samples samples, std::uint32_t start, std::uint32_t count, std::int32_t lag);

/// The number of i below `count` with a[start + i] and b[start + lag + i] at 1.
double countCommonOnes(Samples a, Samples b, std::uint32_t start, std::uint32_t count, std::int32_t lag);

/// Pearson's correlation of a, from `start`, and b, from `start + lag`. Infinite or not a number for a stream that
/// never changes.
double correlateBits(Samples a, Samples b, std::uint32_t start, std::uint32_t count, std::int32_t lag);

/// The same formula on counts at hand: n samples, ones of a, ones of b, common ones.
double correlationOfCounts(double n, double onesA, double onesB, double common);

/// A stream repacked once for many counts: 64 samples to a word.
class PackedBits {
public:
    explicit PackedBits(Samples samples);

    std::uint64_t countOnes(std::uint32_t position, std::uint32_t count) const;
    /// The number of i below `count` with this stream at position + i and the other at otherPosition + i at 1.
    std::uint64_t countCommonOnes(std::uint32_t position, const PackedBits& other, std::uint32_t otherPosition,
                                  std::uint32_t count) const;

private:
    std::vector<std::uint64_t> words; // one zero word more than needed, so that a shifted window may reach over
    std::uint32_t length;
};

} // namespace VX_QRS::ORV::CLIENT::analysis
