#include "tests/unit/client/frontend/CalibrationFixture.h"

#include <cmath>

// Measuring the transmitter's rates: order of requests, rungs, limits, texts.

namespace client_test {
namespace {

using testing::_;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Return;

TEST_F(CalibrationTest, MeasuringWritesTheWindowWaitsAndReadsTheCount) {
    openChannel();
    counts({0x0022E09E});
    EXPECT_DOUBLE_EQ(inside().measureFreq(), 0x0022E09E * 1.05e9 / (8 * 1e6 * 3));
    EXPECT_THAT(model.log(), ElementsAre("write 080080e0=4240 080080e2=000f", "read 080080f0 080080f2"));
    EXPECT_EQ(waits.last, 21U);
    EXPECT_EQ(status().exportFrequency, 0x0022E09E * 1.05e9 / (8 * 1e6 * 3));
}

TEST_F(CalibrationTest, MeasuringWaitsBetweenTheWindowAndTheCount) {
    openChannel();
    rate(50e6);
    waits.hook = [this](std::uint32_t) { EXPECT_THAT(model.log(), ElementsAre("write 080080e0=4240 080080e2=000f")); };
    inside().measureFreq();
    waits.hook = {};
    EXPECT_EQ(waits.sleeps, 1U);
}

TEST_F(CalibrationTest, MeasuringWithALongWindowWaitsForItAndCutsTheRegister) {
    openChannel("cpi=0x12345678\n");
    rate(50e6);
    inside().measureFreq();
    EXPECT_THAT(model.written(windowLow), ElementsAre(0x5678));
    EXPECT_THAT(model.written(windowHigh), ElementsAre(0x34));
    EXPECT_EQ(waits.last, static_cast<std::uint32_t>(1000 * (4.0 * 3 * 0x12345678 / 1.05e9)) + 10);
}

TEST_F(CalibrationTest, AStableClockIsMeasuredTwiceAtTheFirstRung) {
    openChannel();
    counts({countFor(50e6), countFor(50.1e6)});
    inside().measureAndVerifyFreq();
    EXPECT_THAT(debounces(), ElementsAre(4));
    EXPECT_EQ(model.get(0x0800811E), 0x8400U); // the pins of the settings, enabled
    EXPECT_EQ(model.get(0x08008106), 0x8500U);
    EXPECT_EQ(model.get(0x08008108), 0x0400U);
    EXPECT_NEAR(status().exportFrequency, 50.05e6, 100);
    EXPECT_NEAR(status().dataRate, 400.4e6, 800);
    EXPECT_EQ(waits.sleeps, 2U);
}

TEST_F(CalibrationTest, AClockIsMeasuredWithTheFullFilterWhateverTheUserAskedFor) {
    openChannel("filters=1,1,1,1,1\n");
    rate(50e6);
    inside().measureAndVerifyFreq();
    for (const std::uint32_t conditioning : model.written(0x0800813E)) {
        EXPECT_EQ(conditioning >> 12, 7U);
    }
}

TEST_F(CalibrationTest, AMeasurementThatNeverBeganLeavesNoRateOfEarlierWork) {
    openChannel();
    measure(33000000);
    model.failNext(Call::Write, "disconnected from server");
    EXPECT_THROW(inside().measureAndVerifyFreq(), std::runtime_error);
    EXPECT_EQ(status().exportFrequency, 0.0);
}

TEST_F(CalibrationTest, AClockThatSettlesIsMeasuredAgainAtTheSameRung) {
    openChannel();
    counts({1000000, 1100000, 1000000, 1100000, 1000000, 1000000});
    inside().measureAndVerifyFreq();
    EXPECT_THAT(debounces(), ElementsAre(4));
    EXPECT_EQ(waits.sleeps, 6U);
}

TEST_F(CalibrationTest, AClockThatSettlesAtALaterRungIsUsed) {
    openChannel();
    std::vector<std::uint32_t> values;
    for (int i = 0; i < 20; ++i) {
        values.push_back(i % 2 == 0 ? 1000000 : 1100000);
    }
    values.push_back(1200000);
    counts(values);
    inside().measureAndVerifyFreq();
    EXPECT_THAT(debounces(), ElementsAre(4, 5));
    EXPECT_EQ(waits.sleeps, 22U);
}

TEST_F(CalibrationTest, AnUnstableClockFailsAfterAllRungsWithTheLastPair) {
    openChannel();
    std::vector<std::uint32_t> values;
    for (int i = 0; i < 100; ++i) {
        values.push_back(i % 2 == 0 ? 1142857 : 1257143);
    }
    counts(values);
    expectFailure([&] { inside().measureAndVerifyFreq(); }, eXMTR,
                  "clock frequency not stable : frequencies=50.000 MHz, 55.000 MHz");
    EXPECT_THAT(debounces(), ElementsAre(4, 5, 6, 7, 8));
    EXPECT_EQ(waits.sleeps, 100U);
}

TEST_F(CalibrationTest, ARateThatTheUnitCannotCountFailsThoughItMayBeLow) {
    openChannel("cpi=10000000\n"); // a longer window resolves 10.9 Hz as well as anything
    channel->setProperty("cpi", "0xFFFFFFFF");
    counts({0});
    model.onRead(countLow, [] { return 1000u; });
    // 1000 counts over that window are 10.2 Hz.
    expectFailure([&] { inside().measureAndVerifyFreq(); }, eXMTR,
                  "the frequency measured exceeds hardware capabilities : frequencies=10.186 Hz, 10.186 Hz");
    EXPECT_THAT(debounces(), ElementsAre(4, 5, 6, 7, 8));
    channel->setProperty("cpi", "1000000");
    rate(360e6);
    expectFailure([&] { inside().measureAndVerifyFreq(); }, eXMTR,
                  "the frequency measured exceeds hardware capabilities : frequencies=360.000 MHz, 360.000 MHz");
}

TEST_F(CalibrationTest, NoClockFailsAtTheFirstRungAndLeavesItsFiles) {
    openChannel("delays=9,9,9,9,9\n");
    counts({0});
    expectFailure([&] { inside().measureAndVerifyFreq(); }, eCALIBRATE,
                  "no signal on clock : check external pin configuration and clock circuit connection");
    EXPECT_THAT(debounces(), ElementsAre(4));
    EXPECT_THAT(readText(stem + ".cap.txt"), testing::HasSubstr("delay=9,")); // the user's, not the measurement's own
    const auto lines = model.log();
    EXPECT_EQ(std::count(lines.begin(), lines.end(), registerDumpLine), 2); // with the settings, and after the failure
}

TEST_F(CalibrationTest, AWindowOfNothingEndsInAStatedFailureWhenAnythingWasCounted) {
    openChannel("cpi=0\n");
    counts({5});
    ON_CALL(transmitter, numFrequencySettings).WillByDefault(Return(1u));
    expectFailure([&] { channel->calibrate(); }, eCALIBRATE,
                  "all transmitter frequencies are too fast, changing the PLL setting may help"
                  " : transmitter frequency measured at inf YHz");
    EXPECT_EQ(waits.last, 10U);
}

TEST_F(CalibrationTest, AWindowOfNothingWithoutACountIsCarriedOn) {
    openChannel("cpi=0\n");
    counts({0});
    inside().measureAndVerifyFreq();
    EXPECT_TRUE(std::isnan(status().exportFrequency));
    EXPECT_EQ(waits.sleeps, 20U);
}

TEST_F(CalibrationTest, TheScanKeepsTheRatesInTheirOrderAndLogsThem) {
    openChannel();
    rates({12e6, 25e6, 50e6});
    LogCapture log;
    calibrateAnyway();
    EXPECT_THAT(frequencies(), ElementsAre(testing::DoubleNear(12e6, 50), testing::DoubleNear(25e6, 50),
                                           testing::DoubleNear(50e6, 50)));
    const auto steps = log.steps();
    EXPECT_THAT(steps, testing::IsSupersetOf({std::string("numFrequencySettings=3"),
                                              std::string("setting 0 measured at 1.20000e+07 Hz"),
                                              std::string("setting 2 measured at 5.00000e+07 Hz"),
                                              std::string("succeeded with 3 possible settings")}));
    std::vector<std::string> transmitted = model.log();
    std::erase_if(transmitted, [](const std::string& line) {
        return !line.starts_with("transmitter shutdown") && !line.starts_with("transmitter program");
    });
    ASSERT_GT(transmitted.size(), 6U);
    transmitted.resize(6); // the attempts follow
    EXPECT_THAT(transmitted, ElementsAre("transmitter shutdown", "transmitter program calibration 0",
                                         "transmitter shutdown", "transmitter program calibration 1",
                                         "transmitter shutdown", "transmitter program calibration 2"));
}

TEST_F(CalibrationTest, TheScanEndsAtTheFirstSettingOverALimit) {
    openChannel();
    rates({100e6, 121e6, 50e6});
    LogCapture log;
    calibrateAnyway();
    EXPECT_EQ(frequencies().size(), 1U);
    EXPECT_THAT(log.steps(), testing::Contains("setting 1 exceeds frequency limits"));
    EXPECT_THAT(log.steps(), testing::Contains("succeeded with 1 possible settings"));
}

TEST_F(CalibrationTest, TheScanEndsAtTheFirstSettingThatFailsAndKeepsTheOthers) {
    openChannel();
    rates({12e6, 0.0, 50e6});
    LogCapture log;
    calibrateAnyway();
    EXPECT_EQ(frequencies().size(), 1U);
    EXPECT_THAT(log.steps(), testing::Contains("exception programming transmitter to frequency setting 1"));
}

TEST_F(CalibrationTest, TheTextOfAMeasurementThatFailsIsNotLogged) {
    // Counts that never agree, and counts of a rate that is too high.
    for (const std::vector<std::uint32_t>& values :
         {std::vector<std::uint32_t>{1142857, 1257143}, std::vector<std::uint32_t>{countFor(360e6)}}) {
        openChannel();
        std::vector<std::uint32_t> hundred;
        for (std::size_t i = 0; i < 100; ++i) {
            hundred.push_back(values[i % values.size()]);
        }
        counts(hundred);
        LogCapture log;
        EXPECT_THROW(channel->calibrate(), Exception);
        const auto steps = log.steps();
        EXPECT_THAT(steps, testing::Contains("exception programming transmitter to frequency setting 0"));
        EXPECT_THAT(steps, testing::Contains(testing::StartsWith("debounce 8 : ")));
        EXPECT_THAT(steps, testing::Each(testing::Not(testing::HasSubstr("frequencies="))));
        EXPECT_THAT(steps, testing::Each(testing::Not(testing::StartsWith("setting 0 not used"))));
    }
}

TEST_F(CalibrationTest, TheLogTellsOfASettingWithoutAClockAndOfOneThatCannotBeProgrammed) {
    openChannel();
    rates({0.0});
    LogCapture log;
    EXPECT_THROW(channel->calibrate(), Exception);
    EXPECT_THAT(log.steps(), testing::Contains("setting 0 not used : eCALIBRATE(12) : failed to calibrate channel : no "
                                               "signal on clock : check external pin configuration and clock circuit "
                                               "connection"));
    ON_CALL(transmitter, program).WillByDefault([](const char*, std::uint32_t) {
        throw Exception("orv_client_transmitter", 1, eXMTR, "failed applying frequency setting");
    });
    EXPECT_THROW(channel->calibrate(), Exception);
    EXPECT_THAT(log.steps(), testing::Contains("setting 0 not used : eXMTR:(11) : transmitter failure : failed "
                                               "applying frequency setting"));
}

TEST_F(CalibrationTest, TheScanTakesAnyExceptionAsItsEnd) {
    openChannel();
    ON_CALL(transmitter, numFrequencySettings).WillByDefault(Return(3u));
    rate(12e6);
    EXPECT_CALL(transmitter, program(_, 0u)).Times(testing::AtLeast(1));
    EXPECT_CALL(transmitter, program(_, 1u)).WillOnce([](const char*, std::uint32_t) { throw 7; });
    const LogCapture log;
    calibrateAnyway();
    EXPECT_THAT(log.steps(), testing::Contains("exception programming transmitter to frequency setting 1"));
    EXPECT_EQ(frequencies().size(), 1U);
}

TEST_F(CalibrationTest, TheHighestRateItselfIsUsableWithFourDataPins) {
    // A window that resolves single hertz, so that 1.2e8 is met exactly: count x P / (8 x cpi x divider).
    openChannel("cpi=43750000\n"); // 1 Hz per count
    counts({120000000});
    ON_CALL(transmitter, numFrequencySettings).WillByDefault(Return(1u));
    calibrateAnyway();
    EXPECT_THAT(frequencies(), ElementsAre(1.2e8));
    EXPECT_EQ(status().dataRate, 9.6e8);
    counts({120000001});
    expectFailure([&] { channel->calibrate(); }, eCALIBRATE,
                  "all transmitter frequencies are too fast, changing the PLL setting may help"
                  " : transmitter frequency measured at 120.0 MHz");
}

TEST_F(CalibrationTest, TheHighestRateWithFiveDataPinsIsTooManyBits) {
    configure("pinMap=0,1,2,3,4,5\ncpi=43750000\n");
    channel->applySettings();
    counts({120000000});
    expectFailure([&] { channel->calibrate(); }, eCALIBRATE,
                  "data rate exceeds bandwidth, reducing the number of pins may help"
                  " : transmitter frequency measured at 120.0 MHz");
    EXPECT_THAT(frequencies(), IsEmpty());
    EXPECT_TRUE(exists(stem + ".reg.txt"));
    EXPECT_TRUE(exists(stem + ".cal.txt"));
    EXPECT_TRUE(exists(stem + ".cap.txt"));
}

TEST_F(CalibrationTest, NoClockAtTheFirstSettingReportsNoRate) {
    openChannel();
    rates({0.0, 12e6});
    expectFailure([&] { channel->calibrate(); }, eCALIBRATE, "transmitter frequency measured at 0 Hz");
    const auto lines = model.log();
    EXPECT_EQ(std::count(lines.begin(), lines.end(), registerDumpLine),
              4); // the user's, two of the measurement, the scan's
}

TEST_F(CalibrationTest, ATransmitterWithoutSettingsReportsTheRateOfEarlierWork) {
    openChannel();
    ON_CALL(transmitter, numFrequencySettings).WillByDefault(Return(0u));
    measure(33300000);
    expectFailure([&] { channel->calibrate(); }, eCALIBRATE, "transmitter frequency measured at 33.3 MHz");
}

TEST_F(CalibrationTest, TheReasonForNoSettingAtAllFollowsFromTheLastRateAtEachOfItsBounds) {
    openChannel();
    ON_CALL(transmitter, numFrequencySettings).WillByDefault(Return(0u));
    const double justAbove = HUGE_VAL;
    const std::string measured = "transmitter frequency measured at ";
    const std::string tooFast = "all transmitter frequencies are too fast, changing the PLL setting may help : ";
    const std::string tooMany = "data rate exceeds bandwidth, reducing the number of pins may help : ";
    const std::vector<std::pair<std::pair<double, double>, std::string>> rows{
        {{0.0, 0.0}, measured + "0 Hz"},
        {{1.0, 0.0}, measured + "0 Hz"},
        {{std::nextafter(1.0, justAbove), 0.0}, measured + "1.0 Hz"},
        {{50e6, 9.6e8}, measured + "50.0 MHz"},
        {{50e6, std::nextafter(9.6e8, justAbove)}, tooMany + measured + "50.0 MHz"},
        {{1.2e8, 9.6e8}, measured + "120.0 MHz"},
        {{1.2e8, std::nextafter(9.6e8, justAbove)}, tooMany + measured + "120.0 MHz"},
        {{std::nextafter(1.2e8, justAbove), 9.6e8}, tooFast + measured + "120.0 MHz"},
        {{std::nextafter(1.2e8, justAbove), 2e9}, tooFast + measured + "120.0 MHz"},
        {{std::nan(""), std::nan("")}, measured + "0 Hz"},
    };
    auto& clocking = inside().clocking(); // no counter meets these bounds
    for (const auto& [rates, text] : rows) {
        clocking.exportFrequency = rates.first;
        clocking.dataRate = rates.second;
        expectFailure([&] { channel->calibrate(); }, eCALIBRATE, text);
    }
}

TEST_F(CalibrationTest, TheStartIsTheFastestRateBelowTheLimit) {
    openChannel("verifyCal=false\n");
    rates({12e6, 25e6, 50e6});
    signals();
    const auto startingAt = [this](const char* setting) {
        const LogCapture log;
        calibrateAnyway();
        EXPECT_THAT(log.steps(), testing::Contains(testing::StartsWith(std::string("starting at ") + setting)));
    };
    startingAt("freq2 (");
    channel->setProperty("frequencyLimit", "2.6e7");
    startingAt("freq1 (");
    channel->setProperty("frequencyLimit", "2.5e7"); // the rate itself is not below it
    startingAt("freq0 (");
    channel->setProperty("frequencyLimit", "1e6");
    startingAt("freq0 (");
}

} // namespace
} // namespace client_test
