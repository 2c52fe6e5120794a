#include "tests/unit/client/frontend/CalibrationFixture.h"

// What the channel makes of the analysis of a burst.

namespace client_test {
namespace {

TEST_F(CalibrationTest, AnUnknownDeskewStrategyIsRefused) {
    openChannel();
    Metrics unused;
    expectFailure([&] { inside().align(unused, 2); }, eFAIL, "invalid software state");
}

TEST_F(CalibrationTest, WithDataAtTheClocksEdgesTheClockGoesHalfAPeriodLater) {
    openChannel();
    measure(50000000); // 28 samples
    channel->setProperty("samplingPos", "edge");
    Metrics m;
    m.proc[0].delay = 2;
    inside().align(m, 1);
    EXPECT_EQ(m.proc[0].delay, 16);
    channel->setProperty("samplingPos", "center");
    inside().align(m, 1);
    EXPECT_EQ(m.proc[0].delay, 16);
}

TEST_F(CalibrationTest, ABurstWithoutDataEdgesHasNoSamplingPosition) {
    openChannel();
    measure(50000000);
    expectFailure([&] { inside().detectSamplingPosition(); }, eCALIBRATE, "unable to detect sampling position");
    EXPECT_EQ(get("samplingPos"), "detect");
}

TEST_F(CalibrationTest, MarginsThatAreTooLowLeaveTheDelaysAlone) {
    openChannel();
    measure(50000000); // needs 9
    Metrics m;
    for (std::uint32_t p = 1; p < 5; ++p) {
        m.proc[p].marginBefore = 4;
        m.proc[p].marginAfter = 4;
    }
    m.proc[0].delay = 3;
    expectFailure([&] { inside().adjustClockDelay(m); }, eCALIBRATE, "clock margin too low");
    EXPECT_EQ(m.proc[0].delay, 3);
}

TEST_F(CalibrationTest, AMarginFailureLeavesItsBurstAndNamesTheWord) {
    openCalibrated();
    bursts::OwnedBurst burst(5, 512);
    burst.square(0, 100, 14);
    for (std::uint32_t p = 0; p < 5; ++p) {
        model.setBurst(p, burst.pins[p]);
    }
    measure(50000000);
    const Cal cal;
    inside().verifyOvsMargin(cal, 1);
    EXPECT_FALSE(exists(stem + ".err.cap.txt"));
    expectFailure([&] { inside().verifyOvsMargin(cal, 2); }, eOVS, "oversampling clock margin failure at index 1");
    EXPECT_TRUE(exists(stem + ".err.cap.txt"));
    EXPECT_FALSE(exists(stem + ".cap.txt"));
    burst.square(0, 100, 1000);
    burst.square(3, 110, 20);
    for (std::uint32_t p = 0; p < 5; ++p) {
        model.setBurst(p, burst.pins[p]);
    }
    measure(50000000);
    expectFailure([&] { inside().verifyOvsMargin(cal, 1); }, eOVS, "oversampling data margin failure at index 8");
}

TEST_F(CalibrationTest, ARecordingIsWatchedForTheMarginOfTheSettings) {
    for (const auto& [margin, failure] : {std::pair("1", ""), {"2", "oversampling clock margin failure at index 1"}}) {
        openCalibrated(std::string("ovsMargin=") + margin + "\n");
        measure(50000000);
        bursts::OwnedBurst burst(5, 512);
        burst.square(0, 24, 14);
        model.setBurst(0, burst.pins[0]);
        beginRecording();
        waits.hook = [this](std::uint32_t) { channel->stop(); };
        channel->run();
        waits.hook = {};
        EXPECT_THAT(status().errorText, testing::EndsWith(failure)) << margin;
        EXPECT_EQ(state(), *failure == '\0' ? Stopped : Failed);
    }
}

TEST_F(CalibrationTest, AMarginBelowZeroIsWatchedToo) {
    openCalibrated("ovsMargin=-1\n");
    beginRecording();
    model.clearLog();
    waits.hook = [this](std::uint32_t) { channel->stop(); };
    channel->run();
    waits.hook = {};
    EXPECT_THAT(model.written(0x08008206), testing::ElementsAre(0x001F, 0x801F, 0));
}

TEST_F(CalibrationTest, MarginsAreTakenHalfAPeriodEarlierOnlyAtTheEdgeAndBeforeTheClockHasMoved) {
    openChannel();
    measure(50000000);
    bursts::OwnedBurst burst(5, 512);
    for (std::uint32_t s = 0; s < 8192; ++s) { // a clock that is high for 10 samples and low for 18
        burst.set(0, s, s % 28 < 10);
        burst.set(1, s, (s + 24) / 28 % 2 != 0); // changes 4 samples after its rise
    }
    for (std::uint32_t p = 0; p < 5; ++p) {
        model.setBurst(p, burst.pins[p]);
    }
    measure(50000000);
    const struct {
        const char* position;
        std::int32_t clockDelay;
        std::uint32_t before;
    } cases[] = {{"edge", 0, 9}, {"edge", 5, 5}, {"center", 0, 5}, {"detect", 0, 5}, {"detect", 5, 5}};
    for (const auto& one : cases) {
        channel->setProperty("samplingPos", one.position);
        Metrics m;
        m.proc[0].delay = one.clockDelay;
        inside().findMargin(m);
        EXPECT_EQ(m.proc[1].marginBefore, one.before) << one.position << " " << one.clockDelay;
    }
}

TEST_F(CalibrationTest, AligningWithTheClockTakesTheMarginsOfTheBurst) {
    openChannel();
    measure(50000000);
    channel->setProperty("samplingPos", "center");
    bursts::OwnedBurst burst(5, 512);
    burst.square(0, 20, 14);
    for (std::uint32_t p = 1; p < 5; ++p) {
        burst.square(p, p == 2 ? 24 : 28, 28);
    }
    for (std::uint32_t p = 0; p < 5; ++p) {
        model.setBurst(p, burst.pins[p]);
    }
    measure(50000000);
    Metrics m; // without margins
    inside().align(m, 0);
    EXPECT_EQ(m.proc[2].marginBefore, 5U);
    EXPECT_EQ(m.proc[1].marginBefore, 9U);
    EXPECT_EQ(m.proc[2].delay - m.proc[1].delay, 5) << "3 later and 2 earlier, each half of 5 and 3 samples";
}

TEST_F(CalibrationTest, TheClockIsCentredByTheMarginsOfTheReferencePin) {
    openChannel();
    measure(50000000);
    inside().settings().referencePin = 2; // no property sets it
    Metrics m;
    for (std::uint32_t p = 1; p < 5; ++p) {
        m.proc[p].marginBefore = 6;
        m.proc[p].marginAfter = 6;
    }
    m.proc[2].marginBefore = 12;
    inside().adjustClockDelay(m);
    EXPECT_EQ(m.proc[0].delay, 3);
}

} // namespace
} // namespace client_test
