#include "client/analysis/Alignment.h"
#include "client/analysis/BitCounts.h"
#include "client/analysis/Edges.h"
#include "client/analysis/Margins.h"
#include "client/analysis/SamplingPosition.h"
#include "tests/unit/client/analysis/Bursts.h"

#include <gtest/gtest.h>

#include <cmath>

// Drawn waveforms whose answer a person can read off.

namespace {

using namespace VX_QRS::ORV::CLIENT;
using analysis::Burst;
using bursts::OwnedBurst;

struct Edge {
    int direction;
    std::uint32_t position;
    bool operator==(const Edge&) const = default;
};

Edge next(const std::vector<std::uint16_t>& samples, std::uint32_t from, std::uint32_t limit) {
    std::uint32_t word = from / 16;
    std::uint32_t bit = from % 16;
    const int direction = analysis::nextEdge(samples, word, bit, limit);
    return {direction, 16 * word + bit};
}

Edge previous(const std::vector<std::uint16_t>& samples, std::uint32_t from) {
    std::uint32_t word = from / 16;
    std::uint32_t bit = from % 16;
    const int direction = analysis::prevEdge(samples, word, bit);
    return {direction, 16 * word + bit};
}

TEST(NextEdge, IsTheFirstSampleOfTheNewLevel) {
    const auto samples = bursts::drawn("0001111000000000");
    EXPECT_EQ(next(samples, 0, 16), (Edge{+1, 3}));
    EXPECT_EQ(next(samples, 2, 16), (Edge{+1, 3}));
    EXPECT_EQ(next(samples, 3, 16), (Edge{-1, 7}));
    EXPECT_EQ(next(samples, 7, 16), (Edge{0, 7}));
}

TEST(NextEdge, IsFoundInALaterWord) {
    auto samples = bursts::drawn("1111111111111111");
    samples.resize(5, 0xFFFF);
    samples[3] = 0x7FFF;
    EXPECT_EQ(next(samples, 4, 80), (Edge{-1, 63}));
    EXPECT_EQ(next(samples, 63, 80), (Edge{+1, 64}));
}

TEST(NextEdge, OfAStuckPinIsNone) {
    for (const std::uint16_t level : {std::uint16_t{0}, std::uint16_t{0xFFFF}}) {
        const std::vector<std::uint16_t> samples(512, level);
        EXPECT_EQ(next(samples, 0, 8192), (Edge{0, 0}));
        EXPECT_EQ(next(samples, 100, 8192), (Edge{0, 100}));
    }
}

TEST(NextEdge, AtTheLastSampleIsNone) {
    std::vector<std::uint16_t> samples{0x0000, 0x8000};
    EXPECT_EQ(next(samples, 30, 32), (Edge{+1, 31}));
    EXPECT_EQ(next(samples, 31, 32), (Edge{0, 31}));
}

TEST(NextEdge, WithALimitWithinAWordStopsAtTheLastWholeOne) {
    const std::vector<std::uint16_t> samples{0x0000, 0x0100, 0x0000};
    EXPECT_EQ(next(samples, 0, 31), (Edge{0, 0}));
    EXPECT_EQ(next(samples, 0, 32), (Edge{+1, 24}));
    EXPECT_EQ(next(samples, 0, 40), (Edge{+1, 24}));
    EXPECT_EQ(next(samples, 24, 40), (Edge{-1, 25}));
}

TEST(PrevEdge, IsTheLastSampleOfTheEarlierLevel) {
    const auto samples = bursts::drawn("0001111000000000");
    EXPECT_EQ(previous(samples, 6), (Edge{-1, 2}));
    EXPECT_EQ(previous(samples, 3), (Edge{-1, 2}));
    EXPECT_EQ(previous(samples, 9), (Edge{+1, 6}));
    EXPECT_EQ(previous(samples, 2), (Edge{0, 2}));
    EXPECT_EQ(previous(samples, 0), (Edge{0, 0}));
}

TEST(PrevEdge, IsFoundInAnEarlierWord) {
    const std::vector<std::uint16_t> samples{0x0001, 0x0000, 0x0000, 0x0000};
    EXPECT_EQ(previous(samples, 63), (Edge{+1, 0}));
    EXPECT_EQ(previous(samples, 16), (Edge{+1, 0}));
}

TEST(SamplingPosition, NeedsThreeToOneEitherWay) {
    using analysis::SamplingPosition;
    const auto of = [](std::uint32_t center, std::uint32_t edge) { return analysis::samplingPosition({center, edge}); };
    EXPECT_EQ(of(3, 1), SamplingPosition::center);
    EXPECT_EQ(of(2, 1), SamplingPosition::undetected);
    EXPECT_EQ(of(1, 0), SamplingPosition::center);
    EXPECT_EQ(of(0, 0), SamplingPosition::undetected);
    EXPECT_EQ(of(0, 1), SamplingPosition::edge);
    EXPECT_EQ(of(1, 1), SamplingPosition::undetected);
    EXPECT_EQ(of(1, 2), SamplingPosition::undetected);
    EXPECT_EQ(of(1, 3), SamplingPosition::edge);
    EXPECT_EQ(of(299, 100), SamplingPosition::undetected); // integer division: 2
    EXPECT_EQ(of(300, 100), SamplingPosition::center);
    EXPECT_EQ(of(100, 299), SamplingPosition::undetected);
}

/// A clock and one data pin, both toggling every `half` samples.
OwnedBurst clockAndData(std::uint32_t half, double clockAt, double dataAt, std::uint32_t dataHalf = 0) {
    OwnedBurst burst(2, 512);
    burst.burst.bitSamples = half;
    burst.burst.oversampling = 2.0 * half;
    burst.square(0, clockAt, half);
    burst.square(1, dataAt, dataHalf != 0 ? dataHalf : half);
    return burst;
}

TEST(SamplingPosition, CountsDataEdgesByTheirNearerClockEdge) {
    // Half a period of 16: an edge 9 to 24 samples from the nearer clock edge lies between them. With both edges of
    // the clock that never happens, so a clock of half the rate is drawn.
    OwnedBurst between = clockAndData(16, 40, 56, 32);
    between.square(0, 40, 32);
    EXPECT_GT(analysis::countSamplingPositions(between.view()).center, 200U);
    EXPECT_EQ(analysis::countSamplingPositions(between.view()).edge, 0U);
    OwnedBurst together = clockAndData(16, 40, 40);
    EXPECT_EQ(analysis::countSamplingPositions(together.view()).center, 0U);
    EXPECT_GT(analysis::countSamplingPositions(together.view()).edge, 400U);
}

TEST(SamplingPosition, OfAnOddHalfPeriodTakesTheCenteredEdgeAsCentered) {
    // Half a period of 7: low is 3. From 33 it is 4 on to the clock's edge at 37 and 4 back to the last sample
    // before its edge at 30.
    OwnedBurst centred = clockAndData(7, 30, 33);
    EXPECT_EQ(analysis::countSamplingPositions(centred.view()).edge, 0U);
    // One sample later it is 3 on, and only the last edge, with no clock edge after it, still counts as centred.
    OwnedBurst later = clockAndData(7, 30, 34);
    EXPECT_EQ(analysis::countSamplingPositions(later.view()).center, 1U);
    EXPECT_EQ(analysis::countSamplingPositions(later.view()).edge, 1166U);
}

TEST(SamplingPosition, WithoutDataEdgesIsUndetected) {
    OwnedBurst burst = clockAndData(16, 40, 48);
    burst.draw(1, "1");
    const auto counts = analysis::countSamplingPositions(burst.view());
    EXPECT_EQ(counts.center + counts.edge, 0U);
    EXPECT_EQ(analysis::samplingPosition(counts), analysis::SamplingPosition::undetected);
}

TEST(Stretch, CountsOnesOverTheWholeBurstAndZerosOverLess) {
    OwnedBurst burst = clockAndData(16, 16, 16);
    Metrics m;
    analysis::stretch(burst.view(), 0.5, m);
    EXPECT_EQ(m.proc[0].ones, 4096U);
    EXPECT_EQ(m.proc[0].zeros, 8192U - 16 - 16 - 4096);
    EXPECT_EQ(m.proc[1].ones, m.proc[0].ones);
    EXPECT_EQ(m.proc[0].stretch, 0);
}

TEST(Stretch, OfTheClockIgnoresThePatternsRatio) {
    OwnedBurst burst = clockAndData(16, 16, 16);
    Metrics m;
    analysis::stretch(burst.view(), 0.2, m);
    EXPECT_EQ(m.proc[0].stretch, 0);
    EXPECT_EQ(m.proc[1].stretch, -5); // four times as many ones as a fifth would be
}

TEST(Stretch, IsTheDutyErrorPerClockPeriod) {
    // Ones of 14 samples, zeros of 18: four zeros too many in each period.
    OwnedBurst burst = clockAndData(16, 16, 16);
    for (std::uint32_t s = 0; s < 8192; ++s) {
        burst.set(0, s, s % 32 < 14);
    }
    Metrics m;
    analysis::stretch(burst.view(), 0.5, m);
    EXPECT_EQ(m.proc[0].stretch, 4);
}

TEST(Stretch, OfAPinStuckHighWrapsToTheLargest) {
    OwnedBurst burst = clockAndData(16, 16, 16);
    burst.draw(1, "1");
    Metrics m;
    analysis::stretch(burst.view(), 0.5, m);
    EXPECT_EQ(m.proc[1].ones, 8192U);
    EXPECT_EQ(m.proc[1].zeros, 0xFFFFFFE0U);
    EXPECT_EQ(m.proc[1].stretch, 5);
    burst.draw(1, "0");
    analysis::stretch(burst.view(), 0.5, m);
    EXPECT_EQ(m.proc[1].stretch, 5); // all zeros wants longer ones as well
}

/// Three data pins with one random signal, late by so many samples each.
OwnedBurst skewed(std::uint32_t half, int late2, int late3, std::uint32_t seed = 3) {
    OwnedBurst burst(4, 512);
    burst.burst.bitSamples = half;
    burst.burst.oversampling = 2.0 * half;
    burst.square(0, 20, half);
    std::mt19937 random(seed);
    std::vector<bool> bits(8192 / half + 3);
    for (std::size_t i = 0; i < bits.size(); ++i) {
        bits[i] = (random() & 1) != 0;
    }
    const int late[] = {0, 0, late2, late3};
    for (std::uint32_t p = 1; p < 4; ++p) {
        for (std::uint32_t s = 0; s < 8192; ++s) {
            const int from = std::max(0, static_cast<int>(s) + static_cast<int>(half) - late[p]);
            burst.set(p, s, bits[static_cast<std::size_t>(from) / half]);
        }
    }
    return burst;
}

TEST(AlignDataWithData, MovesLatePinsBackAndEarlyPinsOn) {
    OwnedBurst burst = skewed(12, 3, -2);
    Metrics m;
    m.proc[0].delay = 0;
    analysis::alignDataWithData(burst.view(), 1, m);
    EXPECT_EQ(m.proc[1].delay, 0);
    EXPECT_EQ(m.proc[2].delay, -3);
    EXPECT_EQ(m.proc[3].delay, 2);
    EXPECT_DOUBLE_EQ(m.proc[1].correlation[31], 1.0);
    EXPECT_GT(m.proc[2].correlation[31 + 3], 0.99);
    analysis::formatDelays(4, m);
    EXPECT_EQ(m.proc[0].delay, 3);
    EXPECT_EQ(m.proc[1].delay, 3);
    EXPECT_EQ(m.proc[2].delay, 0);
    EXPECT_EQ(m.proc[3].delay, 5);
}

TEST(AlignDataWithData, TakesAnInvertedPinForALatePin) {
    OwnedBurst burst = skewed(12, 4, 0);
    for (std::uint16_t& word : burst.pins[2]) {
        word = static_cast<std::uint16_t>(~word);
    }
    Metrics m;
    analysis::alignDataWithData(burst.view(), 1, m);
    EXPECT_EQ(m.proc[2].delay, -4);
    EXPECT_LT(m.proc[2].correlation[31 + 4], -0.99);
}

TEST(AlignDataWithData, SearchesNoFurtherThanTheCorrelationsReach) {
    OwnedBurst burst = skewed(40, 31, 35);
    Metrics m;
    m.proc[1].correlation.fill(7.0); // from an earlier attempt
    analysis::alignDataWithData(burst.view(), 1, m);
    EXPECT_EQ(m.proc[2].delay, -31);
    EXPECT_NE(m.proc[1].correlation[0], 0.0);
    EXPECT_NE(m.proc[1].correlation[62], 0.0);
    EXPECT_EQ(m.proc[1].correlation[63], 0.0);
    EXPECT_DOUBLE_EQ(m.proc[1].correlation[31], 1.0);
}

TEST(AlignDataWithData, LeavesEntriesPastItsRangeZero) {
    OwnedBurst burst = skewed(10, 0, 0);
    Metrics m;
    m.proc[2].correlation.fill(7.0);
    analysis::alignDataWithData(burst.view(), 1, m);
    EXPECT_EQ(m.proc[2].correlation[31 - 11], 0.0);
    EXPECT_NE(m.proc[2].correlation[31 - 10], 0.0);
    EXPECT_NE(m.proc[2].correlation[31 + 10], 0.0);
    EXPECT_EQ(m.proc[2].correlation[31 + 11], 0.0);
}

TEST(AlignDataWithData, OfOneDataPinCorrelatesItWithItself) {
    OwnedBurst burst = skewed(12, 0, 0);
    burst.burst.numPins = 2;
    Metrics m;
    analysis::alignDataWithData(burst.view(), 1, m);
    EXPECT_DOUBLE_EQ(m.proc[1].correlation[31], 1.0);
    EXPECT_EQ(m.proc[1].delay, 0);
}

TEST(AlignDataWithData, OfASignalThatOnlyTogglesTakesTheFirstOfTheEqualPeaks) {
    OwnedBurst burst = clockAndData(16, 16, 16);
    Metrics m;
    analysis::alignDataWithData(burst.view(), 1, m);
    EXPECT_EQ(m.proc[1].correlation[31 - 16], -1.0);
    EXPECT_EQ(m.proc[1].correlation[31], 1.0);
    EXPECT_EQ(m.proc[1].delay, 16);
}

TEST(AlignDataWithData, OfAStuckPinFindsNothingAndStays) {
    OwnedBurst burst = skewed(12, 3, 0);
    burst.draw(3, "0");
    Metrics m;
    analysis::alignDataWithData(burst.view(), 1, m);
    EXPECT_TRUE(std::isnan(m.proc[3].correlation[31]));
    EXPECT_EQ(m.proc[3].delay, 0);
    EXPECT_EQ(m.proc[2].delay, -3);
}

TEST(FindPeakCorrelation, PassesOverWhatIsNotANumber) {
    ProcMetrics p;
    p.correlation[31 - 2] = std::nan("");
    p.correlation[31 + 5] = -0.5;
    p.correlation[31 + 7] = 0.5;
    std::int32_t delay = 99;
    EXPECT_EQ(analysis::findPeakCorrelation(p, delay, 31), 0.5);
    EXPECT_EQ(delay, -5);
    p.correlation.fill(std::nan(""));
    EXPECT_EQ(analysis::findPeakCorrelation(p, delay, 31), 0.0);
    EXPECT_EQ(delay, 0);
}

TEST(FindPeakCorrelation, LooksNoFurtherThanItsRange) {
    ProcMetrics p;
    p.correlation[31 + 6] = 0.9;
    p.correlation[31 + 5] = 0.1;
    std::int32_t delay = 0;
    EXPECT_EQ(analysis::findPeakCorrelation(p, delay, 5), 0.1);
    EXPECT_EQ(delay, -5);
}

TEST(CountOnes, HoldsForStreamsOfAnyLength) {
    const std::vector<std::uint16_t> ones(40000, 0xFFFF);
    EXPECT_EQ(analysis::countOnes(ones, 0, 640000, 0), 640000.0);
    EXPECT_EQ(analysis::countCommonOnes(ones, ones, 3, 600001, 7), 600001.0);
}

TEST(CorrelateBits, ReadsZerosPastTheBurst) {
    const std::vector<std::uint16_t> ones(4, 0xFFFF);
    EXPECT_EQ(analysis::countOnes(ones, 32, 32, 0), 32.0);
    EXPECT_EQ(analysis::countOnes(ones, 32, 32, 31), 1.0);
    EXPECT_EQ(analysis::countOnes(ones, 32, 32, -31), 32.0);
    EXPECT_EQ(analysis::countCommonOnes(ones, ones, 40, 24, 20), 4.0);
    EXPECT_EQ(analysis::countOnes(ones, 64, 100, 0), 0.0);
    EXPECT_EQ(analysis::countOnes({}, 0, 100, 0), 0.0);
}

TEST(FindMargin, IsTheLeastDistanceEitherWay) {
    OwnedBurst burst = clockAndData(16, 16, 22);
    Metrics m;
    analysis::findMargin(burst.view(), 0, m);
    EXPECT_EQ(m.proc[1].marginBefore, 7U); // back to the last sample before the clock's edge
    EXPECT_EQ(m.proc[1].marginAfter, 10U);
    EXPECT_EQ(m.proc[0].marginBefore, notSet);
    EXPECT_EQ(m.proc[0].marginAfter, notSet);
}

TEST(FindMargin, WithAnOffsetLooksFromThatMuchEarlier) {
    OwnedBurst burst = clockAndData(16, 16, 22);
    Metrics m;
    analysis::findMargin(burst.view(), 4, m);
    EXPECT_EQ(m.proc[1].marginBefore, 3U);
    EXPECT_EQ(m.proc[1].marginAfter, 14U);
}

TEST(FindMargin, OfAPinWithoutEdgesStaysUnset) {
    OwnedBurst burst = clockAndData(16, 16, 22);
    burst.draw(1, "1");
    Metrics m;
    m.proc[1].marginBefore = 3;
    analysis::findMargin(burst.view(), 0, m);
    EXPECT_EQ(m.proc[1].marginBefore, notSet);
    EXPECT_EQ(m.proc[1].marginAfter, notSet);
}

TEST(FindMargin, JudgesNoEdgeWithinAClockPeriodOfTheEnd) {
    // A period of 32: the last edge that counts is at 8160.
    for (const std::uint32_t at : {8160U, 8161U}) {
        OwnedBurst burst = clockAndData(16, 20, 22);
        burst.draw(1, "0");
        burst.draw(1, "1", at);
        Metrics m;
        analysis::findMargin(burst.view(), 0, m);
        EXPECT_EQ(m.proc[1].marginBefore != notSet, at == 8160U) << at;
    }
}

TEST(FindMargin, BeginsOnePeriodAndTheSkippedSamplesIn) {
    // From sample 48 on; the level at 48 is where the search starts.
    for (const std::uint32_t at : {48U, 49U}) {
        OwnedBurst burst = clockAndData(16, 20, 22);
        burst.draw(1, "0");
        burst.draw(1, "1", at);
        Metrics m;
        analysis::findMargin(burst.view(), 0, m);
        EXPECT_EQ(m.proc[1].marginBefore != notSet, at == 49U) << at;
    }
}

TEST(ClockMargins, NeedAThirdOfAClockPeriod) {
    OwnedBurst burst = clockAndData(16, 16, 22); // a third of 32, rounded, is 11
    Metrics m;
    m.proc[1].marginBefore = 6;
    m.proc[1].marginAfter = 5;
    EXPECT_EQ(analysis::clockMargins(burst.view(), m).need, 11U);
    EXPECT_TRUE(analysis::clockMargins(burst.view(), m).enough);
    m.proc[1].marginAfter = 4;
    EXPECT_FALSE(analysis::clockMargins(burst.view(), m).enough);
}

TEST(ClockMargins, OfPinsWithoutEdgesWrapAndPass) {
    OwnedBurst burst = clockAndData(16, 16, 22);
    Metrics m;
    EXPECT_TRUE(analysis::clockMargins(burst.view(), m).enough); // 0xFFFFFFFE
    m.proc[1].marginBefore = 1;
    EXPECT_TRUE(analysis::clockMargins(burst.view(), m).enough); // 0x80000000
}

TEST(ClockMargins, AreTheLeastOfAllDataPins) {
    OwnedBurst burst = skewed(16, 0, 0);
    Metrics m;
    for (std::uint32_t p = 1; p < 4; ++p) {
        m.proc[p].marginBefore = 4 + p;
        m.proc[p].marginAfter = 9 - p;
    }
    m.proc[0].marginBefore = 0;
    m.proc[4].marginBefore = 0; // not in use
    const auto found = analysis::clockMargins(burst.view(), m);
    EXPECT_EQ(found.holdMargin, 5U);
    EXPECT_EQ(found.setupMargin, 6U);
}

TEST(CentreClock, MovesTheClockByHalfTheDifferenceOfTheReferencePin) {
    Metrics m;
    m.proc[0].delay = 10;
    m.proc[1].marginBefore = 3;
    m.proc[1].marginAfter = 8;
    analysis::centreClock(1, m);
    EXPECT_EQ(m.proc[0].delay, 7); // -2.5 goes away from zero
    m.proc[1].marginBefore = 8;
    m.proc[1].marginAfter = 3;
    analysis::centreClock(1, m);
    EXPECT_EQ(m.proc[0].delay, 10);
    m.proc[1].marginBefore = 0x80000001; // as signed, the difference is negative
    m.proc[1].marginAfter = 1;
    analysis::centreClock(1, m);
    EXPECT_EQ(m.proc[0].delay, 10 - 0x40000000);
}

TEST(FormatDelays, GiveTheEarliestPinZeroAndLimitTheOthers) {
    Metrics m;
    m.proc[0].delay = 40;
    m.proc[1].delay = -3;
    m.proc[2].delay = 0;
    m.proc[3].delay = -100; // not in use
    analysis::formatDelays(3, m);
    EXPECT_EQ(m.proc[0].delay, 31);
    EXPECT_EQ(m.proc[1].delay, 0);
    EXPECT_EQ(m.proc[2].delay, 3);
    EXPECT_EQ(m.proc[3].delay, -100);
    m.proc[0].delay = std::numeric_limits<std::int32_t>::min();
    m.proc[1].delay = std::numeric_limits<std::int32_t>::max();
    analysis::formatDelays(2, m);
    EXPECT_EQ(m.proc[0].delay, 0);
    EXPECT_EQ(m.proc[1].delay, 31);
}

TEST(FormatDelays, NormaliseAgainWhatAnEarlierAttemptLeft) {
    Metrics m;
    m.proc[0].delay = 9; // from the attempt before
    m.proc[1].delay = 0;
    m.proc[2].delay = -2;
    analysis::formatDelays(3, m);
    EXPECT_EQ(m.proc[0].delay, 11);
    EXPECT_EQ(m.proc[1].delay, 2);
    EXPECT_EQ(m.proc[2].delay, 0);
}

analysis::MarginFault faultOf(OwnedBurst& burst, std::int32_t margin) {
    return analysis::findMarginFault(burst.view(), margin);
}

TEST(MarginFault, IsNoneForDataBetweenClockEdges) {
    OwnedBurst burst = clockAndData(16, 24, 32);
    EXPECT_EQ(faultOf(burst, 1).kind, analysis::MarginFault::Kind::none);
}

TEST(MarginFault, WithAMarginOfTwoIsMetAtTheFirstClockEdge) {
    OwnedBurst burst = clockAndData(16, 104, 112); // the first toggle after the skipped word is at 24
    const analysis::MarginFault fault = faultOf(burst, 2);
    EXPECT_EQ(fault.kind, analysis::MarginFault::Kind::clock);
    EXPECT_EQ(fault.word, 1U);
}

TEST(MarginFault, IsMetWhereDataChangeTwiceWithinAClockPhase) {
    OwnedBurst burst = clockAndData(16, 24, 32);
    burst.square(0, 24, 32);     // the clock loses every other edge from the start
    burst.burst.bitSamples = 15; // 15 unchanged samples lie between two changes 16 apart
    const analysis::MarginFault fault = faultOf(burst, 1);
    EXPECT_EQ(fault.kind, analysis::MarginFault::Kind::data);
    EXPECT_EQ(fault.word, 3U); // data at 32 and 48 between the clock's 24 and 56
}

TEST(MarginFault, IgnoresDataThatChangeAgainAtOnce) {
    // The second change comes within half a period of the first, as skewed pins do.
    OwnedBurst burst(3, 512);
    burst.burst.bitSamples = 16;
    burst.burst.oversampling = 32;
    burst.square(0, 24, 16);
    burst.square(1, 32, 16);
    burst.square(2, 34, 16);
    EXPECT_EQ(faultOf(burst, 1).kind, analysis::MarginFault::Kind::none);
}

TEST(MarginFault, LooksAtAllDataPins) {
    OwnedBurst burst(8, 64);
    burst.burst.bitSamples = 15;
    burst.burst.oversampling = 32;
    burst.square(0, 24, 32);
    burst.square(7, 32, 16);
    EXPECT_EQ(faultOf(burst, 1).kind, analysis::MarginFault::Kind::data);
}

} // namespace
