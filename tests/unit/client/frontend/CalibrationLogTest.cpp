#include "tests/unit/client/frontend/CalibrationFixture.h"

// The log of a calibration: what was tried and found, and why a setting was kept or rejected.

namespace client_test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::Return;

/// The steps from the choice of the first setting on, without what a recording logs.
std::vector<std::string> story(const LogCapture& log) {
    std::vector<std::string> steps = log.steps();
    const auto begin = std::find_if(steps.begin(), steps.end(),
                                    [](const std::string& step) { return step.starts_with("starting at "); });
    steps.erase(steps.begin(), begin);
    return steps;
}

TEST_F(CalibrationTest, TheLogTellsOfAnAttemptThatIsKept) {
    openChannel("verifyCal=false\n");
    rates({25e6, 50e6});
    signals();
    LogCapture log;
    channel->calibrate();
    using testing::AllOf;
    using testing::HasSubstr;
    using testing::StartsWith;
    EXPECT_THAT(
        story(log),
        ElementsAre(
            "starting at freq1 (5.00000e+07), the fastest setting", "trying freq1 (5.00000e+07)",
            "clock 5.00000e+07 Hz, 28.00 samples in its period, 14 in a bit, 4.00000e+08 bits per second",
            "conditioning for that many samples : filter=7, plateau=7, debounce=8",
            "sampling position edge : 1 data edges between clock edges, 1176 near one",
            "duty corrected : stretches=0,-1,1,-2,1", "pins aligned with each other : delays=28,14,0,14,28",
            "clock margins : 8 before, 7 after, 9 samples needed in all : enough",
            "clock centred : delays=29,14,0,14,28",
            "clock : input=4, delay=29, stretch=0, filter=7, plateau=7, debounce=8",
            "data 1 : input=6, delay=14, stretch=-1, margin=-8,+7, correlation peak=1.000 at lag 0, at zero=1.000",
            AllOf(StartsWith("data 2 : input=3, delay=0, stretch=1, margin=-8,+7, correlation peak="),
                  HasSubstr(" at lag 14, at zero=")),
            StartsWith("data 3 : input=2, delay=14, stretch=-2, margin=-8,+7, correlation peak="),
            AllOf(StartsWith("data 4 : input=5, delay=28, stretch=1, margin=-8,+7, correlation peak="),
                  HasSubstr(" at lag -14, at zero=")),
            "freq1 (5.00000e+07) kept"));
}

TEST_F(CalibrationTest, TheLogTellsWhyASettingIsDroppedAndWhatComesNext) {
    openChannel("verifyCal=false\nfrequencyLimit=60e6\n");
    rates({25e6, 50e6, 87.5e6}); // and no data on the pins
    LogCapture log;
    EXPECT_THROW(channel->calibrate(), Exception);
    EXPECT_THAT(
        story(log),
        testing::IsSupersetOf(
            {std::string("starting at freq1 (5.00000e+07), the fastest setting below the limit of 6.00000e+07 Hz"),
             std::string("sampling position not detected : 0 data edges between clock edges, 0 near one"),
             std::string("data 3 : input=2, delay=0, stretch=0, margin=-none,+none, correlation peak=0.000 at "
                         "lag 0, at zero=0.000"),
             std::string("freq1 dropped : its signal cannot be used, next comes freq0"),
             std::string("freq0 dropped : it was the slowest, nothing is left to try")}));
}

TEST_F(CalibrationTest, TheLogTellsOfALimitThatNoSettingKeeps) {
    openChannel("verifyCal=false\nfrequencyLimit=10e6\n");
    rates({25e6, 50e6});
    LogCapture log;
    EXPECT_THROW(channel->calibrate(), Exception);
    EXPECT_THAT(log.steps(),
                Contains("starting at freq0 (2.50000e+07), though no setting is below the limit of 1.00000e+07 Hz"));
}

TEST_F(CalibrationTest, TheLogTellsOfAFailureThatNoOtherSettingWouldMend) {
    openChannel("verifyCal=false\n");
    rates({25e6, 50e6});
    model.onTrigger([](RegisterModel& unit) { unit.setBurst(2, {}, false); });
    LogCapture log;
    EXPECT_THROW(channel->calibrate(), Exception);
    EXPECT_THAT(log.steps(), Contains("freq1 dropped : not for its signal, so no other setting is tried"));
}

TEST_F(CalibrationTest, TheLogTellsOfAlignmentWithTheClock) {
    openChannel("verifyCal=false\ndeskewStrategy=clock\n");
    rates({50e6});
    signals();
    LogCapture log;
    channel->calibrate();
    EXPECT_THAT(log.steps(), Contains(testing::StartsWith("pins aligned with the clock : delays=")));
}

TEST_F(CalibrationTest, TheLogTellsOfMarginsThatAreTooLow) {
    openChannel();
    measure(50000000);
    Metrics m;
    for (std::uint32_t p = 1; p < 5; ++p) {
        m.proc[p].marginBefore = 4;
        m.proc[p].marginAfter = 4;
    }
    LogCapture log;
    EXPECT_THROW(inside().adjustClockDelay(m), Exception);
    EXPECT_THAT(log.steps(), Contains("clock margins : 4 before, 4 after, 9 samples needed in all : too low"));
}

TEST_F(CalibrationTest, TheLogTellsOfARateThatNeedsNoAnalysis) {
    openChannel("verifyCal=false\n");
    rates({8e6});
    LogCapture log;
    channel->calibrate();
    EXPECT_THAT(log.steps(), Contains("too slow to be analysed, and needs no analysis"));
    EXPECT_THAT(log.steps(), Contains("freq0 (7.99999e+06) kept"));
}

} // namespace
} // namespace client_test
