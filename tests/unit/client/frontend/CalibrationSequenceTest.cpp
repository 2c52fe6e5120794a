#include "tests/unit/client/frontend/CalibrationFixture.h"

#include <stdexcept>

// Steps of a calibration whose order shows in what they leave.

namespace client_test {
namespace {

using testing::HasSubstr;

/// A clock of 50 MHz that is high for 10 samples and low for 18, and data that change 4 samples after its rise.
bursts::OwnedBurst unevenClock() {
    bursts::OwnedBurst burst(5, 512);
    for (std::uint32_t s = 0; s < 8192; ++s) {
        burst.set(0, s, s % 28 < 10);
        for (std::uint32_t p = 1; p < 5; ++p) {
            burst.set(p, s, (s + 24) / 28 % 2 != 0);
        }
    }
    return burst;
}

TEST_F(CalibrationTest, ManualModeTakesItsMarginsAtTheFixedPositionNotAtTheUsers) {
    openChannel("calMode=manual\nsamplingPos=edge\n");
    measure(50000000);
    bursts::OwnedBurst burst = unevenClock();
    for (std::uint32_t p = 0; p < 5; ++p) {
        model.setBurst(p, burst.pins[p]);
    }
    channel->calibrate();
    // Hold: back to the last sample before the rise.
    EXPECT_THAT(readText(stem + ".cal.txt"), testing::ContainsRegex("Data 1.\r?\n.*\n.*\nmargin=-5,.6\r?\n"));
}

TEST_F(CalibrationTest, AnAttemptThatFailsAtItsMarginsHasMeasuredThemAndTheCorrelationBefore) {
    openChannel("verifyCal=false\n");
    rates({50e6});
    // One data pin for each 4 samples of a clock phase: pins that change everywhere leave no margin.
    model.onTrigger([](RegisterModel& unit) {
        bursts::OwnedBurst burst(5, 512);
        burst.square(0, 20, 14);
        for (std::uint32_t p = 1; p < 5; ++p) {
            burst.square(p, 18 + 3 * p, 14);
        }
        for (std::uint32_t p = 0; p < 5; ++p) {
            unit.setBurst(p, burst.pins[p]);
        }
    });
    auto& pins = inside().metrics().proc;
    for (std::uint32_t p = 1; p < 5; ++p) {
        pins[p].correlationAtZero = 7.0;
        pins[p].marginAfter = 77;
    }
    expectFailure([&] { channel->calibrate(); }, eCALIBRATE, "clock margin too low");
    const std::string report = readText(stem + ".freq0.cal.txt");
    EXPECT_THAT(report, HasSubstr(",1.000"));
    EXPECT_THAT(report, testing::Not(HasSubstr(",7.000")));
    EXPECT_THAT(report, testing::Not(HasSubstr(",+77")));
    EXPECT_LT(pins[4].correlationAtZero, 0.5);
}

TEST_F(CalibrationTest, TheCorrelationIsThatOfTheBurstBeforeTheClockMovesAndTheMarginsAreThoseAfter) {
    openChannel("verifyCal=false\n");
    rates({50e6});
    // The fifth burst is the one of the final setting: there pin 2 is the inverse of pin 1, and data change earlier.
    int taken = 0;
    model.onTrigger([&taken](RegisterModel& unit) {
        const bool last = ++taken == 5;
        bursts::OwnedBurst burst(5, 512);
        burst.square(0, 20, 14);
        for (std::uint32_t p = 1; p < 5; ++p) {
            burst.square(p, last ? 24 : 27, 28, last && p == 2);
        }
        for (std::uint32_t p = 0; p < 5; ++p) {
            unit.setBurst(p, burst.pins[p]);
        }
    });
    channel->calibrate();
    EXPECT_EQ(taken, 5);
    EXPECT_THAT(readText(stem + ".freq0.cal.txt"),
                testing::ContainsRegex("Data 2.\r?\n.*,1.000\r?\n.*\nmargin=-5,.10\r?\n"));
}

TEST_F(CalibrationTest, TheScanAsksForTheNumberOfSettingsBeforeItForgetsTheRates) {
    openChannel();
    rates({12e6, 25e6});
    calibrateAnyway();
    ASSERT_EQ(frequencies().size(), 2U);
    ON_CALL(transmitter, numFrequencySettings).WillByDefault([]() -> std::uint32_t {
        throw std::runtime_error("failed getting transmitter character");
    });
    EXPECT_THROW(channel->calibrate(), std::runtime_error);
    EXPECT_EQ(frequencies().size(), 2U);
}

// ---- the frame of a calibration ----

TEST_F(CalibrationTest, PinsAreResolvedAnewAtEachCalibration) {
    openChannel("calMode=manual\n");
    channel->setProperty("pinMap", "5,1,2,3,4");
    channel->calibrate();
    EXPECT_EQ(model.get(0x0800811E), 0x8700U);
    EXPECT_EQ(transmitter.properties["pins"], "5,1,2,3,4");
    channel->setProperty("pinMap", "0");
    expectFailure([&] { channel->calibrate(); }, eCONFIG,
                  "invalid pin settings, at least 1 clock and 1 data pin are required");
    // The stem is noted before the pins, so that the next calibration deletes these files whatever the stem is by then.
    writeText(stem + ".cal.txt", "left");
    channel->setProperty("file", (stem + "2").c_str());
    EXPECT_THROW(channel->calibrate(), Exception);
    EXPECT_FALSE(exists(stem + ".cal.txt"));
}

TEST_F(CalibrationTest, AManualCalibrationFixesThePositionOnlyOnceItHasABurst) {
    openChannel("calMode=manual\nsamplingPos=edge\n");
    model.setBurst(2, {}, false);
    expectFailure([&] { channel->calibrate(); }, eFAIL, "ovs fifo failed to fill");
    EXPECT_EQ(get("samplingPos"), "edge");
}

TEST_F(CalibrationTest, AManualCalibrationWritesItsReportBeforeItsBurst) {
    openChannel("calMode=manual\n");
    std::filesystem::create_directory(stem + ".cal.txt");
    writeText(stem + ".cal.txt/kept", "x");
    expectFailure([&] { channel->calibrate(); }, eFILE, stem + ".cal.txt");
    EXPECT_FALSE(exists(stem + ".cap.txt"));
}

TEST_F(CalibrationTest, TheCacheIsWrittenAnewAndBeforeTheTransmitterIsShutDown) {
    openChannel("calMode=manual\n");
    channel->calibrate();
    channel->setProperty("pinMap", "0,4,3,2,1");
    EXPECT_CALL(transmitter, shutdown).WillRepeatedly([this] {
        std::string text = readText(stem + ".cache");
        std::erase(text, '\r');
        EXPECT_EQ(text, "0,4,3,2,1\n");
    });
    channel->calibrate();
}

TEST_F(CalibrationTest, TheStemIsTheUsersAgainBeforeTheLastShutdown) {
    openChannel("verifyCal=false\n");
    rates({50e6});
    signals();
    std::string seen;
    ON_CALL(transmitter, shutdown).WillByDefault([&] { seen = get("file"); });
    channel->calibrate();
    EXPECT_EQ(seen, stem);
}

TEST_F(CalibrationTest, ProgressIsWholeBeforeTheCacheIsWritten) {
    openChannel("calMode=manual\n");
    std::filesystem::create_directory(stem + ".cache");
    double seen = -1;
    ON_CALL(transmitter, shutdown).WillByDefault([&] { seen = status().progress; });
    EXPECT_THROW(channel->calibrate(), Exception);
    EXPECT_EQ(seen, 1.0);
}

} // namespace
} // namespace client_test
