#include "diagnosis/analysis/Verdict.h"
#include "tests/unit/diagnosis/files/DrawnFiles.h"

#include <gtest/gtest.h>

namespace diagnosis {
namespace {

using Reason = Verdict::Reason;
using Outcome = Verdict::Outcome;

constexpr std::size_t shortBurst = 2048;

/// One attempt of four data pins with sound files.
DiagnosticSet soundSet() {
    DiagnosticSet set;
    set.name = "run";
    FileGroup& attempt = set.attempts.emplace_back();
    attempt.setting = 1;
    attempt.cal = parseCalFile(drawn::report({{6, 6}, {6, 6}, {6, 6}, {6, 6}}), "x");
    const std::string data = drawn::square(shortBurst, 14, 10);
    attempt.burst = parseBurst(drawn::burst({drawn::square(shortBurst, 14, 3), data, data, data, data}), "x");
    attempt.verification = parseVerification(drawn::packets(drawn::framed));
    return set;
}

Verdict judged(const DiagnosticSet& set) {
    return judge(set, set.attempts.front());
}

TEST(Verdict, AVerificationWithoutAFaultAccepts) {
    const DiagnosticSet set = soundSet();
    EXPECT_EQ(judged(set).outcome, Outcome::Accepted);
    EXPECT_EQ(calibrated(set, {judged(set)}), true);
}

TEST(Verdict, AWrongWordRefusesButNotForTpiu) {
    DiagnosticSet set = soundSet();
    set.attempts.front().verification = parseVerification(
        drawn::packets([](std::size_t i) { return i == 900 ? std::uint16_t{0x1111} : drawn::framed(i); }));
    EXPECT_EQ(judged(set).reason, Reason::Pattern);
    EXPECT_EQ(judged(set).receiverText, "failed calibration pattern test");
    EXPECT_EQ(calibrated(set, {judged(set)}), false);
    set.attempts.front().cal->exportKind = "tpiu";
    EXPECT_EQ(judged(set).outcome, Outcome::Accepted);
}

TEST(Verdict, AVerificationThatDidNotFillIsATimeout) {
    DiagnosticSet set = soundSet();
    set.attempts.front().verification = parseVerification(drawn::packets(drawn::framed, 100));
    EXPECT_EQ(judged(set).reason, Reason::Timeout);
}

TEST(Verdict, RightWordsWhoseCountsDoNotAddUpAreASideBandFault) {
    DiagnosticSet set = soundSet();
    // Six zeros instead of five in one sequence: right by the pattern, but a word too many.
    const std::size_t extra = 71 * 10;
    set.attempts.front().verification = parseVerification(drawn::packets([&](std::size_t i) {
        return i < extra ? drawn::framed(i) : i == extra ? std::uint16_t{0} : drawn::framed(i - 1);
    }));
    const Verdict verdict = judged(set);
    // A longer run is a sequence still; its further zero is counted by itself, so that the sum holds.
    EXPECT_EQ(verdict.outcome, Outcome::Accepted);
    // Fewer pattern words than a thousand are not enough.
    set.attempts.front().verification =
        parseVerification(drawn::packets([](std::size_t i) { return i < 640 ? drawn::framed(i) : std::uint16_t{0}; }));
    EXPECT_EQ(judged(set).reason, Reason::SideBand);
    EXPECT_EQ(judged(set).receiverText, "failed side-band verification");
}

TEST(Verdict, TooLittleMarginRefusesWithTheReceiversNumbers) {
    DiagnosticSet set = soundSet();
    set.attempts.front().verification.reset();
    set.attempts.front().cal = parseCalFile(drawn::report({{6, 6}, {3, 6}, {6, 5}, {6, 6}}), "x");
    const auto margin = clockMarginOf(set.attempts.front());
    ASSERT_TRUE(margin);
    EXPECT_EQ(margin->holdMargin, 3U);
    EXPECT_EQ(margin->holdPin, 2U);
    EXPECT_EQ(margin->setupMargin, 5U);
    EXPECT_EQ(margin->setupPin, 3U);
    EXPECT_EQ(margin->need, 9U);
    EXPECT_EQ(judged(set).reason, Reason::Margin);
    EXPECT_EQ(judged(set).words,
              "The receiver's rule counts 8 samples around the clock's edges (setup margin 5, hold margin 3, with the "
              "edge's own); 9 samples, a third of the clock period, are needed.");
}

TEST(Verdict, StuckPinsDoNotCountForTheMargin) {
    DiagnosticSet set = soundSet();
    set.attempts.front().cal = parseCalFile(drawn::report({{0x7FFFFFFF, 0x7FFFFFFF}, {6, 5}}), "x");
    EXPECT_EQ(clockMarginOf(set.attempts.front())->holdMargin, 6U);
    set.attempts.front().cal = parseCalFile(drawn::report({{0x7FFFFFFF, 0x7FFFFFFF}}), "x");
    EXPECT_FALSE(clockMarginOf(set.attempts.front()));
}

TEST(Verdict, AFailedVoteIsSeenInTheBurst) {
    DiagnosticSet set = soundSet();
    FileGroup& attempt = set.attempts.front();
    attempt.verification.reset();
    const std::string still(shortBurst, '0');
    attempt.burst = parseBurst(drawn::burst({drawn::square(shortBurst, 14, 3), still, still, still, still}), "x");
    for (BurstPin& pin : attempt.burst->pins) {
        pin.delay = 0;
    }
    // The report still has the margins of the preceding attempt, which would refuse by themselves.
    attempt.cal = parseCalFile(drawn::report({{1, 1}, {1, 1}, {1, 1}, {1, 1}}), "x");
    EXPECT_EQ(judged(set).reason, Reason::Position);
    EXPECT_EQ(judged(set).receiverText, "unable to detect sampling position");
}

TEST(Verdict, ValuesThatTheUnitDoesNotTakeAreNamed) {
    DiagnosticSet set = soundSet();
    set.attempts.front().verification.reset();
    set.attempts.front().cal->pins[2].delay = 32;
    EXPECT_EQ(judged(set).receiverText, "invalid delay");
    set.attempts.front().cal->pins[2].plateau = 4;
    EXPECT_EQ(judged(set).receiverText, "invalid plateau");
}

TEST(Verdict, NothingMeasuredIsNoRefusalWithGivenValues) {
    DiagnosticSet set;
    set.base.cal = parseCalFile(drawn::report({{6, 6}}, drawn::head("0.00 yHz", "0.00 y"), "tpiulite"), "x");
    EXPECT_TRUE(set.manual());
    EXPECT_EQ(judge(set, set.base).reason, Reason::Manual);
    EXPECT_EQ(calibrated(set, {}), true);
    set.base.cal->exportKind = "pti";
    EXPECT_FALSE(set.manual());
    EXPECT_EQ(calibrated(set, {}), false);
    EXPECT_EQ(judge(set, set.base).reason, Reason::Unmeasured);
    set.properties = parseProperties("[Channel 0]\ncalMode=manual\n", "x");
    EXPECT_TRUE(set.manual());
}

TEST(Verdict, WithoutAVerificationAndWithoutAReasonItIsUnknown) {
    DiagnosticSet set = soundSet();
    set.attempts.front().verification.reset();
    EXPECT_EQ(judged(set).outcome, Outcome::Unknown);
    EXPECT_FALSE(calibrated(set, {judged(set)}));
    set.properties = parseProperties("[Channel 0]\nverifyCal=false\n", "x");
    EXPECT_EQ(judged(set).reason, Reason::Unverified);
    EXPECT_EQ(judged(set).outcome, Outcome::Accepted);
}

} // namespace
} // namespace diagnosis
