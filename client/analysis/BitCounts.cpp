#include "client/analysis/BitCounts.h"

#include <algorithm>
#include <cmath>

namespace VX_QRS::ORV::CLIENT::analysis {

namespace {

constexpr std::uint32_t packedBits = 64;

/// 64 samples from a position on; `offset` is the position within the first word.
std::uint64_t window(const std::uint64_t* word, std::uint32_t offset) {
    return (word[0] >> offset) | ((word[1] << 1) << (packedBits - 1 - offset));
}

/// Ones per 16-bit lane.
std::uint64_t laneCounts(std::uint64_t x) {
    x -= (x >> 1) & 0x5555555555555555U;
    x = (x & 0x3333333333333333U) + ((x >> 2) & 0x3333333333333333U);
    x = (x + (x >> 4)) & 0x0F0F0F0F0F0F0F0FU;
    return (x + (x >> 8)) & 0x00FF00FF00FF00FFU;
}

std::uint64_t sumOfLanes(std::uint64_t lanes) {
    return (lanes & 0xFFFF) + ((lanes >> 16) & 0xFFFF) + ((lanes >> 32) & 0xFFFF) + (lanes >> 48);
}

/// How many words may be added up before a lane, 16 per word, could overflow.
constexpr std::uint32_t wordsPerSum = 4000;

/// Ones of an interval of `count` samples that `wordAt(i)` gives in whole words. Sums go by lane, which compilers turn
/// into vector code; machines without a bit counting instruction are served as well.
template <typename WordAt>
std::uint64_t countStretch(std::uint32_t count, WordAt wordAt) {
    const std::uint32_t whole = count / packedBits;
    std::uint64_t ones = 0;
    for (std::uint32_t first = 0; first < whole; first += wordsPerSum) {
        const std::uint32_t last = std::min(whole, first + wordsPerSum);
        std::uint64_t lanes = 0;
        for (std::uint32_t i = first; i < last; ++i) {
            lanes += laneCounts(wordAt(i));
        }
        ones += sumOfLanes(lanes);
    }
    if (const std::uint32_t rest = count % packedBits; rest != 0) {
        const std::uint64_t mask = ~std::uint64_t{0} >> (packedBits - rest);
        ones += sumOfLanes(laneCounts(wordAt(whole) & mask));
    }
    return ones;
}

/// A run of i for which a position lies inside the storage.
struct Run {
    std::uint32_t first; ///< the first i
    std::uint32_t count;
};

/// The i below `count` with position + i inside 0 to length - 1. Since positions wrap there are two runs at most.
struct Runs {
    Run run[2];
};
Runs runsInside(std::uint32_t position, std::uint32_t count, std::uint32_t length) {
    Runs result{};
    if (position < length) {
        result.run[0] = {0, std::min(count, length - position)};
    }
    const std::uint32_t wrapsAt = 0U - position; // the i at which the position is 0 again
    if (position != 0 && wrapsAt < count) {
        result.run[1] = {wrapsAt, std::min(count - wrapsAt, length)};
    }
    return result;
}

} // namespace

PackedBits::PackedBits(Samples samples)
    : words(samples.size() * samplesPerWord / packedBits + 2),
      length(static_cast<std::uint32_t>(samples.size()) * samplesPerWord) {
    for (std::size_t i = 0; i < samples.size(); ++i) {
        words[i / 4] |= static_cast<std::uint64_t>(samples[i]) << (samplesPerWord * (i % 4));
    }
}

std::uint64_t PackedBits::countOnes(std::uint32_t position, std::uint32_t count) const {
    std::uint64_t ones = 0;
    for (const Run& run : runsInside(position, count, length).run) {
        const std::uint32_t from = position + run.first;
        if (run.count == 0) {
            continue;
        }
        const std::uint64_t* first = words.data() + from / packedBits;
        ones += countStretch(run.count, [&](std::uint32_t i) { return window(first + i, from % packedBits); });
    }
    return ones;
}

std::uint64_t PackedBits::countCommonOnes(std::uint32_t position, const PackedBits& other, std::uint32_t otherPosition,
                                          std::uint32_t count) const {
    std::uint64_t ones = 0;
    for (const Run& mine : runsInside(position, count, length).run) {
        const std::uint32_t shifted = otherPosition + mine.first;
        for (const Run& both : runsInside(shifted, mine.count, other.length).run) {
            if (both.count == 0) {
                continue;
            }
            const std::uint32_t a = position + mine.first + both.first;
            const std::uint32_t b = shifted + both.first;
            const std::uint64_t* firstA = words.data() + a / packedBits;
            const std::uint64_t* firstB = other.words.data() + b / packedBits;
            ones += countStretch(both.count, [&](std::uint32_t i) {
                return window(firstA + i, a % packedBits) & window(firstB + i, b % packedBits);
            });
        }
    }
    return ones;
}

double countOnes(Samples samples, std::uint32_t start, std::uint32_t count, std::int32_t lag) {
    return static_cast<double>(PackedBits(samples).countOnes(start + static_cast<std::uint32_t>(lag), count));
}

double countCommonOnes(Samples a, Samples b, std::uint32_t start, std::uint32_t count, std::int32_t lag) {
    return static_cast<double>(
        PackedBits(a).countCommonOnes(start, PackedBits(b), start + static_cast<std::uint32_t>(lag), count));
}

double correlationOfCounts(double n, double onesA, double onesB, double common) {
    return (n * common - onesA * onesB) / std::sqrt(n * onesA - onesA * onesA) / std::sqrt(n * onesB - onesB * onesB);
}

double correlateBits(Samples a, Samples b, std::uint32_t start, std::uint32_t count, std::int32_t lag) {
    const PackedBits packedA(a);
    const PackedBits packedB(b);
    const std::uint32_t shifted = start + static_cast<std::uint32_t>(lag);
    return correlationOfCounts(static_cast<double>(count), static_cast<double>(packedA.countOnes(start, count)),
                               static_cast<double>(packedB.countOnes(shifted, count)),
                               static_cast<double>(packedA.countCommonOnes(start, packedB, shifted, count)));
}

} // namespace VX_QRS::ORV::CLIENT::analysis
