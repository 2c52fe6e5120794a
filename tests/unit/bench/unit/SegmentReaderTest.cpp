#include "bench/unit/SegmentReader.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace bench {
namespace {

// Four data lines in order, without conditioning, on a stream that the test chooses.
Segment plainSegment(WordStream words, unsigned pins = 4) {
    Transmission sent;
    sent.dataPins = pins;
    sent.words = std::move(words);
    Segment segment;
    segment.transmission = std::make_shared<Transmission>(sent);
    segment.clock.line.source = LineSource::Clock;
    for (unsigned line = 0; line < pins; ++line) {
        ProcPath& path = segment.data.emplace_back();
        path.line.source = LineSource::Data;
        path.line.bit = line;
    }
    segment.seed = 11;
    return segment;
}

std::vector<std::uint16_t> readWords(const Segment& segment, std::size_t count, std::uint64_t skip = 0,
                                     std::size_t piece = 1000) {
    std::vector<std::uint16_t> out(count);
    const auto reader = readSegment(segment, skip);
    for (std::size_t done = 0; done < count; done += piece) {
        reader->fill(std::span(out).subspan(done, std::min(piece, count - done)));
    }
    return out;
}

std::vector<std::uint16_t> sentWords(const Segment& segment, std::size_t count, std::uint64_t first = 0) {
    std::vector<std::uint16_t> out(count);
    segment.transmission->words.fill(first, out);
    return out;
}

TEST(SegmentReader, AnUndisturbedSegmentIsAsSent) {
    const Segment segment = plainSegment({makePattern(PatternName::Lfsr, 4), 64});
    EXPECT_EQ(readWords(segment, 5000), sentWords(segment, 5000));
    EXPECT_EQ(readWords(segment, 500, 123), sentWords(segment, 500, 123));
}

TEST(SegmentReader, EveryLineIsSampledInItsOwnSlot) {
    Segment segment = plainSegment({makePattern(PatternName::Lfsr, 4), 0});
    segment.data[0].quality.slot = -1;
    segment.data[2].quality.slot = 1;
    segment.data[3].quality.slot = -5;
    const auto words = readWords(segment, 300, 10);
    const Transmission& sent = *segment.transmission;
    for (std::uint64_t slot = 0; slot < 1200; ++slot) {
        for (unsigned line = 0; line < 4; ++line) {
            const auto from = static_cast<std::int64_t>(slot + 40) + segment.data[line].quality.slot;
            const bool expected = lineBit(sent.words, 4, static_cast<std::uint64_t>(from), line);
            const bool found = ((words[slot / 4] >> (15 - (slot % 4 * 4 + line))) & 1) != 0;
            ASSERT_EQ(found, expected) << slot << ' ' << line;
        }
    }
}

TEST(SegmentReader, WidthsThatDoNotDivideAWordContinueInTheNext) {
    for (const unsigned pins : {1U, 2U, 3U, 5U, 7U}) {
        Segment segment = plainSegment({makePattern(PatternName::Lfsr, 4), 0}, pins);
        EXPECT_EQ(readWords(segment, 100), sentWords(segment, 100));
        // A constant line makes the reader use its masks.
        segment.data[0].line.source = LineSource::Constant;
        segment.data[0].line.level = true;
        const auto words = readWords(segment, 100);
        auto expected = sentWords(segment, 100);
        for (std::size_t bit = 0; bit < 1600; bit += pins) {
            expected[bit / 16] = static_cast<std::uint16_t>(expected[bit / 16] | (0x8000U >> (bit % 16)));
        }
        EXPECT_EQ(words, expected) << pins;
    }
}

TEST(SegmentReader, FaultsHaveTheirRateAndAreTheNeighboursBits) {
    Segment segment = plainSegment({makePattern(PatternName::Lfsr, 4), 0});
    segment.data[1].quality.early = 0.01;
    constexpr std::size_t count = 50000;
    const auto words = readWords(segment, count);
    const auto clean = sentWords(segment, count);
    const Transmission& sent = *segment.transmission;
    int wrong = 0;
    for (std::size_t index = 0; index < count; ++index) {
        const unsigned difference = words[index] ^ clean[index];
        ASSERT_EQ(difference & ~0x4444U, 0U) << "only line 1 is late";
        for (unsigned group = 0; group < 4; ++group) {
            if ((difference & (0x4000U >> (4 * group))) != 0) {
                ++wrong;
                const std::uint64_t slot = index * 4 + group;
                ASSERT_NE(slot, 0U);
                ASSERT_NE(lineBit(sent.words, 4, slot - 1, 1), lineBit(sent.words, 4, slot, 1));
            }
        }
    }
    // Half of the 200,000 bits differ from the one before.
    EXPECT_NEAR(wrong, 1000, 150);
    EXPECT_EQ(words, readWords(segment, count, 0, 77)) << "the pieces in which it is read make no difference";
}

TEST(SegmentReader, GlitchesInvertBits) {
    Segment segment = plainSegment({makePattern(PatternName::F0, 4), 0});
    segment.data[0].quality.flip = 0.001;
    const auto words = readWords(segment, 100000);
    int wrong = 0;
    for (const std::uint16_t word : words) {
        wrong += __builtin_popcount(word ^ 0x0F0FU);
    }
    EXPECT_NEAR(wrong, 400, 100);
}

TEST(SegmentReader, ALostClockPulseMovesTheWordsUntilTheNextSequence) {
    Segment segment = plainSegment({makePattern(PatternName::Ramp, 4), 64});
    segment.clock.timing.lostOnes = 2e-4;
    const auto words = readWords(segment, 20000);
    // Every sequence is followed by the ramp, at any value.
    std::size_t sequences = 0;
    std::size_t broken = 0;
    std::size_t distance = 0;
    for (std::size_t index = 5; index + 2 < words.size(); ++index, ++distance) {
        if (words[index] == syncMark && words[index - 1] == 0 && words[index + 1] == syncSequence[6]) {
            broken += sequences != 0 && distance != 71 ? 1 : 0;
            distance = 0;
            ++sequences;
            ASSERT_EQ(words[index + 2], 0x0123);
        }
    }
    EXPECT_GT(sequences, 200U);
    EXPECT_GT(broken, 2U);
    EXPECT_LT(broken, 40U);
}

TEST(SegmentReader, AnAddedClockPulseMovesThemTheOtherWay) {
    Segment segment = plainSegment({makePattern(PatternName::Ramp, 4), 0});
    segment.clock.timing.glitchEvery = 14.0 * 400.0; // one in 400 slots
    const auto words = readWords(segment, 1000);
    // Without sequences the groups of 0 to F continue, with doubled ones among them.
    int added = 0;
    unsigned before = 15;
    for (const std::uint16_t word : words) {
        for (int shift = 12; shift >= 0; shift -= 4) {
            const unsigned group = (word >> shift) & 15U;
            ASSERT_TRUE(group == before || group == ((before + 1) & 15U));
            added += group == before ? 1 : 0;
            before = group;
        }
    }
    EXPECT_NEAR(added, 20, 16);
    EXPECT_EQ(added % 2, 0);
}

TEST(SegmentReader, DataOnTheClockInputRecordsAGroupAtEachChange) {
    Segment segment = plainSegment({makePattern(PatternName::Ramp, 4), 0});
    segment.clock.line.source = LineSource::Data;
    segment.clock.line.bit = 2; // changes at groups 2, 4, 6, ...
    segment.data[2].line.source = LineSource::Clock;
    const auto words = readWords(segment, 4);
    // Groups 2, 4, 6, 8 ... with the clock, which is high in even slots, in place of bit 1.
    EXPECT_EQ(words[0], 0x266A);
    EXPECT_EQ(words[1], 0xAEE2);
}

TEST(SegmentReader, FewerPinsThanProcsAreFollowedSlotBySlot) {
    Segment segment = plainSegment({makePattern(PatternName::Ramp, 2), 0}, 2);
    for (const unsigned bit : {0U, 1U}) {
        ProcPath& path = segment.data.emplace_back();
        path.line.source = LineSource::Constant;
        path.line.level = bit == 1;
    }
    // Groups 00 01 10 11, each followed by 01.
    EXPECT_EQ(readWords(segment, 2), (std::vector<std::uint16_t>{0x159D, 0x159D}));
}

} // namespace
} // namespace bench
