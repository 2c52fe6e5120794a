#include "diagnosis/margin/LaneEye.h"
#include "tests/unit/diagnosis/margin/SimulatedLanes.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <map>
#include <vector>

namespace diagnosis {
namespace {

struct Scanned {
    EyeScanResult result;
    std::vector<LaneEye> eyes;
};

Scanned scan(const ScanPlan& plan, const MeasureTap& measure) {
    Scanned scanned{scanEyes(plan, measure), {}};
    for (std::size_t i = 0; i < scanned.result.lanes.size(); ++i) {
        scanned.eyes.push_back(eyeOf(static_cast<unsigned>(i), scanned.result.lanes[i], plan));
    }
    return scanned;
}

Scanned scan(const std::vector<SimulatedLane>& lanes, const Delays& kept, std::uint64_t seed = 1) {
    const ScanPlan plan = planFor(lanes, kept);
    SimulatedLanes target(plan, lanes, seed);
    return scan(plan, [&](const Delays& delays, std::uint64_t bits) { return target.measure(delays, bits); });
}

TEST(MovedDelays, MoveTheClockFirstAndThenAllLanes) {
    ScanPlan plan;
    plan.kept = {4, {0, 3}};
    EXPECT_EQ(movedBy(plan, 3).delays, (Delays{7, {0, 3}}));
    EXPECT_EQ(movedBy(plan, -6).delays, (Delays{0, {2, 5}}));
    const MovedDelays late = movedBy(plan, 29);
    EXPECT_EQ(late.delays, (Delays{31, {0, 1}}));
    EXPECT_EQ(late.follows, (std::vector<bool>{false, true}));
    const MovedDelays early = movedBy(plan, -33);
    EXPECT_EQ(early.delays, (Delays{0, {29, 31}}));
    EXPECT_EQ(early.follows, (std::vector<bool>{true, false}));
}

TEST(EyeScan, FindsEveryWallToASample) {
    const std::vector<SimulatedLane> lanes{{5.3, 7.1, 0.3}, {4.8, 6.4, 0.5}, {6.0, 5.2, 0.1}, {5.5, 6.6, 1.0}};
    const Scanned scanned = scan(lanes, {10, {3, 2, 0, 1}});
    ASSERT_EQ(scanned.eyes.size(), 4U);
    constexpr double deviations = 3.09; // at 1e-3
    for (std::size_t i = 0; i < lanes.size(); ++i) {
        const LaneEye& eye = scanned.eyes[i];
        ASSERT_TRUE(eye.setup.margin && eye.hold.margin) << i;
        EXPECT_NEAR(*eye.setup.margin, lanes[i].setup - deviations * lanes[i].jitter, 1.0) << i;
        EXPECT_NEAR(*eye.hold.margin, lanes[i].hold - deviations * lanes[i].jitter, 1.0) << i;
        EXPECT_EQ(eye.keptErrors, 0U);
    }
    EXPECT_FALSE(scanned.result.interrupted);
}

TEST(EyeScan, ClaimsAWideTailAndOnlyBoundsASharpOne) {
    const std::vector<SimulatedLane> lanes{{9.0, 9.0, 1.0}, {9.0, 9.0, 0.1}};
    const Scanned scanned = scan(lanes, {15, {0, 0}});
    EXPECT_EQ(scanned.eyes[0].setup.state, WallState::Extrapolated);
    ASSERT_TRUE(scanned.eyes[0].widthAt1e9());
    EXPECT_NEAR(*scanned.eyes[0].widthAt1e9(), 18.0 - 2.0 * 5.998, 0.15 * 6.0);
    EXPECT_EQ(scanned.eyes[1].setup.state, WallState::BoundOnly);
    EXPECT_FALSE(scanned.eyes[1].widthAt1e9());
}

TEST(EyeScan, MarksAWallOutOfRangeAsCutOff) {
    const Scanned scanned = scan({{5.0, 9.0, 0.3}, {5.0, 9.0, 0.3}}, {27, {0, 2}});
    EXPECT_EQ(scanned.eyes[0].hold.state, WallState::Clipped);
    EXPECT_EQ(scanned.eyes[0].hold.margin, 4.0); // the least that it is
    EXPECT_TRUE(scanned.eyes[0].isCut());
    EXPECT_EQ(scanned.eyes[1].hold.margin, 6.0); // its own delay reaches further
    EXPECT_EQ(scanned.eyes[0].setup.state, WallState::BoundOnly);
}

TEST(EyeScan, DoesNotTakeTheNextSlotForItsOwn) {
    // All walls between the same two taps and no jitter to speak of: no tap has an error.
    const Scanned scanned = scan({{5.4, 5.4, 0.01}, {5.4, 5.4, 0.01}, {5.4, 5.4, 0.01}}, {12, {0, 0, 0}});
    for (const LaneEye& eye : scanned.eyes) {
        EXPECT_EQ(eye.cleanTaps(), 11);
        EXPECT_NEAR(*eye.setup.margin, 5.4, 0.6);
        EXPECT_NEAR(*eye.hold.margin, 5.4, 0.6);
    }
}

TEST(EyeScan, ALaneThatFollowsLaterIsNotBlamedForTheOthers) {
    const Scanned scanned =
        scan({{6.5, 4.4, 0.05}, {6.5, 4.4, 0.05}, {6.5, 4.4, 0.05}, {6.5, 6.4, 0.05}}, {12, {0, 0, 0, 0}});
    EXPECT_NEAR(*scanned.eyes[0].hold.margin, 4.4, 1.0);
    EXPECT_NEAR(*scanned.eyes[3].hold.margin, 6.4, 1.0);
}

TEST(EyeScan, JitterOfTheOppositeWallIsNotTakenForTheNextSlot) {
    // With so much jitter the setup wall still spoils a few bits past the kept values.
    const std::vector<SimulatedLane> lanes{{3.3, 13.0, 1.0}, {3.4, 13.0, 1.0}, {5.0, 13.0, 1.0}, {3.3, 13.0, 1.0}};
    for (const bool hasBurst : {true, false}) {
        ScanPlan plan = planFor(lanes, {10, {0, 0, 0, 0}});
        if (!hasBurst) {
            plan.expected.clear();
        }
        for (std::uint64_t seed = 1; seed <= 20; ++seed) {
            SimulatedLanes target(plan, lanes, seed);
            const Scanned scanned =
                scan(plan, [&](const Delays& delays, std::uint64_t bits) { return target.measure(delays, bits); });
            for (const LaneEye& eye : scanned.eyes) {
                ASSERT_TRUE(eye.hold.margin);
                EXPECT_NEAR(*eye.hold.margin, 13.0 - 3.09 * 1.0, 1.0) << seed << (hasBurst ? "" : ", without a burst");
            }
        }
    }
}

TEST(EyeScan, AWallFarFromWhereTheBurstShowsItIsUnstable) {
    const std::vector<SimulatedLane> lanes{{8.0, 6.0, 0.3}};
    ScanPlan plan = planFor(lanes, {15, {0}});
    plan.expected[0]->hold = 9.5;
    SimulatedLanes target(plan, lanes, 1);
    const Scanned scanned =
        scan(plan, [&](const Delays& delays, std::uint64_t bits) { return target.measure(delays, bits); });
    EXPECT_EQ(scanned.eyes[0].hold.state, WallState::Unstable);
    EXPECT_EQ(scanned.eyes[0].setup.state, WallState::BoundOnly);
}

TEST(EyeScan, ErrorsAtTheKeptValuesCloseTheEye) {
    const Scanned scanned = scan({{6.0, 0.3, 0.5}, {6.0, 6.0, 0.3}}, {12, {0, 0}});
    EXPECT_EQ(scanned.eyes[0].hold.state, WallState::Closed);
    EXPECT_NE(scanned.eyes[0].keptErrors, 0U);
    EXPECT_EQ(scanned.eyes[0].cleanTaps(), 0);
    EXPECT_EQ(scanned.eyes[1].hold.state, WallState::BoundOnly);
}

TEST(EyeScan, AWallThatMovesMeanwhileIsUnstable) {
    const std::vector<SimulatedLane> lanes{{8.0, 8.0, 0.8}};
    const ScanPlan plan = planFor(lanes, {15, {0}});
    SimulatedLanes target(plan, lanes, 3);
    int recordings = 0;
    const Scanned scanned = scan(plan, [&](const Delays& delays, std::uint64_t bits) {
        target.drift = ++recordings > 25 ? -1.0 : 0.0;
        return target.measure(delays, bits);
    });
    EXPECT_EQ(scanned.eyes[0].setup.state, WallState::Unstable);
    EXPECT_NE(scanned.eyes[0].hold.state, WallState::Unstable);
}

TEST(EyeScan, AnInterruptionLeavesWhatWasMeasured) {
    const std::vector<SimulatedLane> lanes{{5.0, 5.0, 0.3}};
    const ScanPlan plan = planFor(lanes, {12, {0}});
    SimulatedLanes target(plan, lanes, 1);
    int recordings = 0;
    const Scanned scanned = scan(plan, [&](const Delays& delays, std::uint64_t bits) -> std::optional<TapCount> {
        return ++recordings > 3 ? std::nullopt : std::optional(target.measure(delays, bits));
    });
    EXPECT_TRUE(scanned.result.interrupted);
    EXPECT_EQ(scanned.result.lanes[0].taps.size(), 3U);
    EXPECT_EQ(scanned.eyes[0].setup.state, WallState::NotMeasured);
    EXPECT_EQ(scanned.eyes[0].setup.margin, 2.0);
}

TEST(EyeScan, CountsInFullOnlyWhereItDecides) {
    const std::vector<SimulatedLane> lanes{{9.0, 9.0, 0.4}};
    const ScanPlan plan = planFor(lanes, {15, {0}});
    SimulatedLanes target(plan, lanes, 1);
    scan(plan, [&](const Delays& delays, std::uint64_t bits) { return target.measure(delays, bits); });
    EXPECT_LT(target.recorded, 6 * plan.wallBits); // of about 20 taps
}

/// A sharp wall has taps without an error and taps past it, no others.
TEST(EyeScan, ATapWithoutAnErrorIsCountedInOneFurtherRecording) {
    const std::vector<SimulatedLane> lanes{{4.2, 4.2, 0.01}};
    ScanPlan plan = planFor(lanes, {15, {0}});
    plan.wallBits = 34 * plan.coarseBits;
    SimulatedLanes target(plan, lanes, 1);
    std::map<unsigned, unsigned> recordings; // by the clock's delay
    const Scanned scanned = scan(plan, [&](const Delays& delays, std::uint64_t bits) {
        ++recordings[delays.clock];
        return target.measure(delays, bits);
    });
    EXPECT_EQ(recordings[11], 2U);
    EXPECT_EQ(recordings[19], 2U);
    for (const LaneTap& tap : scanned.result.lanes[0].taps) {
        if (std::abs(tap.offset) == 4) {
            EXPECT_EQ(tap.bits, plan.wallBits) << tap.offset;
        }
    }
}

} // namespace
} // namespace diagnosis
