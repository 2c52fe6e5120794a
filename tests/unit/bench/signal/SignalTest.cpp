#include "bench/signal/Content.h"
#include "bench/signal/Random.h"
#include "bench/signal/WordStream.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cmath>

namespace bench {
namespace {

using testing::ElementsAre;

std::vector<std::uint16_t> words(const Content& content, std::uint64_t first, std::size_t count) {
    std::vector<std::uint16_t> out(count);
    content.fill(first, out);
    return out;
}

std::vector<std::uint16_t> words(const WordStream& stream, std::uint64_t first, std::size_t count) {
    std::vector<std::uint16_t> out(count);
    stream.fill(first, out);
    return out;
}

TEST(Patterns, AreDefinedForOneTwoAndFourPins) {
    const auto start = [](PatternName name, unsigned pins) { return words(*makePattern(name, pins), 0, 6); };
    EXPECT_THAT(start(PatternName::F0, 1), testing::Each(0x5555));
    EXPECT_THAT(start(PatternName::F0, 2), testing::Each(0x3333));
    EXPECT_THAT(start(PatternName::F0, 4), testing::Each(0x0F0F));
    EXPECT_THAT(start(PatternName::A5, 1), testing::Each(0x5555));
    EXPECT_THAT(start(PatternName::A5, 2), testing::Each(0x6666));
    EXPECT_THAT(start(PatternName::A5, 4), testing::Each(0x5A5A));
    EXPECT_THAT(start(PatternName::Ramp, 1), testing::Each(0x5555));
    EXPECT_THAT(start(PatternName::Ramp, 2), testing::Each(0x1B1B));
    EXPECT_THAT(start(PatternName::Ramp, 4), ElementsAre(0x0123, 0x4567, 0x89AB, 0xCDEF, 0x0123, 0x4567));
    EXPECT_THAT(start(PatternName::Ramp1, 1), testing::Each(0xAAAA));
    EXPECT_THAT(start(PatternName::Ramp1, 2), testing::Each(0x6C6C));
    EXPECT_THAT(start(PatternName::Ramp1, 4), ElementsAre(0x1234, 0x5678, 0x9ABC, 0xDEF0, 0x1234, 0x5678));
    EXPECT_THAT(start(PatternName::Walk, 1), testing::Each(0x5555));
    EXPECT_THAT(start(PatternName::Walk, 2), ElementsAre(0x1861, 0x8618, 0x6186, 0x1861, 0x8618, 0x6186));
    EXPECT_THAT(start(PatternName::Walk, 4), ElementsAre(0x0124, 0x8012, 0x4801, 0x2480, 0x1248, 0x0124));
}

TEST(Patterns, TheShiftRegisterRepeatsAfterAllItsStates) {
    const ContentPointer lfsr = makePattern(PatternName::Lfsr, 4);
    EXPECT_EQ(lfsr->at(0), 0xFFFF);
    EXPECT_EQ(lfsr->at(65535), 0xFFFF);
    std::vector<bool> seen(65536);
    for (const std::uint16_t word : words(*lfsr, 0, 65535)) {
        ASSERT_FALSE(seen[word]);
        seen[word] = true;
    }
    EXPECT_FALSE(seen[0]);
}

TEST(Patterns, HaveNamesAndOtherNamesAreRejected) {
    EXPECT_EQ(patternFromName("ramp"), PatternName::Ramp);
    EXPECT_EQ(patternFromName("none"), std::nullopt);
    EXPECT_EQ(patternText(PatternName::Walk), "walk");
}

TEST(Playback, BytesAreLittleEndianWordsBetweenIdleWords) {
    const ContentPointer content = makePlayback({0x34, 0x12, 0x78, 0x56, 0x9A}, 0x7FFF, 2);
    EXPECT_THAT(words(*content, 0, 7), ElementsAre(0x7FFF, 0x7FFF, 0x1234, 0x5678, 0x009A, 0x7FFF, 0x7FFF));
    EXPECT_EQ(content->at(1000000), 0x7FFF);
}

TEST(GeneratedTrace, NumbersItsMessagesAndAvoidsTheWordsOfASequence) {
    const ContentPointer content = makeGeneratedTrace(1);
    const auto some = words(*content, 0, 80000);
    for (std::size_t index = 0; index < some.size(); ++index) {
        ASSERT_NE(some[index], 0);
        ASSERT_NE(some[index], syncMark);
        if (index % 8 == 0) {
            ASSERT_EQ(some[index], 0xA5F0);
        }
    }
    EXPECT_EQ(some[8 * 7 + 1], 7);
    EXPECT_EQ(words(*content, 4000, 100), std::vector<std::uint16_t>(some.begin() + 4000, some.begin() + 4100));
}

TEST(WordStream, BeginsWithASequenceAndContinuesAfterEachWhereItStopped) {
    const WordStream stream(makePattern(PatternName::Ramp, 4), 6);
    EXPECT_THAT(words(stream, 0, 7), ElementsAre(0, 0, 0, 0, 0, 0x0FF0, syncSequence[6]));
    EXPECT_THAT(words(stream, 7, 6), ElementsAre(0x0123, 0x4567, 0x89AB, 0xCDEF, 0x0123, 0x4567));
    EXPECT_THAT(words(stream, 13, 9), ElementsAre(0, 0, 0, 0, 0, 0x0FF0, syncSequence[6], 0x89AB, 0xCDEF));
    EXPECT_NE(syncSequence[6], 0);
    EXPECT_NE(syncSequence[6], syncMark);
}

TEST(WordStream, ReadsTheSameFromAnyPosition) {
    const WordStream stream(makeGeneratedTrace(3), 64);
    const auto all = words(stream, 0, 1000);
    for (std::size_t first = 0; first < 300; ++first) {
        ASSERT_EQ(words(stream, first, 100),
                  std::vector<std::uint16_t>(all.begin() + static_cast<std::ptrdiff_t>(first),
                                             all.begin() + static_cast<std::ptrdiff_t>(first) + 100));
    }
}

TEST(WordStream, KnowsThePositionsOfSequences) {
    const WordStream stream(makePattern(PatternName::F0, 4), 64);
    EXPECT_EQ(stream.nextSequence(0), 0U);
    EXPECT_EQ(stream.nextSequence(1), 71U);
    EXPECT_EQ(stream.nextSequence(71), 71U);
    EXPECT_EQ(stream.positionInSequence(6), 6U);
    EXPECT_EQ(stream.positionInSequence(7), std::nullopt);
    EXPECT_EQ(stream.positionInSequence(73), 2U);
}

TEST(WordStream, WithoutFramingHasOnlyTheContent) {
    const WordStream stream(makePattern(PatternName::Ramp, 4), 0);
    EXPECT_THAT(words(stream, 0, 4), ElementsAre(0x0123, 0x4567, 0x89AB, 0xCDEF));
    EXPECT_EQ(stream.nextSequence(5), 5U);
    EXPECT_EQ(stream.positionInSequence(0), std::nullopt);
}

TEST(LineBit, TheFirstLineCarriesTheTopBitOfEachGroupMostSignificantFirst) {
    const WordStream stream(makePlayback({0x2D, 0xA1}, 0, 0), 0); // 0xA12D
    const auto group = [&](unsigned pins, std::uint64_t slot) {
        unsigned value = 0;
        for (unsigned line = 0; line < pins; ++line) {
            value = value * 2 + (lineBit(stream, pins, slot, line) ? 1U : 0U);
        }
        return value;
    };
    EXPECT_EQ(group(4, 0), 0xAU);
    EXPECT_EQ(group(4, 1), 0x1U);
    EXPECT_EQ(group(4, 3), 0xDU);
    EXPECT_EQ(group(2, 0), 2U);
    EXPECT_EQ(group(2, 7), 1U);
    EXPECT_EQ(group(1, 15), 1U);
    EXPECT_EQ(group(3, 1), 0U); // bits 101 000 010 010 110 1
    EXPECT_EQ(group(3, 4), 6U);
}

TEST(Random, GaussianNoiseHasMeanZeroAndSpreadOne) {
    double sum = 0.0;
    double squares = 0.0;
    constexpr int count = 100000;
    for (int place = 0; place < count; ++place) {
        const double value = gaussOf(5, static_cast<std::uint64_t>(place));
        sum += value;
        squares += value * value;
    }
    EXPECT_NEAR(sum / count, 0.0, 0.02);
    EXPECT_NEAR(std::sqrt(squares / count), 1.0, 0.02);
    EXPECT_EQ(gaussOf(5, 77), gaussOf(5, 77));
    EXPECT_NE(gaussOf(5, 77), gaussOf(6, 77));
}

TEST(Random, FailuresBeforeSuccessHaveTheirMean) {
    RandomSequence random(9);
    double sum = 0.0;
    constexpr int count = 20000;
    for (int index = 0; index < count; ++index) {
        sum += static_cast<double>(Trials(0.01).failuresBeforeSuccess(random));
    }
    EXPECT_NEAR(sum / count, 99.0, 4.0);
    EXPECT_EQ(Trials(1.0).failuresBeforeSuccess(random), 0U);
    EXPECT_GT(Trials(1e-15).failuresBeforeSuccess(random), 1000000U);
}

TEST(Random, FewFailuresAreThoseOfTheLogarithm) {
    for (const double probability : {0.0009, 0.05, 0.3, 0.5, 0.75, 0.999}) {
        const Trials trials(probability);
        RandomSequence random(11);
        RandomSequence same(11);
        for (int index = 0; index < 20000; ++index) {
            const double failures = std::floor(std::log(1.0 - same.uniform()) / std::log1p(-probability));
            ASSERT_EQ(trials.failuresBeforeSuccess(random), static_cast<std::uint64_t>(failures)) << probability;
        }
    }
}

} // namespace
} // namespace bench
