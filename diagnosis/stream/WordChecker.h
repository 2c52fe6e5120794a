#pragma once

#include "diagnosis/stream/ExpectedStream.h"
#include "diagnosis/stream/LaneTally.h"
#include "diagnosis/stream/WordWindow.h"

#include <array>
#include <cstdint>
#include <span>
#include <vector>

namespace diagnosis {

/// Words of the beginning from which the distance of sequences is learned.
inline constexpr std::size_t learnedWords = std::size_t{1} << 18;

/// The received lane that shows each lane of the sent word.
using LaneOrder = std::array<std::uint8_t, 4>;
inline constexpr LaneOrder straightLanes{0, 1, 2, 3};

/// The word with its lanes in their own places.
std::uint16_t reordered(std::uint16_t word, const LaneOrder& order, unsigned lanes);

/// Adds a damage, in the order of the stream; the first few are kept.
void addDamage(StreamCheck& check, const Damage& damage);

/// Compares a stream, word by word, with what it should hold. Where words are lost or inserted, or lanes change places,
/// it follows the stream from there.
class WordChecker {
public:
    WordChecker(WordWindow& words, const ExpectedStream& stream, StreamCheck& result);

    void run();
    const LaneTally& lanes() const { return tally; }
    /// Byte of a lane's first wrong bit; of the first one at all when the number of lanes is unknown.
    std::uint64_t firstByteOf(unsigned lane) const { return firstBytes[lane]; }

private:
    /// How many of the words that follow fit.
    struct Fit {
        std::size_t judged = 0, good = 0;
        double share() const { return judged == 0 ? 0.0 : static_cast<double>(good) / static_cast<double>(judged); }
        bool holds() const { return judged != 0 && 10 * good >= 9 * judged; }
    };
    using Words = std::span<const std::uint16_t>;

    void start();
    std::uint64_t startOfFrames(std::size_t counted);
    void choosePhase(Words words);
    std::size_t takePattern(Words words);
    std::size_t takeSound(Words words);
    bool takeSequence(Words words);
    std::size_t takeUnknown(Words words);
    bool scan(Words words);
    bool needsResolving(std::uint16_t word, const ExpectedWord& here) const;
    void resolve();
    void advance(const ExpectedWord& here);
    void takeWrong(std::uint16_t word, std::uint16_t wrong, const ExpectedWord& here);
    void countJudged(const ExpectedWord& here, bool sound);
    void countLooseMarks(std::uint16_t word);
    void takeFaults(std::uint64_t until);

    bool skipSequence();
    bool explain(const ExpectedWord& here);
    bool isPadding();
    bool confined(std::uint16_t wrong, int mostBits) const;
    bool frameExplained(const ExpectedWord& here);
    bool skipDamagedHalves();
    void noteHalf(std::uint16_t word);
    std::uint16_t wrongOfHalf(std::uint16_t word) const;
    void takeHalf(std::uint64_t byte, std::uint64_t place, std::uint16_t wrong);
    void countLooseFrames(std::uint16_t word);
    bool realignBySequence();
    bool realignTo(std::uint64_t mark, const Cursor& atMark, std::uint64_t step);
    bool realignByPattern();
    bool reorderLanes();
    void lose(std::uint64_t words);
    void skip(std::uint64_t words);
    void wordsDamaged(DamageKind kind, std::uint64_t amount);
    bool sequencesHold();
    Fit fitFrom(std::uint64_t from, Cursor at, const LaneOrder& lanesAs, std::size_t most);
    Fit fitOfFurther(const LaneOrder& lanesAs);
    std::uint16_t seen(std::uint16_t word) const;
    std::size_t farthest() const;
    std::vector<std::uint16_t> wordsAhead();

    WordWindow& window;
    const ExpectedStream& expected;
    StreamCheck& check;
    LaneTally tally;
    std::array<std::uint64_t, 16> firstBytes{};
    LaneOrder order = straightLanes;
    bool straight = true; ///< whether that is the order; asked at every word
    std::uint64_t position = 0;
    Cursor cursor;
    ExpectedWord before;
    std::uint16_t last = 0; ///< received before the position
    std::uint64_t nextAnalysis = 0;
    std::uint64_t backoff = 0;
    bool sequenceSound = true;
    bool ended = false;
    std::uint64_t cutUntil = 0; ///< a packet of the wrong length explains what is wrong until here
    std::size_t zeroRun = 0;    ///< where sequences are irregular
    /// Words that may be half-word synchronisations with wrong bits, since the last sequence.
    struct DoubtfulHalf {
        std::uint64_t place, byte;
        std::uint16_t wrong;
    };
    std::vector<DoubtfulHalf> doubtful;
    std::size_t halvesToSkip = 0;
    std::uint64_t sinceFrame = 0; ///< words since a full synchronisation, where they are irregular
};

} // namespace diagnosis
