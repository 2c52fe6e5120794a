#include "tests/unit/client/frontend/CalibrationFixture.h"

#include <atomic>
#include <chrono>
#include <thread>

// Whole calibrations over a model of the unit: their order, their ways out, their log.

namespace client_test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Return;

TEST_F(CalibrationTest, ManualModeMeasuresNoFrequencyAndFixesThePosition) {
    openChannel("calMode=manual\nsamplingPos=edge\n");
    measure(17000000);
    rates({50e6});
    channel->calibrate();
    EXPECT_EQ(status().state, Calibrated);
    EXPECT_EQ(status().exportFrequency, 17e6);
    EXPECT_EQ(get("samplingPos"), "center");
    EXPECT_THAT(model.written(windowLow), IsEmpty());
    EXPECT_TRUE(exists(stem + ".cal.txt"));
    EXPECT_TRUE(exists(stem + ".cap.txt"));
    EXPECT_EQ(logWithoutDumps().back(), "transmitter shutdown");
    EXPECT_EQ(logWithoutDumps().front(), "write 08008206=0000 08008206=0800 08008206=0000");
    EXPECT_THAT(model.written(0x08008020), ElementsAre(0x800F));
}

TEST_F(CalibrationTest, TpiuliteIsAlwaysManualWithTheLatestClock) {
    transmitter.properties["drmXmtr"] = "tpiulite";
    openChannel("calMode=automatic\ndelays=1,2,3,4,5\nfilters=1,1,1,1,1\n");
    channel->calibrate();
    EXPECT_EQ(get("calMode"), "manual");
    EXPECT_THAT(readText(stem + ".cal.txt"), testing::HasSubstr("delays=31,0,0,0,0"));
    EXPECT_THAT(readText(stem + ".cal.txt"), testing::HasSubstr("filters=7,7,7,7,7"));
    EXPECT_EQ(model.get(0x0800811E) & 0xFF, 31U);
    EXPECT_EQ(state(), Calibrated);
}

TEST_F(CalibrationTest, TheCacheHoldsThePinMap) {
    openChannel("calMode=manual\n");
    channel->calibrate();
    std::string text = readText(stem + ".cache");
    std::erase(text, '\r');
    EXPECT_EQ(text, "0,1,2,3,4\n");
}

TEST_F(CalibrationTest, ACacheThatCannotBeWrittenFailsWithItsPathAndLeavesTheState) {
    openChannel("calMode=manual\n");
    std::filesystem::create_directory(stem + ".cache");
    expectFailure([&] { channel->calibrate(); }, eFILE, stem + ".cache");
    EXPECT_EQ(status().state, Uncalibrated);
}

TEST_F(CalibrationTest, ACallFromWithinIsLoggedAndIgnored) {
    openChannel("calMode=manual\n");
    LogCapture log;
    bool called = false;
    waits.hook = {};
    EXPECT_CALL(transmitter, shutdown).WillOnce([&] {
        called = true;
        ChannelMetrics m;
        channel->status(m);
        EXPECT_EQ(m.state, Calibrating);
        channel->calibrate();
    });
    channel->calibrate();
    EXPECT_TRUE(called);
    EXPECT_THAT(log.steps(), testing::Contains("already in progress, call ignored"));
    EXPECT_EQ(state(), Calibrated);
    EXPECT_TRUE(lockIsFree());
}

TEST_F(CalibrationTest, TheLockIsHeldFromBeginningToEnd) {
    openChannel("verifyCal=false\n");
    rates({50e6});
    signals();
    std::atomic<bool> stopped{false};
    std::thread other;
    unsigned looked = 0;
    ON_CALL(transmitter, shutdown).WillByDefault([&] {
        if (looked++ == 0) {
            other = std::thread([&] {
                channel->stop(); // needs the lock
                stopped = true;
            });
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20)); // a chance to slip in
        EXPECT_FALSE(stopped) << looked;
    });
    channel->calibrate();
    other.join();
    EXPECT_EQ(looked, 3U); // scan, attempt, and the very end
    EXPECT_TRUE(stopped);
}

TEST_F(CalibrationTest, ACallFromWithinAnAttemptIsIgnoredButItsStemStays) {
    openChannel("verifyCal=false\n");
    rates({50e6});
    signals();
    bool called = false;
    ON_CALL(transmitter, shutdown).WillByDefault([&] {
        if (!called && get("file") == stem + ".freq0") {
            called = true;
            channel->calibrate();
        }
    });
    channel->calibrate();
    EXPECT_TRUE(called);
    EXPECT_EQ(state(), Calibrated);
    EXPECT_EQ(get("file"), stem + ".freq0"); // taken before the check of what is in progress
    EXPECT_TRUE(exists(stem + ".freq0.cache"));
}

