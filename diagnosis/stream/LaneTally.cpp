#include "diagnosis/stream/LaneTally.h"

#include <cmath>

namespace diagnosis {

namespace {

constexpr std::uint64_t fewestOfDrift = 4;  ///< wrong bits
constexpr double shareOfDrift = 0.97;       ///< of them that show the neighbour's bit
constexpr double chanceOfNoise = 7.0;       ///< natural logarithm: noise looks so in one case of a thousand
constexpr std::uint64_t fewestOfStuck = 16; ///< words
/// Words. Wrong ones at equal distances of so many, farther than any pattern's period, are a cell of the unit's memory.
constexpr std::uint64_t fewestOfMemory = 256;
constexpr std::uint64_t clearer = 3; ///< times as many bits of one neighbour as of the other
/// Words after the first damage that decide its kind, and more until there are so many wrong bits with a known neighbour:
/// a drift begins with single ones, far apart, which look like noise.
constexpr std::uint64_t wordsOfKind = std::uint64_t{1} << 16;
constexpr std::uint64_t enoughOfKind = 64;

/// Of sixteen bits. std::popcount calls a library's function where the processor may lack the instruction.
std::uint64_t countOf(unsigned bits) {
    bits -= bits >> 1 & 0x5555U;
    bits = (bits & 0x3333U) + (bits >> 2 & 0x3333U);
    bits = (bits + (bits >> 4)) & 0x0F0FU;
    return (bits + (bits >> 8)) & 0x1FU;
}

/// How unlikely noise puts so many of its wrong bits where they show a neighbour's bit. Negative: they do not.
double againstNoise(std::uint64_t like, std::uint64_t known, std::uint64_t unlike, std::uint64_t bits) {
    if (known < fewestOfDrift || static_cast<double>(like) < shareOfDrift * static_cast<double>(known)) {
        return -1.0;
    }
    return -static_cast<double>(like) * std::log(static_cast<double>(unlike) / static_cast<double>(bits));
}

} // namespace

DamageKind LaneFigures::kind(std::uint16_t mask) const {
    if (wordsSince >= fewestOfStuck && wrongBits >= fewestOfDrift) {
        if ((zeros & mask) == 0) {
            return DamageKind::StuckAt1;
        }
        if ((ones & mask) == 0) {
            return DamageKind::StuckAt0;
        }
    }
    if (equalDistances && distance >= fewestOfMemory) {
        return DamageKind::Noise;
    }
    const double late = againstNoise(likePreceding, known, unlikePreceding, bits);
    const double early = againstNoise(likeNext, known, unlikeNext, bits);
    // On a lane whose bits alternate only the sequences tell one neighbour from the other.
    if (late >= chanceOfNoise && onlyPreceding > clearer * onlyNext) {
        return DamageKind::DriftLate;
    }
    return early >= chanceOfNoise && onlyNext > clearer * onlyPreceding ? DamageKind::DriftEarly : DamageKind::Noise;
}

void LaneFigures::addWrongWord(std::uint64_t place) {
    if (wrongBits == 0) {
        firstWord = place;
    } else if (distance == 0) {
        distance = place - lastWrongWord;
    } else {
        equalDistances = equalDistances && place - lastWrongWord == distance;
    }
    lastWrongWord = place;
}

LaneTally::LaneTally(unsigned laneCount) : lanes(laneCount) {
    for (unsigned lane = 0; lane < lanes; ++lane) {
        masks[lane] = laneBits(lanes, lane);
    }
}

void LaneTally::take(std::uint64_t place, std::uint16_t wrong, const ExpectedWord& before, const ExpectedWord& here,
                     const ExpectedWord& after) {
    if (lanes == 0) {
        return;
    }
    damaged = damaged || wrong != 0;
    // The word as it would be with every lane a slot late, and a slot early; the masks likewise.
    const auto later = [&](std::uint16_t previous, std::uint16_t own) {
        return ((static_cast<unsigned>(previous) << 16 | own) >> lanes) & 0xFFFFU;
    };
    const auto earlier = [&](std::uint16_t own, std::uint16_t next) {
        return ((static_cast<unsigned>(own) << 16 | next) >> (16 - lanes)) & 0xFFFFU;
    };
    const unsigned knownPreceding = later(before.mask, here.mask);
    const unsigned knownNext = earlier(here.mask, after.mask);
    // A neighbour that is not known may differ; one that is known and equal cannot explain a wrong bit.
    const unsigned known = here.mask & (knownPreceding | knownNext);
    const unsigned unlikePreceding = ((here.value ^ later(before.value, here.value)) | ~knownPreceding) & known;
    const unsigned unlikeNext = ((here.value ^ earlier(here.value, after.value)) | ~knownNext) & known;
    for (unsigned lane = 0; lane < lanes; ++lane) {
        const unsigned ofLane = masks[lane];
        const unsigned bad = wrong & ofLane;
        LaneFigures& own = figures[lane];
        if (bad != 0) {
            own.addWrongWord(place);
            own.wrongBits += countOf(bad);
        }
        if (own.wrongBits == 0 || (own.wordsSince > wordsOfKind && own.known >= enoughOfKind)) {
            continue;
        }
        if (bad != 0) {
            own.known += countOf(bad & known);
            own.likePreceding += countOf(bad & unlikePreceding);
            own.likeNext += countOf(bad & unlikeNext);
            own.onlyPreceding += countOf(bad & unlikePreceding & ~unlikeNext);
            own.onlyNext += countOf(bad & unlikeNext & ~unlikePreceding);
        }
        own.bits += countOf(ofLane & known);
        own.unlikePreceding += countOf(ofLane & unlikePreceding);
        own.unlikeNext += countOf(ofLane & unlikeNext);
    }
}

void LaneTally::follow(std::uint16_t word) {
    for (unsigned lane = 0; lane < lanes; ++lane) {
        LaneFigures& own = figures[lane];
        if (own.wrongBits != 0) {
            own.ones |= word;
            own.zeros |= static_cast<std::uint16_t>(~word);
            ++own.wordsSince;
        }
    }
}

} // namespace diagnosis
