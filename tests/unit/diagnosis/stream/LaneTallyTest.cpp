#include "diagnosis/files/Patterns.h"
#include "diagnosis/stream/LaneTally.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <string>
#include <vector>

// Runs of sound words against the same words one by one.

namespace diagnosis {
namespace {

/// A pattern that repeats, with a tally that has seen wrong bits.
class Following {
public:
    explicit Following(const Pattern& followed, unsigned lanes) : pattern(followed), tally(lanes) {
        tally.expect(pattern.words);
    }

    ExpectedWord wordAt(std::size_t at) const {
        ExpectedWord word;
        word.value = pattern.words[at % pattern.words.size()];
        word.mask = 0xFFFF;
        return word;
    }
    void takeOne(std::uint16_t wrong) {
        tally.take(place, wrong, wordAt(place + pattern.words.size() - 1), wordAt(place), wordAt(place + 1));
        tally.follow(static_cast<std::uint16_t>(wordAt(place).value ^ wrong));
        ++place;
    }
    bool takeRun(std::size_t count) {
        std::vector<std::uint16_t> words;
        for (std::size_t i = 0; i < count; ++i) {
            words.push_back(wordAt(place + i).value);
        }
        const bool taken = tally.takeRun(place % pattern.words.size(), words);
        place += taken ? count : 0;
        return taken;
    }

    Pattern pattern;
    LaneTally tally;
    std::size_t place = 0;
};

void expectEqual(const LaneTally& run, const LaneTally& single) {
    for (unsigned lane = 0; lane < run.count(); ++lane) {
        const LaneFigures& one = run.of(lane);
        const LaneFigures& other = single.of(lane);
        EXPECT_EQ(one.wrongBits, other.wrongBits) << lane;
        EXPECT_EQ(one.known, other.known) << lane;
        EXPECT_EQ(one.bits, other.bits) << lane;
        EXPECT_EQ(one.unlikePreceding, other.unlikePreceding) << lane;
        EXPECT_EQ(one.unlikeNext, other.unlikeNext) << lane;
        EXPECT_EQ(one.wordsSince, other.wordsSince) << lane;
        EXPECT_EQ(one.ones, other.ones) << lane;
        EXPECT_EQ(one.zeros, other.zeros) << lane;
    }
}

constexpr std::array<std::uint16_t, 4> wrongBits{0x8000, 0, 0x0040, 0x0001};

TEST(LaneTally, ARunOfSoundWordsCountsAsItsWordsDo) {
    for (const unsigned lanes : {1U, 2U, 4U}) {
        for (const Pattern& pattern : patternsFor(lanes)) {
            for (std::size_t count = 1; count < 14; ++count) {
                SCOPED_TRACE(std::to_string(lanes) + " lanes, " + std::string(pattern.name) + ", " +
                             std::to_string(count) + " words");
                Following run(pattern, lanes);
                Following single(pattern, lanes);
                for (const std::uint16_t wrong : wrongBits) {
                    run.takeOne(wrong);
                    single.takeOne(wrong);
                    ASSERT_TRUE(run.takeRun(count));
                    for (std::size_t i = 0; i < count; ++i) {
                        single.takeOne(0);
                    }
                }
                expectEqual(run.tally, single.tally);
            }
        }
    }
}

TEST(LaneTally, ARunInWhichALaneIsDecidedIsLeftToItsWords) {
    Following run(patternsFor(4).front(), 4);
    for (int i = 0; i < 64; ++i) {
        run.takeOne(0xFFFF);
    }
    const std::size_t wordsOfKind = 65536;
    ASSERT_TRUE(run.takeRun(wordsOfKind - run.tally.of(0).wordsSince));
    const LaneFigures before = run.tally.of(0);
    EXPECT_FALSE(run.takeRun(2));
    EXPECT_EQ(run.tally.of(0).bits, before.bits);
    EXPECT_EQ(run.tally.of(0).wordsSince, before.wordsSince);
    run.takeOne(0);
    EXPECT_GT(run.tally.of(0).bits, before.bits) << "the last word that counts";
    const LaneFigures decided = run.tally.of(0);
    EXPECT_TRUE(run.takeRun(2));
    EXPECT_EQ(run.tally.of(0).bits, decided.bits);
    EXPECT_EQ(run.tally.of(0).wordsSince, decided.wordsSince + 2);
}

} // namespace
} // namespace diagnosis
