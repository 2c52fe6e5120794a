#include "tests/unit/client/frontend/CalibrationFixture.h"

// Settings that a calibration writes to the unit and reads back.

namespace client_test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

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
    EXPECT_EQ(cal.proc[0].delay, 0U);
    EXPECT_EQ(cal.proc[0].stretch, 0) << "the clock's as well";
    EXPECT_EQ(cal.proc[4].delay, 4U);
    EXPECT_EQ(cal.proc[4].stretch, -4);
    EXPECT_EQ(cal.proc[5].delay, notSet);
}

} // namespace
} // namespace client_test
