#include "diagnosis/analysis/BurstAnalysis.h"
#include "tests/unit/diagnosis/files/DrawnFiles.h"

#include <gtest/gtest.h>

namespace diagnosis {
namespace {

using drawn::samples;

Burst burstOf(const std::vector<std::string>& pins, const std::string& head = drawn::head()) {
    return parseBurst(drawn::burst(pins, head), "x");
}

TEST(Edges, RisesAndFallsStandAtTheirFirstSample) {
    const auto edges = edgesOf(burstOf({"0011101"}).pins[0].levels);
    ASSERT_EQ(edges.size(), 3U);
    EXPECT_EQ(edges[0].at, 2U);
    EXPECT_TRUE(edges[0].rise);
    EXPECT_EQ(edges[1].at, 5U);
    EXPECT_FALSE(edges[1].rise);
    EXPECT_EQ(edges[2].at, 6U);
}

TEST(Margins, AreTheSmallestDistancesBeforeAndAfterTheClock) {
    // The data change 5 samples after each clock edge and 9 before the next; the receiver counts one more after it.
    std::string data = drawn::square(samples, 14, 8);
    const Burst even = burstOf({drawn::square(samples, 14, 3), data});
    EXPECT_EQ(marginsOf(even, 1).holdMargin, 6U);
    EXPECT_EQ(marginsOf(even, 1).setupMargin, 9U);
    // One change that is two samples late reduces the setup margin, and is where it was found.
    const std::size_t late = 8 + 14 * 100;
    data[late] = data[late - 1];
    data[late + 1] = data[late - 1];
    const Burst odd = burstOf({drawn::square(samples, 14, 3), data});
    EXPECT_EQ(marginsOf(odd, 1).setupMargin, 7U);
    EXPECT_EQ(marginsOf(odd, 1).setupAt, late + 2);
    EXPECT_EQ(marginsOf(odd, 1).holdMargin, 6U);
}

TEST(Margins, AStuckPinHasNone) {
    const Burst burst = burstOf({drawn::square(samples, 14, 3), std::string(samples, '1')});
    EXPECT_FALSE(marginsOf(burst, 1).holdMargin);
    EXPECT_FALSE(marginsOf(burst, 1).setupMargin);
    EXPECT_EQ(stuckLevel(burst, 1), 1U);
    EXPECT_FALSE(stuckLevel(burst, 0));
}

TEST(EyeDiagram, ChangesAreCountedFromBothNeighbouringClockEdges) {
    const Burst burst = burstOf({drawn::square(samples, 14, 3), drawn::square(samples, 14, 8)});
    const auto eye = foldEye(burst, 1);
    ASSERT_TRUE(eye);
    const std::size_t after = eye->reach + 5;
    const std::size_t before = eye->reach - 9;
    EXPECT_GT(eye->rises[after] + eye->falls[after], 500U);
    EXPECT_EQ(eye->rises[after] + eye->falls[after], eye->edges);
    EXPECT_GT(eye->rises[before], 250U);
    EXPECT_EQ(eye->rises[eye->reach], 0U) << "nothing changes at the sampling point";
    EXPECT_GT(eye->clockEdges[eye->reach + 14], 500U);
    EXPECT_FALSE(foldEye(burstOf({std::string(samples, '0'), drawn::square(samples, 14, 8)}), 1)) << "no clock";
}

TEST(DutyCycle, OnesAndZerosOfHalfAPeriodAreMeasured) {
    std::string data(samples, '0');
    for (std::size_t at = 0; at < samples; ++at) {
        data[at] = at % 28 < 17 ? '1' : '0';
    }
    // A long pause, as in a synchronisation sequence, is none of them.
    for (std::size_t at = 2800; at < 2800 + 280; ++at) {
        data[at] = '0';
    }
    const auto duty = dutyOf(burstOf({drawn::square(samples, 14, 3), data}), 1);
    ASSERT_TRUE(duty);
    EXPECT_NEAR(duty->high, 17.0, 0.01);
    EXPECT_NEAR(duty->low, 11.0, 0.01);
}

TEST(Position, EdgesVoteByTheirDistanceToTheNearestClockEdge) {
    const PositionVote middle = votePosition(
        burstOf({drawn::square(samples, 18, 3), drawn::square(samples, 18, 12)}, drawn::head("43.75 MHz", "28.00 ")));
    EXPECT_GT(middle.between, 400U);
    EXPECT_EQ(middle.near, 0U);
    EXPECT_FALSE(middle.undecided());
    const PositionVote together = votePosition(burstOf({drawn::square(samples, 14, 3), drawn::square(samples, 14, 4)}));
    EXPECT_EQ(together.between, 0U);
    EXPECT_FALSE(together.undecided());
    EXPECT_TRUE((PositionVote{0, 0}.undecided()));
    EXPECT_TRUE((PositionVote{2, 1}.undecided()));
    EXPECT_FALSE((PositionVote{3, 1}.undecided()));
    EXPECT_TRUE((PositionVote{1, 2}.undecided()));
    EXPECT_FALSE((PositionVote{1, 3}.undecided()));
}

TEST(LostMargin, TwoChangesOfTheDataBetweenClockEdgesAreFound) {
    // Changes that come faster than one in a bit are not judged; these come a sample slower.
    const std::string data = drawn::square(samples, 15, 8);
    const Burst sound = burstOf({drawn::square(samples, 15, 3), data});
    EXPECT_FALSE(findMarginFailure(sound, 1));
    // One clock edge is missing: the data change twice between the two around it.
    std::string clock = drawn::square(samples, 15, 3);
    const std::size_t gone = 3 + 15 * 50;
    for (std::size_t at = gone; at < gone + 15; ++at) {
        clock[at] = clock[gone - 1];
    }
    for (std::size_t at = gone + 15; at < samples; ++at) {
        clock[at] = clock[at] == '0' ? '1' : '0';
    }
    const auto failure = findMarginFailure(burstOf({clock, data}), 1);
    ASSERT_TRUE(failure);
    EXPECT_FALSE(failure->clock);
    EXPECT_NEAR(static_cast<double>(failure->sample), static_cast<double>(gone), 40.0);
    EXPECT_EQ(failure->word, failure->sample / 16);
    const auto clockFailure = findMarginFailure(sound, 2);
    ASSERT_TRUE(clockFailure);
    EXPECT_TRUE(clockFailure->clock);
}

} // namespace
} // namespace diagnosis
