#include "client/analysis/SamplingPosition.h"
#include "tests/unit/client/analysis/Bursts.h"

#include <gtest/gtest.h>

// The bounds between which a data edge counts as in the middle of its clock edges.

namespace {

namespace analysis = VX_QRS::ORV::CLIENT::analysis;

/// How a single data edge counts that is so many samples after the clock's last sample of the earlier level, and far
/// from the next clock edge. Half a period has so many samples.
analysis::SamplingPositionCounts countsAt(std::uint32_t distance, std::uint32_t bitSamples) {
    constexpr std::uint32_t lastBeforeEdge = 999;
    bursts::OwnedBurst burst(2, 512);
    burst.burst.bitSamples = bitSamples;
    burst.draw(0, "1", lastBeforeEdge + 1);
    burst.draw(1, "1", lastBeforeEdge + distance);
    return analysis::countSamplingPositions(burst.view());
}

TEST(SamplingPositionBounds, TheUpperLimitItselfIsInTheMiddleAndTheLowerOneIsNot) {
    for (const std::uint32_t bitSamples : {14U, 15U}) { // 7 and 21, since half of 15 is 7 as well
        EXPECT_EQ(countsAt(7, bitSamples).center, 0U);
        EXPECT_EQ(countsAt(7, bitSamples).edge, 1U);
        EXPECT_EQ(countsAt(8, bitSamples).center, 1U);
        EXPECT_EQ(countsAt(21, bitSamples).center, 1U);
        EXPECT_EQ(countsAt(21, bitSamples).edge, 0U);
        EXPECT_EQ(countsAt(22, bitSamples).center, 0U);
        EXPECT_EQ(countsAt(22, bitSamples).edge, 1U);
    }
}

} // namespace
