#pragma once

#include "diagnosis/stream/ExpectedStream.h"
#include "diagnosis/stream/StreamCheck.h"

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace diagnosis {

/// The wrong bits of one lane.
struct LaneFigures {
    std::uint64_t wrongBits = 0;
    std::uint64_t known = 0;         ///< wrong bits with a known neighbour
    std::uint64_t likePreceding = 0; ///< of those, equal to the preceding slot's bit
    std::uint64_t likeNext = 0;      ///< equal to the next slot's
    std::uint64_t onlyPreceding = 0, onlyNext = 0;
    /// Bits since the first wrong one with a known neighbour, and of those the ones that may differ from a neighbour.
    std::uint64_t bits = 0, unlikePreceding = 0, unlikeNext = 0;
    std::uint64_t firstWord = 0;
    std::uint64_t lastWrongWord = 0;
    std::uint64_t distance = 0; ///< between the first two wrong words
    bool equalDistances = true; ///< so far are all others apart
    std::uint64_t wordsSince = 0;
    std::uint16_t ones = 0, zeros = 0; ///< levels seen since, by bit

    /// Noise, drift or stuck.
    DamageKind kind(std::uint16_t mask) const;
    void addWrongWord(std::uint64_t place);
};

/// Follows the wrong bits of a stream, lane by lane.
class LaneTally {
public:
    explicit LaneTally(unsigned laneCount);

    /// A word and its wrong bits: those that differ from the expected ones. Sound words count once there were wrong ones.
    void take(std::uint64_t place, std::uint16_t wrong, const ExpectedWord& before, const ExpectedWord& here,
              const ExpectedWord& after);
    /// Every word, once there were wrong bits.
    void follow(std::uint16_t word);

    /// What repeats between sequences.
    void expect(std::span<const std::uint16_t> pattern);
    /// take() and follow() of sound words of the pattern from one of its words on, with others of it before and after
    /// them. False, and nothing is taken, where only some of them would count.
    bool takeRun(std::size_t phase, std::span<const std::uint16_t> sound);
    bool any() const { return damaged; }

    unsigned count() const { return lanes; }
    std::uint16_t maskOf(unsigned lane) const { return masks[lane]; }
    const LaneFigures& of(unsigned lane) const { return figures[lane]; }
    DamageKind kindOf(unsigned lane) const { return figures[lane].kind(masks[lane]); }

private:
    /// The bits of a word that have a known neighbour, and that differ from it or may do so.
    struct Neighbours {
        unsigned known, unlikePreceding, unlikeNext;
    };
    Neighbours neighbours(const ExpectedWord& before, const ExpectedWord& here, const ExpectedWord& after) const;
    bool isDecided(const LaneFigures& lane, std::size_t wordsOn) const;
    void addSound(LaneFigures& lane, std::uint16_t mask, const Neighbours& word, std::uint64_t times) const;

    unsigned lanes;
    std::array<std::uint16_t, 16> masks{};
    bool damaged = false;
    std::vector<Neighbours> repeated; ///< of the pattern's words
    std::array<LaneFigures, 16> figures{};
};

} // namespace diagnosis