TEST_F(CalibrationTest, ProgressIsNoneUntilTheEndAlsoWhenItIsDoneAgain) {
    openChannel("verifyCal=false\n");
    rates({50e6});
    signals();
    std::vector<double> seen;
    waits.hook = [&](std::uint32_t) {
        EXPECT_EQ(status().state, Calibrating);
        seen.push_back(status().progress);
    };
    double atShutdown = -1;
    ON_CALL(transmitter, shutdown).WillByDefault([&] { atShutdown = status().progress; });
    for (int run = 0; run < 2; ++run) {
        channel->calibrate();
        EXPECT_EQ(status().state, Calibrated);
        EXPECT_EQ(atShutdown, 1.0); // the last of a calibration
    }
    EXPECT_THAT(seen, testing::AllOf(testing::SizeIs(testing::Ge(4U)), testing::Each(0.0)));
    waits.hook = {};
}

TEST_F(CalibrationTest, DuringARecordingItIsRefusedAndTheTransmitterShutDownAllTheSame) {
    openCalibrated();
    beginRecording();
    EXPECT_CALL(transmitter, shutdown).Times(1);
    expectFailure([&] { channel->calibrate(); }, eSEQUENCE, "cannot calibrate while recording, stop recording first");
    EXPECT_EQ(status().state, Recording);
    EXPECT_TRUE(lockIsFree());
}

TEST_F(CalibrationTest, AFailureOfTheShutdownAfterAFailureIsSwallowed) {
    openCalibrated();
    beginRecording();
    EXPECT_CALL(transmitter, shutdown).WillOnce([] { throw std::runtime_error("port"); });
    expectFailure([&] { channel->calibrate(); }, eSEQUENCE, "cannot calibrate while recording, stop recording first");
}

TEST_F(CalibrationTest, AnInvalidUserSettingFailsAndLeavesWhatWas) {
    openChannel("delays=1,2,3,4,32\n");
    const Cal before = inside().cal();
    expectFailure([&] { channel->calibrate(); }, eCALIBRATE, "invalid delay");
    EXPECT_EQ(state(), Uncalibrated);
    EXPECT_EQ(inside().cal().proc[0].filter, before.proc[0].filter);
    EXPECT_EQ(get("file"), stem);
}

TEST_F(CalibrationTest, AnAttemptTakesItsBurstsAndWritesInOrder) {
    openChannel("verifyCal=false\n");
    rates({50e6});
    signals();
    LogCapture log;
    channel->calibrate();
    EXPECT_EQ(state(), Calibrated);
    // Trigger writes: three of the command register each; sync once more at the start.
    const auto commands = model.written(0x08008206);
    EXPECT_EQ(std::count(commands.begin(), commands.end(), 0x801FU), 5);
    // Settings: manual, one rung of the scan, and four in the attempt.
    EXPECT_EQ(model.written(0x0800811E).size(), 6U);
    EXPECT_EQ(get("file"), stem);
    EXPECT_TRUE(exists(stem + ".freq0.cal.txt"));
    EXPECT_THAT(readText(stem + ".freq0.cap.txt"), testing::HasSubstr("P1 : rcvrpin=6,filter=7,plateau=7,"));
    EXPECT_TRUE(exists(stem + ".freq0.reg.txt"));
    EXPECT_THAT(log.steps(), testing::Contains("trying freq0 (5.00000e+07)"));
    EXPECT_THAT(log.steps(), testing::Contains(testing::StartsWith("sampling position ")));
    EXPECT_THAT(log.steps(), testing::Contains(testing::StartsWith("data 4 : input=5, delay=")));
    EXPECT_THAT(log.steps(), testing::Contains("freq0 (5.00000e+07) kept"));
}

