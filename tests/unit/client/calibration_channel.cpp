#include "client/analysis/Rates.h"
#include "tests/unit/client/calibration_bursts.h"
#include "tests/unit/client/channel_fixture.h"

#include <array>
#include <cmath>

// The channel's calibration over a model of the unit: order of requests, statuses, texts, log lines.

namespace client_test {
namespace {

using testing::_;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Invoke;
using testing::IsEmpty;
using testing::NiceMock;
using testing::Return;

/// What a calibration only asks for its share of ones, and whose check is of no use here.
class EvenPattern : public Pattern {
public:
    double onesRatio() override { return 0.5; }
    bool check(std::uint16_t, std::uint16_t, bool&) override { return false; }
};

constexpr std::uint32_t countLow = 0x080080F0;
constexpr std::uint32_t countHigh = 0x080080F2;
constexpr std::uint32_t windowLow = 0x080080E0;
constexpr std::uint32_t windowHigh = 0x080080E2;

/// The count that stands for a rate with the unit's usual clocks and the usual `cpi`.
std::uint32_t countFor(double frequency) {
    return static_cast<std::uint32_t>(frequency * 8 * 1e6 * 3 / 1.05e9 + 0.5);
}

class CalibrationTest : public ChannelTest {
protected:
    CalibrationTest() { ON_CALL(transmitter, getPattern).WillByDefault(Return(&pattern)); }

    /// Every reading of the counter gives these counts, one after the other, and the last one from then on.
    void counts(std::vector<std::uint32_t> values) {
        counted = std::move(values);
        nextCount = 0;
        model.onRead(countLow, [this] { return counted.at(nextCount) & 0xFFFF; });
        model.onRead(countHigh, [this] {
            const std::uint32_t value = counted.at(nextCount) >> 16;
            nextCount = std::min(nextCount + 1, counted.size() - 1);
            return value;
        });
    }
    void rate(double frequency) { counts({countFor(frequency)}); }

    /// Gives each setting of the transmitter a rate.
    void rates(std::vector<double> frequencies) {
        ON_CALL(transmitter, numFrequencySettings)
            .WillByDefault(Return(static_cast<std::uint32_t>(frequencies.size())));
        ON_CALL(transmitter, program)
            .WillByDefault(Invoke([this, frequencies](const char* name, std::uint32_t setting) {
                model.note("transmitter program " + std::string(name) + " " + std::to_string(setting));
                rate(frequencies.at(setting));
                programmed = frequencies.at(setting);
            }));
    }

    /// A clean signal of what is programmed: the clock, and data that change in the middle between its edges. Pins
    /// answer neither delay nor stretch.
    void signals(double shift = 0.5) {
        model.onTrigger([this, shift](RegisterModel& unit) {
            const double half = 1.4e9 / programmed / 2;
            bursts::OwnedBurst burst(5, 512);
            burst.square(0, 20, half);
            std::mt19937 random(11);
            for (std::uint32_t p = 1; p < 5; ++p) {
                std::vector<bool> bits(static_cast<std::size_t>(8192 / half) + 3);
                for (std::size_t i = 0; i < bits.size(); ++i) {
                    bits[i] = (random() & 1) != 0;
                }
                for (std::uint32_t s = 0; s < 8192; ++s) {
                    const double slot = (s - 20.0) / half + 1 - shift + 1;
                    burst.set(p, s, bits[static_cast<std::size_t>(std::max(0.0, slot))]);
                }
            }
            for (std::uint32_t p = 0; p < 5; ++p) {
                unit.setBurst(p, burst.pins[p]);
            }
        });
    }

    std::vector<std::uint32_t> debounces() {
        std::vector<std::uint32_t> found;
        for (const std::uint32_t value : model.written(0x0800813E)) {
            found.push_back(value & 0x1F);
        }
        return found;
    }
    std::vector<std::string> logWithoutDumps() {
        std::vector<std::string> lines = model.log();
        std::erase(lines, registerDumpLine);
        return lines;
    }

