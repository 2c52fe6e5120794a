#include "diagnosis/analysis/OwnFigures.h"
#include "tests/support/scratch/TemporaryFolder.h"
#include "tests/unit/diagnosis/files/DrawnFiles.h"

#include <gtest/gtest.h>

// An attempt's report shows what an earlier one measured until the attempt measures itself.

namespace diagnosis {
namespace {

using drawn::samples;

/// A burst in which nothing was computed yet, and whose data pins never change: the vote cannot decide.
Burst voteless() {
    const std::string still(samples, '0');
    Burst burst = parseBurst(drawn::burst({drawn::square(samples, 14, 3), still, still}), "x");
    for (BurstPin& pin : burst.pins) {
        pin.delay = 0;
    }
    return burst;
}

/// One whose margins are 8 samples after the clock's edge, which the receiver counts as 8, and 7 before it.
Burst voted() {
    const std::string data = drawn::square(samples, 14, 10);
    return parseBurst(drawn::burst({drawn::square(samples, 14, 3), data, data}), "x");
}

FileGroup attemptOf(const Burst& burst, const std::vector<drawn::Margin>& margins) {
    FileGroup attempt;
    attempt.setting = 1;
    attempt.burst = burst;
    attempt.cal = parseCalFile(drawn::report(margins), "x");
    return attempt;
}

TEST(OwnFigures, TheReceiversReasonTellsHowFarAnAttemptCame) {
    const FileGroup attempt = attemptOf(voted(), {{1, 1}, {1, 1}});
    EXPECT_TRUE(reachedMargins(attempt, "failed to calibrate channel : clock margin too low"));
    EXPECT_TRUE(reachedMargins(attempt, "failed calibration pattern test"));
    EXPECT_TRUE(reachedMargins(attempt, "timeout during calibration verification"));
    EXPECT_FALSE(reachedMargins(attempt, "unable to detect sampling position"));
    EXPECT_FALSE(reachedMargins(attempt, "invalid delay"));
}

TEST(OwnFigures, AfterAnotherReasonTheReportHasToFitTheBurst) {
    const std::string reason = "transmitter failure : failed enabling port";
    EXPECT_TRUE(reachedMargins(attemptOf(voted(), {{8, 7}, {8, 7}}), reason));
    EXPECT_FALSE(reachedMargins(attemptOf(voted(), {{8, 7}, {8, 6}}), reason));
    FileGroup bare = attemptOf(voted(), {{8, 7}, {8, 7}});
    bare.burst.reset();
    EXPECT_FALSE(reachedMargins(bare, reason));
}

TEST(OwnFigures, WithoutALogTheBurstTellsThatTheVoteFailed) {
    EXPECT_TRUE(endedAtVote(attemptOf(voteless(), {{6, 6}, {6, 6}})));
    EXPECT_FALSE(reachedMargins(attemptOf(voteless(), {{6, 6}, {6, 6}}), ""));
    EXPECT_TRUE(reachedMargins(attemptOf(voted(), {{6, 6}, {6, 6}}), ""));
    FileGroup later = attemptOf(voteless(), {{6, 6}, {6, 6}});
    later.burst->pins[1].delay = 3; // a delay was computed, so that the vote had been decided
    EXPECT_FALSE(endedAtVote(later));
}

TEST(OwnFigures, AreAllThatASetShows) {
    const test_support::TemporaryFolder folder;
    folder.write("x.freq2.cal.txt", drawn::report({{6, 5}, {6, 5}}));
    std::string burst =
        drawn::burst({drawn::square(samples, 14, 3), std::string(samples, '0'), std::string(samples, '0')});
    for (const char* delay : {"delay=1", "delay=2"}) {
        burst.replace(burst.find(delay), 7, "delay=0");
    }
    folder.write("x.freq2.cap.txt", burst);
    folder.write("x.freq1.cal.txt", drawn::report({{6, 5}, {6, 5}}));
    const DiagnosticSet set = readDiagnostics(folder.path);
    ASSERT_EQ(set.attempts.size(), 2U);
    EXPECT_TRUE(set.attempts[0].cal->figuresLeftOut);
    EXPECT_FALSE(set.attempts[0].cal->pins[1].holdMargin);
    EXPECT_FALSE(set.attempts[0].cal->pins[1].correlation);
    EXPECT_FALSE(set.attempts[1].cal->figuresLeftOut);
    EXPECT_TRUE(set.attempts[1].cal->pins[1].holdMargin);
}

TEST(OwnFigures, BelowTheSlowestAnalysedClockAreTheRegisters) {
    const test_support::TemporaryFolder folder;
    const std::string slow = drawn::head("9.00 MHz", "155.56 ");
    folder.write("x.freq1.cal.txt", drawn::report({{6, 5}}));
    folder.write("x.freq1.reg.txt", drawn::registers({9, 10}));
    folder.write("x.freq0.cal.txt", drawn::report({{6, 5}}, slow));
    folder.write("x.reg.txt", drawn::registers({0, 0}));
    const DiagnosticSet set = readDiagnostics(folder.path);
    EXPECT_EQ(set.attempts[0].cal->pins[0].delay, 1) << "at a rate that is analysed the report holds";
    EXPECT_EQ(set.attempts[1].cal->pins[0].delay, 9) << "what the attempt before left in the unit";
    EXPECT_FALSE(set.attempts[1].cal->pins[1].holdMargin) << "no margin is measured";
    EXPECT_EQ(set.attempts[1].cal->pins[0].debounce, 4);
    EXPECT_EQ(set.attempts[1].cal->pins[0].stretch, 0);
}

} // namespace
} // namespace diagnosis
