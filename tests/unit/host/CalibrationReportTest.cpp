#include "host/files/CalibrationReport.h"

#include <gtest/gtest.h>

#include "host/basics/ExitCode.h"
#include "tests/unit/host/TempFolder.h"

namespace host {
namespace {

constexpr const char* twoPins = "exportFrequency=50.00 MHz\n"
                                "dataFrequency=100.00 Mwords/second\n"
                                "dataRate=100.00 Mbits/second\n"
                                "oversampling=28.00 samples/bit\n"
                                "\n"
                                "[Clock]\n"
                                "edges=583\n"
                                "\n"
                                "[Data 1]\n"
                                "correlation=0.913,0.125\n"
                                "glitches=3\n"
                                "ringing=2\n"
                                "edges=291\n"
                                "margin=-5,+6\n"
                                "\n"
                                "[Properties]\n"
                                "drmXmtr=pti\n"
                                "xmtrType=\n"
                                "numPins=1\n"
                                "delays=7,12\n"
                                "stretches=0,-2\n"
                                "filters=7,3\n"
                                "debounces=8,4\n"
                                "plateaus=7,5\n"
                                "\n";

TEST(CalibrationReport, EveryFieldOfAPinIsRead) {
    const CalibrationReport report = parseCalibrationReport(twoPins, "x");
    EXPECT_EQ(report.exportFrequency, "50.00 MHz");
    EXPECT_EQ(report.exportKind, "pti");
    ASSERT_EQ(report.pins.size(), 2U);
    EXPECT_EQ(report.pins[0].name, "Clock");
    EXPECT_EQ(report.pins[0].delay, 7);
    EXPECT_EQ(report.pins[0].edges, 583U);
    EXPECT_FALSE(report.pins[0].correlation);
    const PinReport& data = report.pins[1];
    EXPECT_EQ(data.name, "Data 1");
    EXPECT_DOUBLE_EQ(data.correlation.value_or(0), 0.913);
    EXPECT_DOUBLE_EQ(data.correlationAtZero.value_or(0), 0.125);
    EXPECT_EQ(data.glitches, 3U);
    EXPECT_EQ(data.ringing, 2U);
    EXPECT_EQ(data.marginBefore, 5U);
    EXPECT_EQ(data.marginAfter, 6U);
    EXPECT_EQ(data.delay, 12);
    EXPECT_EQ(data.stretch, -2);
    EXPECT_EQ(data.filter, 3);
    EXPECT_EQ(data.debounce, 4);
    EXPECT_EQ(data.plateau, 5);
}

TEST(CalibrationReport, LinesThatEndInCarriageReturnReadTheSame) {
    std::string text;
    for (const char* c = twoPins; *c != 0; ++c)
        text += *c == '\n' ? std::string("\r\n") : std::string(1, *c);
    const CalibrationReport report = parseCalibrationReport(text, "x");
    ASSERT_EQ(report.pins.size(), 2U);
    EXPECT_EQ(report.pins[1].plateau, 5);
    EXPECT_EQ(report.exportFrequency, "50.00 MHz");
}

TEST(CalibrationReport, AMarginThatWasNotMeasuredIsNone) {
    const CalibrationReport report =
        parseCalibrationReport("exportFrequency=1.00 MHz\n[Data 1]\nmargin=-2147483647,+4\n", "x");
    ASSERT_EQ(report.pins.size(), 1U);
    EXPECT_FALSE(report.pins[0].marginBefore);
    EXPECT_EQ(report.pins[0].marginAfter, 4U);
}

TEST(CalibrationReport, ListsLongerThanThePinsAreCut) {
    const CalibrationReport report =
        parseCalibrationReport("exportFrequency=1.00 MHz\n[Clock]\n[Properties]\ndelays=1,2,3\n", "x");
    ASSERT_EQ(report.pins.size(), 1U);
    EXPECT_EQ(report.pins[0].delay, 1);
}

TEST(CalibrationReport, AnotherKindOfFileIsRefusedByName) {
    try {
        parseCalibrationReport("P0 P1 Sample\n 0  1    0\n", "burst.cap.txt");
        FAIL();
    } catch (const Failure& failure) {
        EXPECT_EQ(failure.code, ExitCode::BadInput);
        EXPECT_STREQ(failure.what(), "burst.cap.txt is no calibration report");
    }
}

TEST(CalibrationReport, AMissingFileIsRefused) {
    const TempFolder folder;
    EXPECT_THROW(readCalibrationReport(folder.file("none.cal.txt")), Failure);
}

} // namespace
} // namespace host
