#include "diagnosis/burst/BurstExport.h"
#include "tests/unit/diagnosis/files/DrawnFiles.h"
#include "toolkit/ExitCode.h"

#include <gmock/gmock.h>

#include <sstream>

namespace diagnosis {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

Burst threePins() {
    return parseBurst(drawn::burst({"00110011", "01010101", "11111111"}), "x");
}

std::string failureOf(std::size_t from, std::size_t to, const std::string& pins) {
    try {
        partOf(threePins(), from, to, pins);
    } catch (const toolkit::Failure& failure) {
        EXPECT_EQ(failure.code, toolkit::ExitCode::Usage);
        return failure.what();
    }
    return "no failure";
}

TEST(BurstPart, PinsCanBeNamedInThreeWaysAndStandInTheOrderGiven) {
    EXPECT_THAT(partOf(threePins(), 0, 0, "").pins, ElementsAre(0U, 1U, 2U));
    EXPECT_THAT(partOf(threePins(), 0, 0, "data2, clock,P1").pins, ElementsAre(2U, 0U, 1U));
    EXPECT_THAT(partOf(threePins(), 0, 0, "2").pins, ElementsAre(2U));
    EXPECT_EQ(partOf(threePins(), 2, 0, "").to, 8U);
}

TEST(BurstPart, WhatIsNotThereIsRefusedWithWhatIs) {
    EXPECT_EQ(failureOf(0, 0, "data3"), "--pins: there is no pin \"data3\"; this burst has clock and data1 to data2");
    EXPECT_EQ(failureOf(0, 0, "clock,,data1"), "--pins: there is no pin \"\"; this burst has clock and data1 to data2");
    EXPECT_EQ(failureOf(0, 0, "0,clock"), "--pins names clock twice");
    const std::string part = "--from and --to must name a part of the 8 samples: 0 <= from < to <= 8";
    EXPECT_EQ(failureOf(0, 9, ""), part);
    EXPECT_EQ(failureOf(4, 4, ""), part);
    EXPECT_EQ(failureOf(8, 0, ""), part);
}

TEST(Vcd, HoldsTheFirstLevelsTheChangesAndTheEnd) {
    const Burst burst = threePins();
    std::ostringstream out;
    writeVcd(out, burst, partOf(burst, 0, 4, "clock,data2"));
    EXPECT_EQ(out.str(), "$comment 1.4e+09 samples a second, first sample 0 $end\n"
                         "$timescale 1 ps $end\n"
                         "$scope module burst $end\n"
                         "$var wire 1 ! clock $end\n"
                         "$var wire 1 \" data2 $end\n"
                         "$upscope $end\n"
                         "$enddefinitions $end\n"
                         "#0\n$dumpvars\n0!\n1\"\n$end\n"
                         "#1429\n1!\n"
                         "#2857\n");
}

TEST(Vcd, TheHeadNamesDayAndProgram) {
    const Burst burst = threePins();
    std::ostringstream out;
    writeVcd(out, burst, partOf(burst, 0, 4, "clock"), {"orvtrace 0.1.0", "2026-11-22 13:40:05"});
    EXPECT_THAT(out.str(), testing::StartsWith("$date 2026-11-22 13:40:05 $end\n$version orvtrace 0.1.0 $end\n"
                                               "$comment 1.4e+09 samples a second"));
}

TEST(Vcd, TimesCountFromTheFirstSampleOfThePartAndDoNotDrift) {
    const Burst burst = parseBurst(drawn::burst({drawn::square(8192, 14, 0), drawn::square(8192, 14, 7)}), "x");
    std::ostringstream out;
    writeVcd(out, burst, partOf(burst, 8000, 8192, "clock"));
    // The clock rises at 8008 = 14 * 572, which is 8 samples into the part.
    EXPECT_THAT(out.str(), HasSubstr("#0\n$dumpvars\n0!\n$end\n#5714\n1!\n#15714\n0!\n"));
    EXPECT_EQ(picosecondsOf(burst, 8192), 5851429U);
}

TEST(Vcd, WithoutAFrequencyTheUsualClockIsTakenAndSaid) {
    const Burst burst = parseBurst(drawn::burst({"01"}, drawn::head("0.00 yHz", "0.00 y")), "x");
    std::ostringstream out;
    writeVcd(out, burst, partOf(burst, 0, 0, ""));
    EXPECT_THAT(out.str(), HasSubstr("(no frequency was measured: the unit's usual clock)"));
    EXPECT_THAT(out.str(), HasSubstr("#714\n1!\n"));
}

TEST(Csv, HasALineForEachSample) {
    const Burst burst = threePins();
    std::ostringstream out;
    writeCsv(out, burst, partOf(burst, 1, 4, ""));
    EXPECT_EQ(out.str(), "sample,nanoseconds,clock,data1,data2\n"
                         "1,0.714,0,1,1\n"
                         "2,1.429,1,0,1\n"
                         "3,2.143,1,1,1\n");
}

} // namespace
} // namespace diagnosis
