#include "diagnosis/files/RunLog.h"

#include <gtest/gtest.h>

namespace diagnosis {
namespace {

using Verdict = FrequencySetting::Verdict;

constexpr const char* stepDown =
    "M     14:02:11:007 | ORV Receiver : loading settings from a.xml\n"
    "M     14:02:11:107 | ORV Receiver (orv_client_frontend:77) numFrequencySettings=4\n"
    "M     14:02:11:107 | ORV Receiver (orv_client_frontend:81) setting 0 measured at 1.25000e+07 Hz\n"
    "M     14:02:11:207 | ORV Receiver (orv_client_frontend:81) setting 1 measured at 5.00000e+07 Hz\n"
    "M     14:02:11:307 | ORV Receiver (orv_client_frontend:81) setting 2 measured at 1.00000e+08 Hz\n"
    "M     14:02:11:407 | ORV Receiver (orv_client_frontend:81) setting 3 measured at 1.50000e+08 Hz\n"
    "M     14:02:11:407 | ORV Receiver (orv_client_frontend:83) setting 3 exceeds frequency limits\n"
    "M     14:02:11:407 | ORV Receiver (orv_client_frontend:90) succeeded with 3 possible settings\n"
    "M     14:02:11:407 | ORV Receiver (orv_client_frontend:99) trying freq2 (1.00000e+08)\n"
    "M     14:02:11:450 | ORV Receiver (orv_client_frontend:49) sampling position edge : 3 data edges between clock "
    "edges, 400 near one\n"
    "    E 14:02:11:507 | ORV Receiver (orv_client_frontend:120) failed freq2 (1.00000e+08) : "
    "eCALIBRATE(12) : failed to calibrate channel : clock margin too low\n"
    "M     14:02:11:507 | ORV Receiver (orv_client_frontend:99) trying freq1 (5.00000e+07)\n";

TEST(RunLog, AStepDownGivesTheChosenAndTheRejectedSettings) {
    const RunLog log = parseRunLog(stepDown, true);
    ASSERT_EQ(log.frequencies.size(), 4U);
    EXPECT_EQ(log.frequencies[0].verdict, Verdict::Measured);
    EXPECT_EQ(log.frequencies[1].verdict, Verdict::Chosen);
    EXPECT_EQ(log.frequencies[2].verdict, Verdict::Rejected);
    EXPECT_EQ(log.frequencies[2].reason, "eCALIBRATE(12) : failed to calibrate channel : clock margin too low");
    EXPECT_EQ(log.frequencies[3].verdict, Verdict::Rejected);
    EXPECT_EQ(log.frequencies[3].reason, "exceeds frequency limits");
    ASSERT_NE(log.chosen(), nullptr);
    EXPECT_EQ(log.chosen()->setting, 1U);
    EXPECT_DOUBLE_EQ(log.chosen()->hertz, 5e7);
    EXPECT_FALSE(log.settingsReplaced);
}

TEST(RunLog, AttemptsAreInTheirOrderWithPositionAndReason) {
    const RunLog log = parseRunLog(stepDown, true);
    ASSERT_EQ(log.attempts.size(), 2U);
    EXPECT_EQ(log.attempts[0].setting, 2U);
    EXPECT_EQ(log.attempts[0].position, "edge");
    EXPECT_FALSE(log.attempts[0].kept);
    EXPECT_EQ(log.attempts[0].reason, "eCALIBRATE(12) : failed to calibrate channel : clock margin too low");
    EXPECT_EQ(log.attempts[1].setting, 1U);
    EXPECT_EQ(log.attempts[1].position, "");
    EXPECT_TRUE(log.attempts[1].kept);
    EXPECT_FALSE(parseRunLog(stepDown, false).attempts[1].kept);
}

TEST(RunLog, APositionThatWasNotFoundIsNone) {
    const RunLog log =
        parseRunLog("M | trying freq0 (1.0e+08)\nM | sampling position not detected : 0 data edges\n", false);
    ASSERT_EQ(log.attempts.size(), 1U);
    EXPECT_EQ(log.attempts[0].position, "");
}

TEST(RunLog, WithoutSuccessNoSettingIsChosen) {
    EXPECT_EQ(parseRunLog(stepDown, false).chosen(), nullptr);
}

TEST(RunLog, OnlyTheLastConfigurationCounts) {
    const std::string text = std::string(stepDown) +
                             "M     15:00:00:000 | ORV Receiver : loading settings from b.xml\n"
                             "M     15:00:00:001 | x (y:1) setting 0 measured at 2.00000e+07 Hz\n"
                             "M     15:00:00:002 | x (y:2) trying freq0 (2.00000e+07)\n";
    const RunLog log = parseRunLog(text, true);
    ASSERT_EQ(log.frequencies.size(), 1U);
    EXPECT_EQ(log.chosen()->setting, 0U);
    EXPECT_DOUBLE_EQ(log.chosen()->hertz, 2e7);
}

TEST(RunLog, ASettingThatCannotBeMeasuredIsRejected) {
    const RunLog log =
        parseRunLog("    E x | o (u:1) exception programming transmitter to frequency setting 0\n", false);
    ASSERT_EQ(log.frequencies.size(), 1U);
    EXPECT_EQ(log.frequencies[0].verdict, Verdict::Rejected);
}

TEST(RunLog, ReplacedSettingsAreReportedWithTheirReason) {
    const RunLog log = parseRunLog(" W    x | ORV Receiver : failed to load settings, overwriting file with defaults : "
                                   "unsupported transmitter (dsp)\n",
                                   true);
    EXPECT_EQ(log.settingsReplaced, "unsupported transmitter (dsp)");
}

TEST(PlainReason, StatusNameAndNumberAreLeftOut) {
    EXPECT_EQ(plainReason("eOVS(13) : over sampling error : x"), "over sampling error : x");
    EXPECT_EQ(plainReason("exceeds frequency limits"), "exceeds frequency limits");
    EXPECT_EQ(plainReason(""), "");
}

TEST(RunLog, AnEmptyLogHasNothing) {
    const RunLog log = parseRunLog("", true);
    EXPECT_TRUE(log.frequencies.empty());
    EXPECT_EQ(log.chosen(), nullptr);
}

} // namespace
} // namespace diagnosis
