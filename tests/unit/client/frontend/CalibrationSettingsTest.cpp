#include "tests/unit/client/frontend/CalibrationFixture.h"

// Settings that a calibration writes to the unit and reads back.

namespace client_test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

TEST_F(CalibrationTest, AllEightProcsAreWrittenInOneListFollowedByADumpOfTheRegisters) {
    openChannel("calMode=manual\n");
    channel->calibrate();
    std::vector<std::string> written = model.log();
    std::erase_if(written, [](const std::string& line) {
        return line != registerDumpLine && !line.starts_with("write 0800811e");
    });
    EXPECT_THAT(written,
                ElementsAre("write 0800811e=8400 0800813e=7804 08008100=8600 08008120=7804 08008102=8300 08008122=7804"
                            " 08008104=8200 08008124=7804 08008106=8500 08008126=7804 08008108=0400 08008128=0800"
                            " 0800810a=0400 0800812a=0800 0800810c=0400 0800812c=0800",
                            registerDumpLine));
    EXPECT_TRUE(exists(stem + ".reg.txt"));
}

TEST_F(CalibrationTest, AnInvalidSettingOfAPinInUseIsNotWritten) {
    std::string lines = "calMode=manual\n";
    const auto refuses = [&](const char* line, const char* text) {
        lines += line;
        openChannel(lines);
        expectFailure([&] { channel->calibrate(); }, eCALIBRATE, text);
        EXPECT_THAT(model.written(0x0800811E), IsEmpty()) << text;
    };
    refuses("stretches=0,0,0,0,6\n", "invalid stretch");
    refuses("delays=0,0,0,32\n", "invalid delay");
    refuses("debounces=0,0,9\n", "invalid debounce");
    refuses("plateaus=3,4\n", "invalid plateau");
    refuses("filters=8\n", "invalid filter");
    remakeChannel();
    openChannel("calMode=manual\nfilters=7,7,7,7,7,99\n"); // the last is not in use
    EXPECT_NO_THROW(channel->calibrate());
}

TEST_F(CalibrationTest, WhatTheUnitHoldsReadsAsItWasWrittenButForThePlateau) {
    openChannel("calMode=manual\nplateaus=3,3,7\nstretches=0,0,-4\ndelays=0,0,13\n");
    channel->calibrate();
    model.clearLog();
    channel->ovs(true, false);
    EXPECT_THAT(model.log(), testing::Contains("read 0800811e 0800813e 08008100 08008120 08008102 08008122 08008104 "
                                               "08008124 08008106 08008126"));
    EXPECT_THAT(readText(stem + ".cap.txt"),
                HasSubstr("P2 : rcvrpin=3,filter=7,plateau=3,debounce=4,delay=13,stretch=-4,enable=1"));
}

TEST_F(CalibrationTest, AManualCalibrationFillsInWhatTheUserLeftOut) {
    openChannel("calMode=manual\ndelays=1,2,3,4,5\nfilters=0,1,2,3,4\n");
    channel->calibrate();
    std::string report = readText(stem + ".cal.txt");
    std::erase(report, '\r');
    EXPECT_THAT(report, HasSubstr("delays=1,2,3,4,5\nstretches=0,0,0,0,0\nfilters=0,1,2,3,4\ndebounces=4,4,4,4,4\n"
                                  "plateaus=3,3,3,3,3\n"));
}

TEST_F(CalibrationTest, AFrequencyChangesEverythingDerivedFromIt) {
    openChannel();
    measure(100000000);
    EXPECT_EQ(status().exportFrequency, 100e6);
    EXPECT_EQ(status().dataFrequency, 200e6);
    EXPECT_EQ(status().dataRate, 800e6);
    EXPECT_EQ(status().wordClockFrequency, 87.5e6);
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