TEST_F(CalibrationTest, ThreeSettingsStepDownToTheSlowestAndAllLeaveFiles) {
    openChannel("verifyCal=false\n");
    rates({25e6, 50e6, 87.5e6});
    // The signal of the two fast settings has no data edges.
    model.onTrigger([this](RegisterModel& unit) {
        bursts::OwnedBurst burst(5, 512);
        burst.square(0, 20, 1.4e9 / programmed / 2);
        if (programmed < 30e6) {
            std::mt19937 random(11);
            for (std::uint32_t p = 1; p < 5; ++p) {
                bool level = false;
                for (std::uint32_t s = 0; s < 8192; ++s) {
                    if ((s + 6) % 28 == 0) {
                        level = (random() & 1) != 0;
                    }
                    burst.set(p, s, level);
                }
            }
        }
        for (std::uint32_t p = 0; p < 5; ++p) {
            unit.setBurst(p, burst.pins[p]);
        }
    });
    LogCapture log;
    channel->calibrate();
    EXPECT_EQ(lastSetting(), "0");
    for (const char* setting : {".freq2", ".freq1", ".freq0"}) {
        for (const char* suffix : {".cal.txt", ".cap.txt", ".reg.txt"}) {
            EXPECT_TRUE(exists(stem + setting + suffix)) << setting << suffix;
        }
    }
    EXPECT_THAT(log.steps(), testing::Contains("failed freq2 (8.75000e+07) : eCALIBRATE(12) : failed to calibrate"
                                               " channel : unable to detect sampling position"));
    EXPECT_THAT(log.steps(), testing::Contains(testing::StartsWith("failed freq1 (5.00000e+07) : ")));
    EXPECT_THAT(log.steps(), testing::Contains("freq0 (2.50000e+07) kept"));
    // The next calibration deletes them, even when it is refused later on.
    model.failNext(Call::Write, "disconnected from server");
    EXPECT_THROW(channel->calibrate(), std::runtime_error);
    EXPECT_FALSE(exists(stem + ".freq2.cal.txt"));
    EXPECT_FALSE(exists(stem + ".freq0.cap.txt"));
    EXPECT_TRUE(exists(stem + ".cache"));
    EXPECT_EQ(state(), Calibrated); // what it was at entry
}

TEST_F(CalibrationTest, EveryAttemptBeginsWithTheUsersSettingsAndAFailedOneLeavesItsOwnInItsFiles) {
    openChannel("verifyCal=false\ndelays=1,2,3,4,5\ndebounces=1,1,1,1,1\n");
    rates({25e6, 50e6});
    // At the faster rate the data pins change all over a clock phase, which shows in the margins only.
    model.onTrigger([this](RegisterModel& unit) {
        const std::uint32_t half = programmed < 30e6 ? 28 : 14;
        bursts::OwnedBurst burst(5, 512);
        burst.square(0, 20, half);
        for (std::uint32_t p = 1; p < 5; ++p) {
            burst.square(p, programmed < 30e6 ? 34 : 18 + 3 * p, half);
        }
        for (std::uint32_t p = 0; p < 5; ++p) {
            unit.setBurst(p, burst.pins[p]);
        }
    });
    LogCapture log;
    channel->calibrate();
    EXPECT_EQ(lastSetting(), "0");
    EXPECT_THAT(log.steps(), testing::Contains("failed freq1 (5.00000e+07) : eCALIBRATE(12) : failed to calibrate"
                                               " channel : clock margin too low"));
    // The user's, two for rates that are measured, three of an attempt that ends at its margins, four of one that is kept.
    std::vector<std::uint32_t> delays;
    for (const std::uint32_t input : model.written(0x08008100)) {
        delays.push_back(input & 0xFF);
    }
    ASSERT_EQ(delays.size(), 1 + 2 + 3 + 4U);
    EXPECT_EQ(delays[0], 2U);
    EXPECT_EQ(delays[3], 2U);
    EXPECT_NE(delays[5], 2U); // or what follows shows nothing
    EXPECT_EQ(delays[6], 2U);
    EXPECT_THAT(readText(stem + ".freq1.cal.txt"), testing::HasSubstr("debounces=8,8,8,8,8"));
    EXPECT_THAT(readText(stem + ".freq1.cap.txt"), testing::HasSubstr("plateau=7,debounce=8"));
    EXPECT_THAT(readText(stem + ".freq0.cal.txt"), testing::HasSubstr("debounces=8,8,8,8,8"));
    EXPECT_THAT(readText(stem + ".freq0.cap.txt"), testing::HasSubstr("plateau=7,debounce=8"));
}

TEST_F(CalibrationTest, TheSlowestSettingsFailureIsTheOneThatIsSeen) {
    openChannel("verifyCal=false\n");
    rates({25e6, 50e6});
    expectFailure([&] { channel->calibrate(); }, eCALIBRATE, "unable to detect sampling position");
    EXPECT_EQ(lastSetting(), "0");
    EXPECT_EQ(state(), Uncalibrated);
    EXPECT_EQ(get("file"), stem);
    EXPECT_TRUE(exists(stem + ".freq1.cap.txt")); // the failed attempts' files stay
    EXPECT_TRUE(exists(stem + ".freq0.cap.txt"));
}

