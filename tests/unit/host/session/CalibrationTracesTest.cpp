#include "host/session/CalibrationTraces.h"
#include "tests/support/scratch/TemporaryFolder.h"
#include "tests/unit/diagnosis/files/DrawnFiles.h"

#include <gmock/gmock.h>

// What the log says about a calibration, and the files where there is no log.

namespace host {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr std::size_t samples = 8192;

class CalibrationTracesTest : public testing::Test {
protected:
    CalibrationTracesTest() {
        traces.stem = folder.path / "x";
        traces.calibrated = true;
        traces.hertz = 5e7;
        traces.frequencies = {2.5e7, 5e7, 1e8};
    }

    /// The kept attempt at setting 1, and one before it that ended with too little margin.
    void writeAttempts() {
        folder.write("x.freq2.cal.txt", drawn::report({{1, 1}, {1, 1}}, drawn::head("100.00 MHz", "14.00 ")));
        folder.write("x.freq2.cap.txt", drawn::burst({drawn::square(samples, 7, 3), drawn::square(samples, 7, 7),
                                                      drawn::square(samples, 7, 7)},
                                                     drawn::head("100.00 MHz", "14.00 ")));
        folder.write("x.freq1.cal.txt", drawn::report({{6, 5}, {6, 5}}));
    }
    void take() {
        result.calibrated = traces.calibrated;
        result.log = diagnosis::parseRunLog(traces.log, traces.calibrated);
        takeTraces(traces, result);
    }

    test_support::TemporaryFolder folder;
    CalibrationTraces traces;
    SessionResult result;
};

TEST_F(CalibrationTracesTest, WithoutALogTheFilesTellTheAttempts) {
    writeAttempts();
    take();
    ASSERT_EQ(result.attempts.size(), 2U);
    EXPECT_EQ(result.attempts[0].attempt.setting, 2U);
    EXPECT_EQ(result.attempts[0].attempt.reason, "clock margin too low");
    EXPECT_FALSE(result.attempts[0].attempt.kept);
    EXPECT_TRUE(result.attempts[1].attempt.kept);
    EXPECT_DOUBLE_EQ(result.attempts[1].attempt.hertz, 5e7);
    ASSERT_NE(result.log.chosen(), nullptr);
    EXPECT_EQ(result.log.chosen()->setting, 1U);
    EXPECT_EQ(result.log.frequencies[0].verdict, diagnosis::FrequencySetting::Verdict::Measured);
    EXPECT_EQ(result.log.frequencies[2].verdict, diagnosis::FrequencySetting::Verdict::Rejected);
    ASSERT_TRUE(result.calibration);
    EXPECT_EQ(result.calibration->pins[1].holdMargin, 6U);
    EXPECT_THAT(result.notes, ElementsAre(HasSubstr("the receiver wrote no log")));
}

TEST_F(CalibrationTracesTest, WithoutALogAndWithoutFilesNothingIsClaimed) {
    take();
    EXPECT_TRUE(result.attempts.empty());
    EXPECT_FALSE(result.calibration);
    EXPECT_EQ(result.log.chosen(), nullptr);
    EXPECT_EQ(result.log.frequencies.size(), 3U);
    EXPECT_FALSE(result.givenValues);
    EXPECT_EQ(result.hertz, 5e7);
    EXPECT_EQ(result.notes.size(), 1U);
}

TEST_F(CalibrationTracesTest, AReasonThatNoFileHoldsIsNotKnown) {
    folder.write("x.freq2.cal.txt", drawn::report({{6, 6}}));
    folder.write("x.freq1.cal.txt", drawn::report({{6, 5}}));
    take();
    ASSERT_EQ(result.attempts.size(), 2U);
    EXPECT_THAT(result.attempts[0].attempt.reason, HasSubstr("not known"));
}

TEST_F(CalibrationTracesTest, ALogThatEndsTooEarlyIsNotBelieved) {
    writeAttempts();
    traces.log = "loading settings from x.xml\n trying freq2 (1.00000e+08)\n";
    take();
    ASSERT_NE(result.log.chosen(), nullptr);
    EXPECT_EQ(result.log.chosen()->setting, 1U) << "the receiver states 50 MHz";
    EXPECT_THAT(result.notes, ElementsAre(HasSubstr("cut off")));
}

TEST_F(CalibrationTracesTest, AWholeLogIsUsed) {
    writeAttempts();
    traces.log = "loading settings from x.xml\n trying freq2 (1.00000e+08)\n"
                 " failed freq2 (1.00000e+08) : eCALIBRATE:(12) : clock margin too low\n"
                 " trying freq1 (5.00000e+07)\n";
    take();
    EXPECT_THAT(result.notes, IsEmpty());
    ASSERT_EQ(result.attempts.size(), 2U);
    EXPECT_EQ(result.attempts[0].report->pins[1].holdMargin, 1U) << "measured in this attempt";
    traces.log.clear();
    traces.givenValues = true;
    EXPECT_FALSE(isComplete(diagnosis::RunLog(), traces));
    traces.log = "loading settings from x.xml\n";
    EXPECT_TRUE(isComplete(diagnosis::RunLog(), traces)) << "given values have no setting";
}

TEST_F(CalibrationTracesTest, AnAttemptThatEndedBeforeItsMarginsHasNone) {
    writeAttempts();
    traces.log = "loading settings from x.xml\n trying freq2 (1.00000e+08)\n"
                 " failed freq2 (1.00000e+08) : eCALIBRATE:(12) : unable to detect sampling position\n"
                 " trying freq1 (5.00000e+07)\n";
    take();
    ASSERT_EQ(result.attempts.size(), 2U);
    for (const diagnosis::CalPin& pin : result.attempts[0].report->pins) {
        EXPECT_FALSE(pin.holdMargin);
        EXPECT_FALSE(pin.setupMargin);
        EXPECT_FALSE(pin.correlation);
        EXPECT_FALSE(pin.correlationAtZero);
    }
    EXPECT_TRUE(result.attempts[0].report->pins[0].delay);
    EXPECT_TRUE(result.attempts[1].report->pins[1].holdMargin) << "the kept one's are its own";
}

TEST_F(CalibrationTracesTest, BelowTheSlowestAnalysedClockTheRegistersTellTheValues) {
    traces.hertz = 9e6;
    traces.log = "loading settings from x.xml\n trying freq0 (9.00000e+06)\n";
    folder.write("x.freq0.cal.txt", drawn::report({{6, 5}}, drawn::head("9.00 MHz", "155.56 ")));
    take();
    ASSERT_EQ(result.attempts.size(), 1U);
    EXPECT_FALSE(result.attempts[0].report->pins[0].delay) << "without a dump it is not known";
    result = {};
    folder.write("x.reg.txt", drawn::registers({3, 4}));
    take();
    EXPECT_EQ(result.attempts[0].report->pins[0].delay, 3);
    EXPECT_EQ(result.attempts[0].report->pins[1].delay, 4);
    EXPECT_EQ(result.calibration->pins[0].delay, 3);
    result = {};
    folder.write("x.freq0.reg.txt", drawn::registers({5, 6}));
    take();
    EXPECT_EQ(result.attempts[0].report->pins[0].delay, 5) << "the attempt's own dump is the later one";
}

TEST(Frequencies, AreReadUntilSomethingIsNone) {
    EXPECT_THAT(frequenciesOf("25000000.000000,50000000.000000"), ElementsAre(2.5e7, 5e7));
    EXPECT_THAT(frequenciesOf(""), IsEmpty());
    EXPECT_THAT(frequenciesOf("1.5,x,2"), ElementsAre(1.5));
}

} // namespace
} // namespace host
