#include "tests/unit/client/calibration_fixture.h"

// What the channel makes of the analysis of a burst.

namespace client_test {
namespace {

TEST_F(CalibrationTest, AnUnknownDeskewStrategyIsRefused) {
    openChannel();
    expectFailure([&] { inside().align(inside().metrics(), 2); }, eFAIL, "invalid software state");
}

TEST_F(CalibrationTest, WithDataAtTheClocksEdgesTheClockGoesHalfAPeriodLater) {
    openChannel();
    inside().applyFrequencyChange(50e6); // 28 samples
    inside().settings().samplingPos = "edge";
    Metrics m;
    m.proc[0].delay = 2;
    inside().align(m, 1);
    EXPECT_EQ(m.proc[0].delay, 16);
    inside().settings().samplingPos = "center";
    inside().align(m, 1);
    EXPECT_EQ(m.proc[0].delay, 16);
}

TEST_F(CalibrationTest, ABurstWithoutDataEdgesHasNoSamplingPosition) {
    openChannel();
    inside().applyFrequencyChange(50e6);
    expectFailure([&] { inside().detectSamplingPosition(); }, eCALIBRATE, "unable to detect sampling position");
    EXPECT_EQ(inside().settings().samplingPos, "detect");
}

TEST_F(CalibrationTest, MarginsThatAreTooLowLeaveTheDelaysAlone) {
    openChannel();
    inside().applyFrequencyChange(50e6); // needs 9
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
    inside().applyFrequencyChange(50e6);
    bursts::OwnedBurst burst(5, 512);
    burst.square(0, 100, 14);
    for (std::uint32_t p = 0; p < 5; ++p) {
        model.setBurst(p, burst.pins[p]);
    }
    inside().captureOvs();
    inside().verifyOvsMargin(inside().cal(), 1);
    EXPECT_FALSE(exists(stem + ".err.cap.txt"));
    expectFailure([&] { inside().verifyOvsMargin(inside().cal(), 2); }, eOVS,
                  "oversampling clock margin failure at index 1");
    EXPECT_TRUE(exists(stem + ".err.cap.txt"));
    EXPECT_FALSE(exists(stem + ".cap.txt"));
    burst.square(0, 100, 1000);
    burst.square(3, 110, 20);
    for (std::uint32_t p = 0; p < 5; ++p) {
        model.setBurst(p, burst.pins[p]);
    }
    inside().captureOvs();
    expectFailure([&] { inside().verifyOvsMargin(inside().cal(), 1); }, eOVS,
                  "oversampling data margin failure at index 8");
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

} // namespace
} // namespace client_test