TEST_F(CalibrationTest, AFailedAttemptDumpsTheRegistersOnceMore) {
    openChannel("verifyCal=false\n");
    rates({25e6, 50e6});
    EXPECT_THROW(channel->calibrate(), Exception);
    // With each setting that is written: the user's, one for each rate that is measured, one in each attempt.
    const auto lines = model.log();
    EXPECT_EQ(std::count(lines.begin(), lines.end(), registerDumpLine), 1 + 2 + 2 + 2);
}

TEST_F(CalibrationTest, AnyOtherStatusEndsTheCalibrationAtOnce) {
    openChannel("verifyCal=false\n");
    rates({25e6, 50e6});
    model.onTrigger([](RegisterModel& unit) { unit.setBurst(2, {}, false); });
    expectFailure([&] { channel->calibrate(); }, eFAIL, "ovs fifo failed to fill");
    EXPECT_EQ(lastSetting(), "1");
    EXPECT_FALSE(exists(stem + ".freq0.cap.txt"));
}

TEST_F(CalibrationTest, WhatIsNoExceptionOfOursPassesOutWithoutFiles) {
    openChannel("verifyCal=false\n");
    rates({25e6});
    model.onTrigger([](RegisterModel&) { throw std::runtime_error("disconnected from server"); });
    EXPECT_THROW(channel->calibrate(), std::runtime_error);
    EXPECT_FALSE(exists(stem + ".freq0.cap.txt"));
    EXPECT_EQ(state(), Uncalibrated);
}

TEST_F(CalibrationTest, ADiagnosticFileThatCannotBeWrittenEndsTheCalibration) {
    openChannel("verifyCal=false\n");
    rates({25e6, 50e6});
    std::filesystem::create_directory(stem + ".freq1.reg.txt");
    std::filesystem::create_directory(stem + ".freq1.reg.txt/kept");
    expectFailure([&] { channel->calibrate(); }, eFILE, stem + ".freq1.reg.txt");
}

TEST_F(CalibrationTest, RatesBelowTenMegahertzAreNotAnalysed) {
    // One hertz for each count, so that the bound is met exactly.
    for (const std::uint32_t rateInHertz : {10099999U, 10100000U}) {
        openChannel("verifyCal=false\ncpi=43750000\n");
        counts({rateInHertz});
        programmed = rateInHertz;
        signals();
        ON_CALL(transmitter, numFrequencySettings).WillByDefault(Return(1u));
        const bool analysed = rateInHertz == 10100000U;
        try {
            channel->calibrate();
        } catch (const Exception& e) {
            // Delays reach 31 samples, too few at this rate: it is the full chain that finds that out.
            EXPECT_TRUE(analysed) << e.what();
        }
        const auto commands = model.written(0x08008206);
        const auto bursts = std::count(commands.begin(), commands.end(), 0x801FU);
        if (analysed) {
            EXPECT_GT(bursts, 1);
        } else {
            EXPECT_EQ(bursts, 1);
            EXPECT_THAT(readText(stem + ".freq0.cal.txt"), testing::HasSubstr("delays=31,0,0,0,0"));
            EXPECT_THAT(readText(stem + ".freq0.cal.txt"), testing::HasSubstr("filters=7,7,7,7,7"));
            EXPECT_EQ(model.written(0x0800811E).size(), 2U); // manual, and the frequency's own
            EXPECT_EQ(model.get(0x0800811E) & 0xFF, 0U);
            EXPECT_EQ(state(), Calibrated);
        }
    }
}

TEST_F(CalibrationTest, TheDetectedPositionTakesThePlaceOfTheUsers) {
    openChannel("verifyCal=false\nsamplingPos=center\n");
    rates({50e6});
    signals(0.0); // together with the clock's edges
    channel->calibrate();
    EXPECT_EQ(get("samplingPos"), "edge");
}

TEST_F(CalibrationTest, ASecondAttemptBeginsWithTheClockDelayOfTheFirst) {
    openChannel("verifyCal=false\n");
    rates({50e6});
    signals();
    std::int32_t& delay = inside().metrics().proc[0].delay; // survives a calibration
    delay = 5;
    channel->calibrate();
    const std::int32_t first = delay;
    channel->calibrate();
    EXPECT_GE(delay, first);
}

} // namespace
} // namespace client_test