    EvenPattern pattern;
    std::vector<std::uint32_t> counted;
    std::size_t nextCount = 0;
    double programmed = 50e6;
};

// ---- settings of the unit ----

TEST_F(CalibrationTest, WriteCalWritesAllEightProcsInOneListAndDumpsTheRegisters) {
    openChannel();
    Cal cal;
    inside().setupPins(cal);
    inside().manualCal(cal);
    EXPECT_THAT(model.log(),
                ElementsAre("write 0800811e=8400 0800813e=7804 08008100=8600 08008120=7804 08008102=8300 08008122=7804"
                            " 08008104=8200 08008124=7804 08008106=8500 08008126=7804 08008108=0400 08008128=0800"
                            " 0800810a=0400 0800812a=0800 0800810c=0400 0800812c=0800",
                            registerDumpLine));
    EXPECT_TRUE(exists(stem + ".reg.txt"));
    EXPECT_EQ(cal.proc[5].plateau, 0U); // behind the pins in use nothing is looked at
}

TEST_F(CalibrationTest, WriteCalOfAnInvalidSettingWritesNothing) {
    openChannel();
    Cal cal;
    inside().setupPins(cal);
    cal.reset();
    const auto refuses = [&](const char* text) { expectFailure([&] { inside().writeCal(cal); }, eCALIBRATE, text); };
    cal.proc[4].stretch = 6;
    refuses("invalid stretch");
    cal.proc[3].delay = 32;
    refuses("invalid delay");
    cal.proc[2].debounce = 9;
    refuses("invalid debounce");
    cal.proc[1].plateau = 4;
    refuses("invalid plateau");
    cal.proc[0].filter = 8;
    refuses("invalid filter");
    EXPECT_THAT(model.log(), IsEmpty());
    cal.reset();
    cal.proc[5].filter = 99; // not in use
    inside().assertCal(cal);
}

TEST_F(CalibrationTest, ReadCalGivesBackWhatWasWrittenButForThePlateau) {
    openChannel();
    Cal cal;
    inside().setupPins(cal);
    cal.reset();
    cal.proc[2].plateau = 7;
    cal.proc[2].stretch = -4;
    cal.proc[2].delay = 13;
    inside().writeCal(cal);
    model.clearLog();
    Cal back;
    inside().readCal(back);
    EXPECT_THAT(model.log(), ElementsAre("read 0800811e 0800813e 08008100 08008120 08008102 08008122 08008104 08008124"
                                         " 08008106 08008126"));
    EXPECT_EQ(back.proc[2].plateau, 3U);
    EXPECT_EQ(back.proc[2].stretch, -4);
    EXPECT_EQ(back.proc[2].delay, 13U);
    EXPECT_EQ(back.proc[2].rcvrpin, 3U);
    EXPECT_EQ(back.proc[2].enable, 1U);
    EXPECT_EQ(back.proc[5].filter, notSet);
}

TEST_F(CalibrationTest, ManualCalFillsInWhatTheUserLeftOut) {
    openChannel("delays=1,2,3,4,5\nfilters=0,1,2,3,4\n");
    inside().setupPins(inside().cal());
    inside().manualCal(inside().cal());
    EXPECT_EQ(inside().cal().proc[2].delay, 3U);
    EXPECT_EQ(inside().cal().proc[2].filter, 2U);
    EXPECT_EQ(inside().cal().proc[2].plateau, 3U);
    EXPECT_EQ(inside().cal().proc[2].debounce, 4U);
    EXPECT_EQ(inside().cal().proc[2].stretch, 0);
}

TEST_F(CalibrationTest, AFrequencyChangesEverythingDerivedFromIt) {
    openChannel();
    inside().applyFrequencyChange(100e6);
    EXPECT_EQ(inside().clocking().oversampling, 14.0);
    EXPECT_EQ(inside().clocking().bitSamples, 7U);
    EXPECT_EQ(inside().clocking().dataRate, 800e6);
    EXPECT_EQ(inside().clocking().wordClockFrequency, 87.5e6);
    Cal cal;
    inside().setupPins(cal);
    cal.reset();
    inside().computeFreqBasedCal(cal);
    EXPECT_EQ(cal.proc[4].filter, 1U); // 11.9 samples
    EXPECT_EQ(cal.proc[4].plateau, 7U);
    EXPECT_EQ(cal.proc[5].debounce, 4U);
}

TEST_F(CalibrationTest, DelaysAndStretchesOfThePinsInUseGoFromTheResultsIntoTheSettings) {
    openChannel();
    Metrics m;
    for (std::uint32_t p = 0; p < 8; ++p) {
        m.proc[p].delay = static_cast<std::int32_t>(p);
        m.proc[p].stretch = -static_cast<std::int32_t>(p % 6);
    }
    Cal cal;
    inside().getCalFromMetrics(m, cal);
    EXPECT_EQ(cal.proc[4].delay, 4U);
    EXPECT_EQ(cal.proc[4].stretch, -4);
    EXPECT_EQ(cal.proc[5].delay, notSet);
}

// ---- frequencies ----

TEST_F(CalibrationTest, MeasuringWritesTheWindowWaitsAndReadsTheCount) {
    openChannel();
    counts({0x0022E09E});
    EXPECT_DOUBLE_EQ(inside().measureFreq(), 0x0022E09E * 1.05e9 / (8 * 1e6 * 3));
    EXPECT_THAT(model.log(), ElementsAre("write 080080e0=4240 080080e2=000f", "read 080080f0 080080f2"));
    EXPECT_EQ(waits.last, 21U);
    EXPECT_EQ(inside().clocking().exportFrequency, 0x0022E09E * 1.05e9 / (8 * 1e6 * 3));
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
    EXPECT_NEAR(inside().clocking().exportFrequency, 50.05e6, 100);
    EXPECT_EQ(inside().clocking().bitSamples, 14U);
    EXPECT_EQ(waits.sleeps, 2U);
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
    EXPECT_EQ(inside().cal().proc[0].debounce, notSet); // the measurement has settings of its own
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
    inside().settings().cpi = 0xFFFFFFFF;
    counts({0});
    model.onRead(countLow, [] { return 1000u; });
    // 1000 counts over that window are 10.2 Hz.
    expectFailure([&] { inside().measureAndVerifyFreq(); }, eXMTR,
                  "the frequency measured exceeds hardware capabilities : frequencies=10.186 Hz, 10.186 Hz");
    EXPECT_THAT(debounces(), ElementsAre(4, 5, 6, 7, 8));
    inside().settings().cpi = 1000000;
    rate(360e6);
    expectFailure([&] { inside().measureAndVerifyFreq(); }, eXMTR,
                  "the frequency measured exceeds hardware capabilities : frequencies=360.000 MHz, 360.000 MHz");
}

TEST_F(CalibrationTest, NoClockFailsAtTheFirstRungAndLeavesItsFiles) {
    openChannel();
    counts({0});
    expectFailure([&] { inside().measureAndVerifyFreq(); }, eCALIBRATE,
                  "no signal on clock : check external pin configuration and clock circuit connection");
    EXPECT_THAT(debounces(), ElementsAre(4));
    EXPECT_TRUE(exists(stem + ".cap.txt"));
    EXPECT_TRUE(exists(stem + ".reg.txt"));
}

TEST_F(CalibrationTest, AWindowOfNothingEndsInAStatedFailureWhenAnythingWasCounted) {
    openChannel("cpi=0\n");
    counts({5});
    ON_CALL(transmitter, numFrequencySettings).WillByDefault(Return(1u));
    expectFailure([&] { inside().findAllFrequencySettings(inside().metrics(), inside().cal()); }, eCALIBRATE,
                  "all transmitter frequencies are too fast, changing the PLL setting may help"
                  " : transmitter frequency measured at inf YHz");
    EXPECT_EQ(waits.last, 10U);
}

TEST_F(CalibrationTest, AWindowOfNothingWithoutACountIsCarriedOn) {
    openChannel("cpi=0\n");
    counts({0});
    inside().measureAndVerifyFreq();
    EXPECT_TRUE(std::isnan(inside().clocking().exportFrequency.load()));
    EXPECT_EQ(inside().clocking().bitSamples, 0U);
    EXPECT_EQ(waits.sleeps, 20U);
}

TEST_F(CalibrationTest, TheScanKeepsTheRatesInTheirOrderAndLogsThem) {
    openChannel();
    rates({12e6, 25e6, 50e6});
    LogCapture log;
    inside().findAllFrequencySettings(inside().metrics(), inside().cal());
    EXPECT_EQ(inside().clocking().frequencies.size(), 3U);
    EXPECT_NEAR(inside().clocking().frequencies[2], 50e6, 50);
    const auto steps = log.steps();
    EXPECT_THAT(steps, testing::IsSupersetOf({std::string("numFrequencySettings=3"),
                                              std::string("setting 0 measured at 1.20000e+07 Hz"),
                                              std::string("setting 2 measured at 5.00000e+07 Hz"),
                                              std::string("succeeded with 3 possible settings")}));
    std::vector<std::string> transmitted = model.log();
    std::erase_if(transmitted, [](const std::string& line) { return !line.starts_with("transmitter"); });
    EXPECT_THAT(transmitted, ElementsAre("transmitter shutdown", "transmitter program calibration 0",
                                         "transmitter shutdown", "transmitter program calibration 1",
                                         "transmitter shutdown", "transmitter program calibration 2"));
}

TEST_F(CalibrationTest, TheScanEndsAtTheFirstSettingOverALimit) {
    openChannel();
    rates({100e6, 121e6, 50e6});
    LogCapture log;
    inside().findAllFrequencySettings(inside().metrics(), inside().cal());
    EXPECT_EQ(inside().clocking().frequencies.size(), 1U);
    EXPECT_THAT(log.steps(), testing::Contains("setting 1 exceeds frequency limits"));
    EXPECT_THAT(log.steps(), testing::Contains("succeeded with 1 possible settings"));
}

TEST_F(CalibrationTest, TheScanEndsAtTheFirstSettingThatFailsAndKeepsTheOthers) {
    openChannel();
    rates({12e6, 0.0, 50e6});
    LogCapture log;
    inside().findAllFrequencySettings(inside().metrics(), inside().cal());
    EXPECT_EQ(inside().clocking().frequencies.size(), 1U);
    EXPECT_THAT(log.steps(), testing::Contains("exception programming transmitter to frequency setting 1"));
}

TEST_F(CalibrationTest, TheScanTakesAnyExceptionAsItsEnd) {
    openChannel();
    ON_CALL(transmitter, numFrequencySettings).WillByDefault(Return(3u));
    rate(12e6);
    EXPECT_CALL(transmitter, program(_, 0u));
    EXPECT_CALL(transmitter, program(_, 1u)).WillOnce([](const char*, std::uint32_t) { throw 7; });
    inside().findAllFrequencySettings(inside().metrics(), inside().cal());
    EXPECT_EQ(inside().clocking().frequencies.size(), 1U);
}

TEST_F(CalibrationTest, TheHighestRateItselfIsUsableWithFourDataPins) {
    // A window that resolves single hertz, so that 1.2e8 is met exactly: count x P / (8 x cpi x divider).
    openChannel("cpi=43750000\n"); // 1 Hz per count
    counts({120000000});
    ON_CALL(transmitter, numFrequencySettings).WillByDefault(Return(1u));
    inside().findAllFrequencySettings(inside().metrics(), inside().cal());
    EXPECT_THAT(inside().clocking().frequencies, ElementsAre(1.2e8));
    EXPECT_EQ(inside().clocking().dataRate, 9.6e8);
    counts({120000001});
    expectFailure([&] { inside().findAllFrequencySettings(inside().metrics(), inside().cal()); }, eCALIBRATE,
                  "all transmitter frequencies are too fast, changing the PLL setting may help"
                  " : transmitter frequency measured at 120.0 MHz");
}

TEST_F(CalibrationTest, TheHighestRateWithFiveDataPinsIsTooManyBits) {
    configure("pinMap=0,1,2,3,4,5\ncpi=43750000\n");
    channel->applySettings();
    counts({120000000});
    expectFailure([&] { inside().findAllFrequencySettings(inside().metrics(), inside().cal()); }, eCALIBRATE,
                  "data rate exceeds bandwidth, reducing the number of pins may help"
                  " : transmitter frequency measured at 120.0 MHz");
    EXPECT_THAT(inside().clocking().frequencies, IsEmpty());
    EXPECT_TRUE(exists(stem + ".reg.txt"));
    EXPECT_TRUE(exists(stem + ".cal.txt"));
    EXPECT_TRUE(exists(stem + ".cap.txt"));
}

TEST_F(CalibrationTest, NoClockAtTheFirstSettingReportsNoRate) {
    openChannel();
    rates({0.0, 12e6});
    expectFailure([&] { inside().findAllFrequencySettings(inside().metrics(), inside().cal()); }, eCALIBRATE,
                  "transmitter frequency measured at 0 Hz");
}

TEST_F(CalibrationTest, ATransmitterWithoutSettingsReportsTheRateOfEarlierWork) {
    openChannel();
    ON_CALL(transmitter, numFrequencySettings).WillByDefault(Return(0u));
    inside().clocking().exportFrequency = 33.3e6;
    expectFailure([&] { inside().findAllFrequencySettings(inside().metrics(), inside().cal()); }, eCALIBRATE,
                  "transmitter frequency measured at 33.3 MHz");
}

TEST_F(CalibrationTest, TheStartIsTheFastestRateBelowTheLimit) {
    openChannel();
    inside().clocking().frequencies = {12e6, 25e6, 50e6};
    std::uint32_t setting = 99;
    inside().findStartFrequencySetting(setting);
    EXPECT_EQ(setting, 2U);
    channel->setProperty("frequencyLimit", "25e6");
    inside().findStartFrequencySetting(setting);
    EXPECT_EQ(setting, 0U);
    channel->setProperty("frequencyLimit", "1e6");
    inside().findStartFrequencySetting(setting);
    EXPECT_EQ(setting, 0U);
}

// ---- bursts ----

TEST_F(CalibrationTest, ABurstIsClearedTriggeredAndRead) {
    openChannel();
    model.setFifo(1, {1, 2, 3});
    std::vector<std::uint16_t> words(512);
    for (std::size_t i = 0; i < words.size(); ++i) {
        words[i] = static_cast<std::uint16_t>(i * 77);
    }
    model.setBurst(4, words);
    inside().captureOvs();
    const auto lines = model.log();
    const std::string status = "read 0800820c 08008214 0800821c 08008224 0800822c";
    ASSERT_EQ(lines.size(), 10U);
    EXPECT_EQ(lines[0], status);
    EXPECT_EQ(lines[1], "read 08008216 08008216 08008216");
    EXPECT_EQ(lines[2], status);
    EXPECT_EQ(lines[3], "write 08008206=001f 08008206=801f 08008206=0000");
    EXPECT_EQ(lines[4], status);
    EXPECT_EQ(lines[5].substr(0, 23), "read 0800820e 0800820e ");
    EXPECT_EQ(lines[9].substr(0, 23), "read 0800822e 0800822e ");
    EXPECT_EQ(lines[9].size(), 4 + 512U * 9);
    EXPECT_EQ(inside().oversampling().ovsWords[4], words);
}

TEST_F(CalibrationTest, OneDeadFifoFailsTheBurstAfterAHundredPolls) {
    openChannel();
    model.setBurst(3, std::vector<std::uint16_t>(100, 0), false);
    expectFailure([&] { inside().captureOvs(); }, eFAIL, "ovs fifo failed to fill");
    EXPECT_EQ(waits.sleeps, 100U);
    EXPECT_EQ(waits.total, 100U);
}

TEST_F(CalibrationTest, AProcThatIsNotInUseIsNeitherReadNorWaitedFor) {
    openChannel();
    model.setFifo(5, {1, 2, 3});
    model.setBurst(6, {}, false);
    inside().captureOvs();
    for (const std::string& line : model.log()) {
        EXPECT_THAT(line, testing::Not(HasSubstr("08008234")));
        EXPECT_THAT(line, testing::Not(HasSubstr("08008236")));
    }
}

TEST_F(CalibrationTest, AFifoThatCannotBeEmptiedFails) {
    openChannel();
    model.onRead(0x0800821C, [] { return 0x0005u; });
    expectFailure([&] { inside().captureOvs(); }, eFAIL, "failed to clear ovs fifo");
}

TEST_F(CalibrationTest, AFullFifoReadsAsEmptyAndIsLeftAlone) {
    openChannel();
    model.scriptReads(0x0800820C, {0x0200, 0x0200, 0x0200});
    inside().captureOvs();
    EXPECT_EQ(model.log()[1], "read 0800820c 08008214 0800821c 08008224 0800822c");
}

TEST_F(CalibrationTest, FifoStatusIsSplitIntoItsFields) {
    openChannel();
    model.onRead(0x0800820C, [] { return 0x8000u; });
    model.onRead(0x08008214, [] { return 0x03FFu; });
    OvsStats stats(5);
    inside().readOvsStats(stats);
    EXPECT_TRUE(stats.entry[0].flagged);
    EXPECT_FALSE(stats.entry[0].filled);
    EXPECT_EQ(stats.entry[0].level, 0U);
    EXPECT_FALSE(stats.entry[1].flagged);
    EXPECT_TRUE(stats.entry[1].filled);
    EXPECT_EQ(stats.entry[1].level, 511U);
    EXPECT_EQ(stats.entry[5].level, 0xFFFFFFFFU);
}

TEST_F(CalibrationTest, ErrorFlagsAreThoseOfThePinsInUse) {
    openChannel();
    model.set(0x08008010, 0x7FFF);
    model.set(0x08008020, 0x07FF);
    EXPECT_EQ(inside().readOvsError(), 0U);
    model.set(0x08008010, 0xFFFF);
    EXPECT_EQ(inside().readOvsError(), 0x80000000U);
    model.set(0x08008020, 0x0FFF);
    EXPECT_EQ(inside().readOvsError(), 0x80000800U);
    model.clearLog();
    inside().clearOvsError();
    EXPECT_THAT(model.log(), ElementsAre("write 08008010=f800 08008020=800f"));
}

TEST_F(CalibrationTest, OvsOnAClosedChannelOpensItReadsTheFlagsAndClosesIt) {
    configure("pinMap=0,1,2,3,4\n");
    model.set(0x08008020, 0x4000);
    // Nothing has read the properties yet, but for the pins that were set by hand.
    channel->setProperty("pinMap", "0,1,2,3,4");
    EXPECT_EQ(channel->ovs(false, false), 0x4000U);
    EXPECT_FALSE(inside().session().opened);
    EXPECT_THAT(model.log(), testing::Contains("read 08008010 08008020"));
    EXPECT_EQ(model.log().back(), "close");
    EXPECT_THAT(model.written(0x08008010), IsEmpty());
}

TEST_F(CalibrationTest, OvsListsWhatTheUnitHolds) {
    openChannel("testPattern=walk\n");
    rates({25e6, 50e6});
    inside().clocking().frequencySetting = 1;
    Cal cal;
    inside().setupPins(cal);
    cal.reset();
    cal.proc[1].delay = 21;
    inside().writeCal(cal);
    model.clearLog();
    EXPECT_EQ(channel->ovs(true, true), 0U);
    const auto lines = model.log();
    ASSERT_GT(lines.size(), 8U);
    EXPECT_EQ(lines[0], "write 08008206=0000 08008206=0800 08008206=0000");
    EXPECT_EQ(lines[1].substr(0, 22), "read 0800811e 0800813e");
    EXPECT_EQ(lines[2], "transmitter shutdown");
    EXPECT_EQ(lines[3], "transmitter program walk 1");
    EXPECT_EQ(lines[4].substr(0, 14), "write 080080e0");
    EXPECT_EQ(lines[6], "read 0800820c 08008214 0800821c 08008224 0800822c");
    EXPECT_EQ(lines[lines.size() - 2], "read 08008010 08008020");
    EXPECT_EQ(lines.back(), "write 08008010=f800 08008020=800f");
    EXPECT_EQ(inside().cal().proc[1].delay, 21U);
    EXPECT_EQ(inside().clocking().bitSamples, 14U);
    EXPECT_THAT(readText(stem + ".cap.txt"), HasSubstr("delay=21"));
    EXPECT_TRUE(inside().session().opened);
}

TEST_F(CalibrationTest, OvsWhileRecordingOnlyTakesTheBurst) {
    openCalibrated();
    inside().control().state = Recording;
    channel->ovs(true, false);
    EXPECT_EQ(model.log().front(), "read 0800820c 08008214 0800821c 08008224 0800822c");
    EXPECT_THAT(model.log(), testing::Not(testing::Contains(HasSubstr("transmitter"))));
    inside().control().state = Calibrated;
}

TEST_F(CalibrationTest, OvsOfAClockThatStandsStillIsListedToo) {
    openChannel();
    counts({0});
    channel->ovs(true, false);
    EXPECT_EQ(inside().clocking().bitSamples, 0U);
    EXPECT_THAT(readText(stem + ".cap.txt"), HasSubstr("oversampling=inf Ysamples/bit"));
}

TEST_F(CalibrationTest, AFailureInOvsReleasesTheLock) {
    openChannel();
    model.failNext(Call::Read, "disconnected from server");
    EXPECT_THROW(channel->ovs(false, false), std::runtime_error);
    EXPECT_FALSE(inside().mutex().unlock()); // nobody holds it
}

// ---- margins ----

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

// ---- the whole of it ----

TEST_F(CalibrationTest, ManualModeMeasuresNoFrequencyAndFixesThePosition) {
    openChannel("calMode=manual\nsamplingPos=edge\n");
    rates({50e6});
    inside().clocking().exportFrequency = 17.0;
    channel->calibrate();
    EXPECT_EQ(state(), Calibrated);
    EXPECT_EQ(inside().clocking().exportFrequency, 17.0);
    EXPECT_EQ(get("samplingPos"), "center");
    EXPECT_THAT(model.written(windowLow), IsEmpty());
    EXPECT_TRUE(exists(stem + ".cal.txt"));
    EXPECT_TRUE(exists(stem + ".cap.txt"));
    EXPECT_EQ(inside().calibration().calProgress, 1.0);
    EXPECT_FALSE(inside().calibration().calInProgress);
    EXPECT_EQ(logWithoutDumps().back(), "transmitter shutdown");
    EXPECT_EQ(logWithoutDumps().front(), "write 08008206=0000 08008206=0800 08008206=0000");
    EXPECT_THAT(model.written(0x08008020), ElementsAre(0x800F));
}

TEST_F(CalibrationTest, TpiuliteIsAlwaysManualWithTheLatestClock) {
    transmitter.properties["drmXmtr"] = "tpiulite";
    openChannel("calMode=automatic\ndelays=1,2,3,4,5\nfilters=1,1,1,1,1\n");
    channel->calibrate();
    EXPECT_EQ(get("calMode"), "manual");
    EXPECT_EQ(inside().cal().proc[0].delay, 31U);
    EXPECT_EQ(inside().cal().proc[1].delay, 0U);
    EXPECT_EQ(inside().cal().proc[1].filter, 7U);
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
    EXPECT_EQ(state(), Uncalibrated);
    EXPECT_FALSE(inside().calibration().calInProgress);
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
    EXPECT_FALSE(inside().mutex().unlock());
}

TEST_F(CalibrationTest, DuringARecordingItIsRefusedAndTheTransmitterShutDownAllTheSame) {
    openCalibrated();
    inside().control().state = Recording;
    EXPECT_CALL(transmitter, shutdown).Times(1);
    expectFailure([&] { channel->calibrate(); }, eSEQUENCE, "cannot calibrate while recording, stop recording first");
    EXPECT_EQ(state(), Recording);
    EXPECT_FALSE(inside().calibration().calInProgress);
    EXPECT_FALSE(inside().mutex().unlock());
    inside().control().state = Calibrated;
}

TEST_F(CalibrationTest, AFailureOfTheShutdownBehindAFailureIsSwallowed) {
    openCalibrated();
    inside().control().state = Recording;
    EXPECT_CALL(transmitter, shutdown).WillOnce([] { throw std::runtime_error("port"); });
    expectFailure([&] { channel->calibrate(); }, eSEQUENCE, "cannot calibrate while recording, stop recording first");
    inside().control().state = Calibrated;
}

TEST_F(CalibrationTest, AnInvalidUserSettingFailsAndLeavesWhatWas) {
    openChannel("delays=1,2,3,4,32\n");
    const Cal before = inside().cal();
    expectFailure([&] { channel->calibrate(); }, eCALIBRATE, "invalid delay");
    EXPECT_EQ(state(), Uncalibrated);
    EXPECT_EQ(inside().cal().proc[0].filter, before.proc[0].filter);
    EXPECT_EQ(inside().settings().file, stem);
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
    EXPECT_EQ(inside().settings().file, stem);
    EXPECT_EQ(inside().cal().proc[1].plateau, 7U);
    EXPECT_TRUE(exists(stem + ".freq0.cal.txt"));
    EXPECT_TRUE(exists(stem + ".freq0.cap.txt"));
    EXPECT_TRUE(exists(stem + ".freq0.reg.txt"));
    EXPECT_THAT(log.steps(), testing::Contains("trying freq0 (5.00000e+07)"));
    EXPECT_THAT(log.steps(), testing::Contains(testing::StartsWith("sampling position ")));
    EXPECT_THAT(log.steps(), testing::Contains(testing::StartsWith("data 4 : input=5, delay=")));
    EXPECT_THAT(log.steps(), testing::Contains("freq0 (5.00000e+07) kept"));
    EXPECT_THAT(inside().session().diagnosticStems, ElementsAre(stem, stem + ".freq0"));
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
    EXPECT_EQ(inside().clocking().frequencySetting, 0U);
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

TEST_F(CalibrationTest, TheSlowestSettingsFailureIsTheOneThatIsSeen) {
    openChannel("verifyCal=false\n");
    rates({25e6, 50e6});
    expectFailure([&] { channel->calibrate(); }, eCALIBRATE, "unable to detect sampling position");
    EXPECT_EQ(inside().clocking().frequencySetting, 0U);
    EXPECT_EQ(state(), Uncalibrated);
    EXPECT_EQ(inside().settings().file, stem);
    EXPECT_TRUE(exists(stem + ".freq1.cap.txt")); // the failed attempts' files stay
    EXPECT_TRUE(exists(stem + ".freq0.cap.txt"));
}

TEST_F(CalibrationTest, AnyOtherStatusEndsTheCalibrationAtOnce) {
    openChannel("verifyCal=false\n");
    rates({25e6, 50e6});
    model.onTrigger([](RegisterModel& unit) { unit.setBurst(2, {}, false); });
    expectFailure([&] { channel->calibrate(); }, eFAIL, "ovs fifo failed to fill");
    EXPECT_EQ(inside().clocking().frequencySetting, 1U);
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
            EXPECT_EQ(inside().cal().proc[0].delay, 31U);
            EXPECT_EQ(inside().cal().proc[1].filter, 7U);
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
    inside().metrics().proc[0].delay = 5;
    channel->calibrate();
    const std::int32_t first = inside().metrics().proc[0].delay;
    channel->calibrate();
    EXPECT_EQ(inside().calibration().calProgress, 1.0);
    EXPECT_GE(inside().metrics().proc[0].delay, first);
}

} // namespace
} // namespace client_test
