// Rules about time, on a clock that the test sets, and failures to create threads and objects.
#include "common/source/Exception.h"
#include "common/source/source_utilities/PropertyParser.h"
#include "common/source/source_utilities/uEnvironment.h"
#include "common/source/source_utilities/uLog.h"
#include "common/source/source_utilities/uStopwatch.h"
#include "common/source/source_utilities/uTime.h"
#include "common/source/source_utilities/uTimer.h"
#include "tests/support/allocation/MemoryShortage.h"
#include "tests/support/failure/FailureText.h"
#include "tests/support/scratch/TemporaryFolder.h"
#include "tests/unit/common/ScriptedPlatform.h"

#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <utility>

namespace VX_QRS {
namespace {

using test::platform;

class ScriptedTime : public testing::Test {
protected:
    ScriptedTime() { platform() = {}; }
    test_support::TemporaryFolder folder;
};

TEST_F(ScriptedTime, StopwatchDividesTicksByTheFrequency) {
    platform().counterStep = 250;
    uStopwatch watch;
    EXPECT_EQ(watch.elapsed(), 0.25);
    EXPECT_EQ(watch.elapsed(), 0.5);
    watch.mark();
    EXPECT_EQ(watch.elapsed(), 0.25);
}

TEST_F(ScriptedTime, StopwatchWithoutACounterReadsZero) {
    platform().counterStep = 250;
    platform().hasCounter = false;
    uStopwatch watch;
    watch.mark();
    EXPECT_EQ(watch.elapsed(), 0.0);
    EXPECT_EQ(platform().counterReadings, 0);
}

TEST_F(ScriptedTime, DayOfTheYearFollowsTheTableOfItsYear) {
    constexpr std::array<int, 12> divisible{0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334};
    constexpr std::array<int, 12> other{0, 31, 60, 91, 121, 152, 182, 213, 244, 274, 305, 335};
    {
        const uTime first;
    }
    for (const int year : {2024, 2025, 2026, 2100}) {
        for (int month = 1; month <= 12; ++month) {
            platform().time.year = year;
            platform().time.month = month;
            platform().time.day = 10;
            const uTime now;
            const auto& table = year % 4 == 0 ? divisible : other;
            EXPECT_EQ(now.getDayOfYear(), table[static_cast<std::size_t>(month - 1)] + 10) << year << " " << month;
            EXPECT_EQ(now.getYear(), year);
            EXPECT_EQ(now.getMonth(), month);
        }
    }
}

TEST_F(ScriptedTime, MonthOfZeroHasNoDayOfTheYear) {
    {
        const uTime first;
    }
    platform().time.month = 0;
    const uTime now;
    EXPECT_EQ(now.getDayOfYear(), 0);
}

TEST_F(ScriptedTime, FormatsEveryField) {
    const uTime now;
    std::array<char, 80> buffer{};
    EXPECT_STREQ(uTime::format(buffer.data(), 80, "%Y-%m-%d %w %H:%M:%S:%s|%#s|%s"), "2026-11-21 6 14:02:11:007|7|007");
}

TEST_F(ScriptedTime, LogLinesCarryTheTimeInTheChosenFormat) {
    constexpr bool append = true;
    uLogger logger(folder.file("log").c_str(), append);
    logger.setToDebugger(true);
    logger.log(uLogger::errorClass, 2, "failed");
    for (const int format : {0, 1, 2, 3, 4}) {
        logger.log(uLogger::messageClass, format, "x");
    }
    EXPECT_EQ(folder.read("log"), "    E 14:02:11:007 | failed\n"
                                  "M      x\n"
                                  "M     11/21/26 | x\n"
                                  "M     14:02:11:007 | x\n"
                                  "M     11/21/26 14:02:11:007 | x\n"
                                  "M      x\n");
    ASSERT_EQ(platform().debugger.size(), 6U);
    EXPECT_EQ(platform().debugger[0], "    E 14:02:11:007 | failed\n");
}

TEST_F(ScriptedTime, OpenedLogBeginsWithItsTwoLines) {
    const std::string profile = uEnvironment::get("USERPROFILE");
    uEnvironment::set("USERPROFILE", folder.path.string().c_str());
    uEnvironment::set("ORV_TEST_DIR", folder.path.string().c_str());
    uEnvironment::set("ORV_TEST_LEVEL", "1");
    uLogManager manager;
    constexpr bool shared = true;
    ASSERT_TRUE(manager.open("log", "ORV_TEST_LEVEL", "ORV_TEST_DIR", shared));
    uEnvironment::set("USERPROFILE", profile.c_str());
    const std::string separator = uEnvironment::separator();
    const std::string base = folder.path.string() + separator + ".VX-trace" + separator;
    EXPECT_EQ(folder.read("log"),
              "M     14:02:11:007 | Logger : trace user settings directory is " + base + "settings\n" +
                  "M     14:02:11:007 | Logger : trace temporary data directory is " + base + "data\n");
    manager.getLogger()->setEnabled(false);
}

// The calls, one letter each, in order.
class Action final : public uTimer::Callable {
public:
    Action(std::string& record, char letter, std::function<void()> more = {})
        : fired(record), name(letter), work(std::move(more)) {}
    void call() override {
        fired += name;
        if (work) {
            work();
        }
    }

private:
    std::string& fired;
    char name;
    std::function<void()> work;
};

class ScriptedTimer : public ScriptedTime {
protected:
    std::string run(double delay, std::uint32_t ticks, std::uint32_t firings) {
        std::string fired;
        Action tick(fired, 't');
        Action late(fired, 'L');
        uTimer timer;
        timer.registerCallable(&tick, 0.0, ticks);
        timer.registerCallable(&late, delay, firings);
        EXPECT_TRUE(timer.start());
        return fired;
    }
};

TEST_F(ScriptedTimer, FiresOnlyStrictlyAfterTheDelay) {
    platform().counterStep = 100; // a tenth of a second for each round
    EXPECT_EQ(run(0.1, 4, 2), "ttLttL");
    EXPECT_EQ(run(0.0999, 2, 2), "tLtL");
}

TEST_F(ScriptedTimer, WhatIsLeftOverOfADelayIsDropped) {
    platform().counterStep = 150;
    EXPECT_EQ(run(0.2, 4, 2), "ttLttL");
}

TEST_F(ScriptedTimer, DelayOfZeroNeedsTimeToPass) {
    platform().counterStep = 1;
    EXPECT_EQ(run(0.0, 1, 2), "tLL");
}

TEST_F(ScriptedTimer, TimeOfACallableCountsIntoTheNextRound) {
    platform().counterStep = 1;
    std::string fired;
    Action slow(fired, 's', [] { platform().counter += 1000; });
    Action late(fired, 'L');
    uTimer timer;
    timer.registerCallable(&slow, 0.0, 3);
    timer.registerCallable(&late, 0.5, 1);
    ASSERT_TRUE(timer.start());
    EXPECT_EQ(fired, "ssLs");
}

TEST_F(ScriptedTimer, TimeBeforeTheStartDoesNotCount) {
    std::string fired;
    Action tick(fired, 't');
    Action late(fired, 'L');
    uTimer timer;
    timer.registerCallable(&tick, 0.0, 3);
    timer.registerCallable(&late, 0.5, 1);
    platform().counter += 1000;
    platform().counterStep = 100;
    ASSERT_TRUE(timer.start());
    EXPECT_EQ(fired, "tttL");
}

TEST_F(ScriptedTimer, WithoutEntriesThereIsOneRound) {
    uTimer timer;
    ASSERT_TRUE(timer.start());
    EXPECT_EQ(platform().sleeps, std::vector<std::uint32_t>{100}) << "a tenth of a second by default";
}

TEST_F(ScriptedTimer, RoundFollowsTheLastFiringAndEndsTheTimer) {
    platform().counterStep = 1;
    EXPECT_EQ(run(0.0, 2, 0), "tt");
    EXPECT_EQ(platform().sleeps, (std::vector<std::uint32_t>{100, 100, 100}));
}

TEST_F(ScriptedTimer, IntervalIsCutToWholeMilliseconds) {
    for (const auto& [seconds, milliseconds] : {std::pair{0.0299, 29U}, std::pair{0.0009, 0U}, std::pair{0.1, 100U},
                                                std::pair{0.0, 0U}, std::pair{-1.0, 0U}}) {
        platform().sleeps.clear();
        uTimer timer;
        timer.setPollingInterval(seconds);
        ASSERT_TRUE(timer.start());
        EXPECT_EQ(platform().sleeps, std::vector<std::uint32_t>{milliseconds});
    }
}

TEST_F(ScriptedTimer, LongIntervalIsSleptInSlicesThatMakeUpTheWhole) {
    platform().hasCounter = false;
    uTimer timer;
    timer.setPollingInterval(0.25);
    ASSERT_TRUE(timer.start());
    EXPECT_EQ(platform().sleeps, (std::vector<std::uint32_t>{20, 20, 20, 20, 20, 20, 20, 20, 20, 20, 20, 20, 10}));
}

TEST_F(ScriptedTimer, SlicesThatLastLongerEndTheIntervalInTime) {
    platform().counterStep = 90; // milliseconds at each reading
    uTimer timer;
    timer.setPollingInterval(0.25);
    ASSERT_TRUE(timer.start());
    EXPECT_EQ(platform().sleeps, (std::vector<std::uint32_t>{20, 20, 20}));
}

TEST_F(ScriptedTimer, IntervalBeyondWhatCanBeSleptIsTheLongestThatCan) {
    platform().counterStep = 1000LL * 0xFFFFFFFF;
    uTimer timer;
    timer.setPollingInterval(1e12);
    ASSERT_TRUE(timer.start());
    EXPECT_EQ(platform().sleeps, std::vector<std::uint32_t>{20});
}

TEST_F(ScriptedTimer, WithoutMemoryForItsThreadThereIsNoTimer) {
    platform().threadsAreThere = false;
    EXPECT_EQ(test_support::failureText<source_utilities_error>([] { uTimer timer; }),
              "uTimer failed to allocate its thread");
}

TEST_F(ScriptedTimer, ThreadThatDoesNotStartLeavesTheTimerStopped) {
    platform().threadsStart = false;
    uTimer timer;
    EXPECT_FALSE(timer.start());
    EXPECT_NO_THROW(timer.setPollingInterval(1.0));
    platform().threadsStart = true;
    EXPECT_TRUE(timer.start());
}

TEST(ScriptedMemory, ParserThatCannotBeMadeIsAFailureAndNoUse) {
    using namespace ORV::CLIENT;
    try {
        const test_support::MemoryShortage shortage(0, test_support::Shortage::oneBlock);
        createPropertyParser();
        ADD_FAILURE() << "no failure was thrown";
    } catch (const Exception& e) {
        EXPECT_EQ(e.status(), eALLOC);
        EXPECT_STREQ(e.detail(), "");
    }
    PropertyParser_1 foreign;
    EXPECT_NO_THROW(destroyPropertyParser(&foreign)) << "nothing is in use";
    PropertyParser* parser = createPropertyParser();
    EXPECT_NE(parser, nullptr);
    destroyPropertyParser(parser);
}

} // namespace
} // namespace VX_QRS
