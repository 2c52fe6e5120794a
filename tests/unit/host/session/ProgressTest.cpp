#include "host/session/Progress.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace host {
namespace {

TEST(ProgressStepTest, ARecordingHasRateAndFill) {
    const ProgressStep step = stepOfStatus("Recording : 190.7 Mbits/second :  37% full");
    EXPECT_EQ(step.phase, "recording");
    EXPECT_EQ(step.rate, "200.0 Mbits/second") << "in powers of 1000, as every other rate";
    ASSERT_TRUE(step.fraction);
    EXPECT_DOUBLE_EQ(*step.fraction, 0.37);
    EXPECT_EQ(step.fractionWord, "full");
}

TEST(ProgressStepTest, RatesOfEverySizeAreInPowersOfAThousand) {
    EXPECT_EQ(stepOfStatus("Recording : 512.0 bits/second :   0% full").rate, "512.0 bits/second");
    EXPECT_EQ(stepOfStatus("Recording : 1.0 kbits/second :   0% full").rate, "1.0 kbits/second");
    EXPECT_EQ(stepOfStatus("Recording : 1000.0 kbits/second :   0% full").rate, "1024.0 kbits/second");
    EXPECT_EQ(stepOfStatus("Recording : 1.0 Gbits/second :   0% full").rate, "1.1 Gbits/second");
}

TEST(ProgressStepTest, AnUploadHasItsShare) {
    const ProgressStep step = stepOfStatus("Stopped by user : uploading data :  25% complete");
    EXPECT_EQ(step.phase, "uploading");
    EXPECT_EQ(step.rate, "");
    ASSERT_TRUE(step.fraction);
    EXPECT_DOUBLE_EQ(*step.fraction, 0.25);
    EXPECT_EQ(step.fractionWord, "complete");
}

TEST(ProgressStepTest, TheEndAndAnythingElseHaveNoNumbers) {
    EXPECT_EQ(stepOfStatus("Stopped by buffer full : upload complete").phase, "uploaded");
    EXPECT_EQ(stepOfStatus("Stopped by user").phase, "uploading");
    EXPECT_FALSE(stepOfStatus("Stopped by error : upload complete : error 3").fraction);
    EXPECT_EQ(stepOfStatus("").phase, "uploading");
}

TEST(ProgressTextTest, AKnownLengthIsTold) {
    ProgressStep step{"recording", "1.9 Mbits/second", 0.5, "full", 3.0};
    EXPECT_EQ(progressText(step, 1.24), "recording, 1.9 Mbits/second, 50% full, 1.2 s of 3.0 s");
}

TEST(ProgressTextTest, AnUnknownLengthFollowsFromTheShareOnceThatIsBigEnough) {
    ProgressStep step{"recording", "", 0.5, "full", {}};
    EXPECT_EQ(progressText(step, 2.0), "recording, 50% full, 2.0 s of about 4.0 s");
    step.fraction = 0.04;
    EXPECT_EQ(progressText(step, 2.0), "recording, 4% full, 2.0 s");
    step.fraction.reset();
    EXPECT_EQ(progressText(step, 2.0), "recording, 2.0 s");
}

TEST(ProgressLineTest, PipedEachPhaseIsOneLine) {
    testing::internal::CaptureStderr();
    {
        ProgressLine line(ProgressStyle::Plain);
        for (int i = 0; i < 5; ++i) {
            line.show({"recording", "1 bits/second", 0.2 * i, "full", {}});
        }
        line.setPrefix("2 of 3: ");
        line.show({"uploading", {}, {}, {}, {}});
        line.clear();
        line.show({"uploading", {}, {}, {}, {}});
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "orvtrace: recording\n"
                                                      "orvtrace: 2 of 3: uploading\n"
                                                      "orvtrace: 2 of 3: uploading\n");
}

TEST(ProgressLineTest, OnATerminalTheLineIsOverwrittenAndTakenAway) {
    testing::internal::CaptureStderr();
    {
        ProgressLine line(ProgressStyle::Terminal);
        line.show({"recording, a phase with a name", {}, {}, {}, {}});
        line.show({"uploading", {}, {}, {}, {}});
    }
    const std::string text = testing::internal::GetCapturedStderr();
    EXPECT_EQ(text.find('\n'), std::string::npos);
    EXPECT_EQ(text.front(), '\r');
    EXPECT_EQ(text.back(), '\r');
    EXPECT_NE(text.find("\ruploading, 0.0 s "), std::string::npos) << "the longer line before is covered";
}

TEST(ProgressLineTest, OnATerminalNoLineWraps) {
    testing::internal::CaptureStderr();
    {
        ProgressLine line(ProgressStyle::Terminal);
        line.show({std::string(200, 'x'), {}, {}, {}, {}});
    }
    EXPECT_LE(testing::internal::GetCapturedStderr().find('\r', 1), 80U);
}

TEST(ProgressLineTest, ANarrowTerminalCutsTheLineToItsWidth) {
    testing::internal::CaptureStderr();
    {
        std::size_t columns = 40;
        ProgressLine line(ProgressStyle::Terminal, [&] { return columns; });
        line.show({std::string(60, 'x'), {}, {}, {}, {}});
        columns = 0;
        line.show({std::string(60, 'y'), {}, {}, {}, {}});
    }
    const std::string text = testing::internal::GetCapturedStderr();
    EXPECT_EQ(std::count(text.begin(), text.end(), 'x'), 39);
    EXPECT_EQ(std::count(text.begin(), text.end(), 'y'), 1);
}

TEST(ProgressFollowerTest, ShowsAPhaseAtOnce) {
    testing::internal::CaptureStderr();
    {
        ProgressLine line(ProgressStyle::Plain);
        const ProgressFollower follower([] { return ProgressStep{"starting", {}, {}, {}, {}}; }, line);
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "orvtrace: starting\n");
}

TEST(ProgressLineTest, QuietSaysNothing) {
    testing::internal::CaptureStderr();
    {
        ProgressLine line(ProgressStyle::Quiet);
        line.show({"recording", {}, {}, {}, {}});
        line.clear();
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(ProgressLineTest, NoControlCharacterIsShown) {
    testing::internal::CaptureStderr();
    {
        ProgressLine line(ProgressStyle::Terminal, [] { return std::size_t{80}; });
        line.show({"recording", "\x1b[31m", {}, {}, {}});
    }
    const std::string shown = testing::internal::GetCapturedStderr();
    EXPECT_EQ(shown.find('\x1b'), std::string::npos) << shown;
}

} // namespace
} // namespace host
