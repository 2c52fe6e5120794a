#include "diagnosis/analysis/LaneMatch.h"
#include "tests/unit/diagnosis/files/DrawnFiles.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>

// Streams that are known to the bit, with one thing done to their pins.

namespace diagnosis {
namespace {

using drawn::LaneBits;

std::uint16_t unframed(std::size_t index) {
    return drawn::ramp[index % 4];
}

LaneMatch matchOf(const LaneBits& bits, bool packets = true) {
    const auto words = drawn::wordsOf(4, bits);
    const auto match =
        matchLanes(parseVerification(packets ? drawn::packets(words, 64) : drawn::plainWords(words, 64)), 4);
    EXPECT_TRUE(match);
    return match.value_or(LaneMatch{});
}

const LaneBits sent = drawn::lanesOf(4, drawn::framed);
const LaneBits sentPlain = drawn::lanesOf(4, unframed);

TEST(LaneMatch, EveryPinOfASoundRecordingCarriesItsOwnBits) {
    const LaneMatch match = matchOf(sent);
    EXPECT_EQ(match.pattern, "ramp");
    EXPECT_TRUE(match.distinguishesPins);
    EXPECT_TRUE(match.identical.empty());
    for (std::size_t lane = 0; lane < 4; ++lane) {
        EXPECT_EQ(match.lanes[lane].carries, lane);
        EXPECT_EQ(match.lanes[lane].shift, 0);
        EXPECT_DOUBLE_EQ(match.lanes[lane].agreement, 1.0);
        EXPECT_FALSE(match.lanes[lane].stuck);
    }
}

TEST(LaneMatch, EveryPermutationOfFourPinsIsFound) {
    std::array<std::size_t, 4> places{0, 1, 2, 3};
    do {
        const LaneMatch match = matchOf([&](std::size_t slot, std::size_t line) { return sent(slot, places[line]); });
        for (std::size_t lane = 0; lane < 4; ++lane) {
            EXPECT_EQ(match.lanes[lane].carries, places[lane]);
            EXPECT_DOUBLE_EQ(match.lanes[lane].agreement, 1.0);
        }
    } while (std::next_permutation(places.begin(), places.end()));
}

TEST(LaneMatch, APinThatComesABitLateOrEarlyIsFoundWithItsSign) {
    for (std::size_t pin = 0; pin < 4; ++pin) {
        for (const int shift : {-2, -1, 1, 2}) {
            const LaneMatch match = matchOf([&](std::size_t slot, std::size_t line) {
                const std::size_t at = slot + 2 - static_cast<std::size_t>((line == pin ? shift : 0) + 2) + 2;
                return sent(at, line);
            });
            for (std::size_t lane = 0; lane < 4; ++lane) {
                EXPECT_EQ(match.lanes[lane].shift, lane == pin ? shift : 0) << pin << " by " << shift;
                EXPECT_EQ(match.lanes[lane].carries, lane);
                EXPECT_GT(match.lanes[lane].agreement, 0.999);
                EXPECT_TRUE(match.lanes[lane].shiftSignKnown);
            }
        }
    }
}

TEST(LaneMatch, WithoutSequencesAShiftOfAnAlternatingPinHasNoSign) {
    // The lowest bit of the ramp toggles in every slot: a slot early looks like a slot late.
    const LaneMatch match =
        matchOf([&](std::size_t slot, std::size_t line) { return sentPlain(slot + (line == 3), line); }, false);
    EXPECT_NE(match.lanes[3].shift, 0);
    EXPECT_FALSE(match.lanes[3].shiftSignKnown);
    EXPECT_GT(match.lanes[3].agreement, 0.99);
    // The highest one does not.
    const LaneMatch other =
        matchOf([&](std::size_t slot, std::size_t line) { return sentPlain(slot + (line == 0), line); }, false);
    EXPECT_EQ(other.lanes[0].shift, -1);
    EXPECT_TRUE(other.lanes[0].shiftSignKnown);
}

TEST(LaneMatch, AStuckPinIsToldAndTheOthersStillMatch) {
    const LaneMatch match = matchOf([&](std::size_t slot, std::size_t line) { return line == 2 || sent(slot, line); });
    EXPECT_EQ(match.lanes[2].stuck, 1U);
    for (const std::size_t lane : {0U, 1U, 3U}) {
        EXPECT_DOUBLE_EQ(match.lanes[lane].agreement, 1.0);
    }
}

TEST(LaneMatch, PinsThatAreWiredTogetherCarryTheSameBits) {
    const LaneMatch both = matchOf([&](std::size_t slot, std::size_t line) {
        return line == 1 || line == 3 ? sent(slot, 1) && sent(slot, 3) : sent(slot, line);
    });
    ASSERT_EQ(both.identical.size(), 1U);
    EXPECT_EQ(both.identical.front(), (std::pair<std::size_t, std::size_t>{1, 3}));
}

TEST(LaneMatch, NoiseLowersTheAgreementOfItsPinAlone) {
    const LaneMatch match = matchOf(
        [&](std::size_t slot, std::size_t line) { return sent(slot, line) != (line == 0 && slot % 100 == 37); });
    EXPECT_NEAR(match.lanes[0].agreement, 0.99, 0.002);
    EXPECT_DOUBLE_EQ(match.lanes[1].agreement, 1.0);
}

TEST(LaneMatch, APatternThatIsTheSameOnAllPinsTellsNothingApart) {
    const auto f0 = [](std::size_t) -> std::uint16_t { return 0x0F0F; };
    const auto match = matchLanes(parseVerification(drawn::plainWords(f0)), 4, "f0");
    ASSERT_TRUE(match);
    EXPECT_EQ(match->pattern, "f0");
    EXPECT_FALSE(match->distinguishesPins);
    EXPECT_TRUE(match->identical.empty()) << "they are meant to be";
    for (std::size_t lane = 0; lane < 4; ++lane) {
        EXPECT_EQ(match->lanes[lane].carries, lane);
    }
}

} // namespace
} // namespace diagnosis
