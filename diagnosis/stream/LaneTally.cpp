#include "diagnosis/stream/LaneTally.h"

#include <algorithm>
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

LaneTally::Neighbours LaneTally::neighbours(const ExpectedWord& before, const ExpectedWord& here,
                                            const ExpectedWord& after) const {
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
    return {known, ((here.value ^ later(before.value, here.value)) | ~knownPreceding) & known,
            ((here.value ^ earlier(here.value, after.value)) | ~knownNext) & known};
}

/// Whether a lane has seen enough to decide its kind, so many words from here.
bool LaneTally::isDecided(const LaneFigures& lane, std::size_t wordsOn) const {
    return lane.wordsSince + wordsOn > wordsOfKind && lane.known >= enoughOfKind;
}

void LaneTally::addSound(LaneFigures& lane, std::uint16_t mask, const Neighbours& word, std::uint64_t times) const {
    lane.bits += times * countOf(mask & word.known);
    lane.unlikePreceding += times * countOf(mask & word.unlikePreceding);
    lane.unlikeNext += times * countOf(mask & word.unlikeNext);
}

void LaneTally::take(std::uint64_t place, std::uint16_t wrong, const ExpectedWord& before, const ExpectedWord& here,
                     const ExpectedWord& after) {
    if (lanes == 0) {
        return;
    }
    damaged = damaged || wrong != 0;
    const Neighbours word = neighbours(before, here, after);
    for (unsigned lane = 0; lane < lanes; ++lane) {
        const unsigned bad = wrong & masks[lane];
        LaneFigures& own = figures[lane];
        if (bad != 0) {
            own.addWrongWord(place);
            own.wrongBits += countOf(bad);
        }
        if (own.wrongBits == 0 || isDecided(own, 0)) {
            continue;
        }
        if (bad != 0) {
            own.known += countOf(bad & word.known);
            own.likePreceding += countOf(bad & word.unlikePreceding);
            own.likeNext += countOf(bad & word.unlikeNext);
            own.onlyPreceding += countOf(bad & word.unlikePreceding & ~word.unlikeNext);
            own.onlyNext += countOf(bad & word.unlikeNext & ~word.unlikePreceding);
        }
        addSound(own, masks[lane], word, 1);
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

void LaneTally::expect(std::span<const std::uint16_t> pattern) {
    const auto wordAt = [&](std::size_t at) {
        ExpectedWord word;
        word.value = pattern[at % pattern.size()];
        word.mask = 0xFFFF;
        return word;
    };
    for (std::size_t i = 0; i < pattern.size(); ++i) {
        repeated.push_back(neighbours(wordAt(i + pattern.size() - 1), wordAt(i), wordAt(i + 1)));
    }
}

bool LaneTally::takeRun(std::size_t phase, std::span<const std::uint16_t> sound) {
    const auto isSplit = [&](const LaneFigures& lane) {
        return lane.wrongBits != 0 && !isDecided(lane, 0) && isDecided(lane, sound.size());
    };
    if (repeated.empty() || std::any_of(figures.begin(), figures.begin() + lanes, isSplit)) {
        return false;
    }
    std::uint16_t ones = 0;
    std::uint16_t zeros = 0;
    for (const std::uint16_t word : sound) {
        ones |= word;
        zeros |= static_cast<std::uint16_t>(~word);
    }
    for (unsigned lane = 0; lane < lanes; ++lane) {
        LaneFigures& own = figures[lane];
        if (own.wrongBits == 0) {
            continue;
        }
        for (std::size_t i = 0; i < repeated.size() && !isDecided(own, 0); ++i) {
            const std::size_t times = (sound.size() + repeated.size() - 1 - i) / repeated.size();
            addSound(own, masks[lane], repeated[(phase + i) % repeated.size()], times);
        }
        own.ones |= ones;
        own.zeros |= zeros;
        own.wordsSince += sound.size();
    }
    return true;
}

} // namespace diagnosis
