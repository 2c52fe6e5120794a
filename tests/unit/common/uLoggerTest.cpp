#include "common/source/source_utilities/uLog.h"
#include "tests/support/scratch/TemporaryFolder.h"
#include "tests/unit/common/DigitsHidden.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>
#include <thread>
#include <vector>

namespace VX_QRS {
namespace {

constexpr bool truncate = false;
constexpr bool appendToFile = true;

using test::digitsHidden;
using testing::EndsWith;
using testing::StartsWith;

class Listening : public uLogger {
public:
    using uLogger::uLogger;
    std::vector<std::string> console;
    std::vector<std::string> debugger;

protected:
    void writeToStdout(const char* text) override { console.emplace_back(text); }
    void writeToDebugger(const char* text) override { debugger.emplace_back(text); }
};

class uLoggerTest : public testing::Test {
protected:
    std::vector<std::string> lines() const {
        std::vector<std::string> result;
        std::istringstream text(folder.read("log"));
        for (std::string line; std::getline(text, line);) {
            result.push_back(line);
        }
        return result;
    }

    test_support::TemporaryFolder folder;
    Listening logger{folder.file("log").c_str(), true};
};

TEST_F(uLoggerTest, NoFileBeforeTheFirstLine) {
    EXPECT_FALSE(folder.has("log"));
    logger.log(1, 0, "a");
    EXPECT_TRUE(folder.has("log"));
}

TEST_F(uLoggerTest, ClassFieldShowsALetterForEveryBit) {
    for (const std::uint32_t classes : {1U, 2U, 4U, 8U, 16U, 5U, 31U, 0x100U}) {
        logger.log(classes, 0, "x");
    }
    EXPECT_EQ(lines(), (std::vector<std::string>{"M      x", " W     x", "  F    x", "   A   x", "    E  x", "M F    x",
                                                 "MWFAE  x", "       x"}));
}

TEST_F(uLoggerTest, ErrorLineWithTimeHasBlanksAroundItsLetter) {
    logger.log(uLogger::errorClass, uLogger::timeOnly, "failed");
    ASSERT_EQ(lines().size(), 1U);
    EXPECT_EQ(digitsHidden(lines()[0]), "    E 99:99:99:999 | failed");
}

TEST_F(uLoggerTest, TimeFormats) {
    for (const int format : {0, 1, 2, 3, 4, -1}) {
        logger.log(1, format, "x");
    }
    const std::vector<std::string> got = lines();
    ASSERT_EQ(got.size(), 6U);
    EXPECT_EQ(got[0], "M      x");
    EXPECT_EQ(digitsHidden(got[1]), "M     99/99/99 | x");
    EXPECT_EQ(digitsHidden(got[2]), "M     99:99:99:999 | x");
    EXPECT_EQ(digitsHidden(got[3]), "M     99/99/99 99:99:99:999 | x");
    EXPECT_EQ(got[4], "M      x");
    EXPECT_EQ(got[5], "M      x");
}

TEST_F(uLoggerTest, ArgumentsAreFormatted) {
    logger.log(1, 0, "%s #%d  %s(...)\n", "unit", 12, "name");
    EXPECT_EQ(folder.read("log"), "M      unit #12  name(...)\n");
}

TEST_F(uLoggerTest, EveryLineEndsInOneLineFeed) {
    logger.setToStdout(true);
    for (const char* text : {"a", "a\n", "a\r", "a\r\n", "a\n\r"}) {
        logger.log(1, 0, "%s", text);
    }
    EXPECT_THAT(logger.console, testing::Each("M      a\n"));
    EXPECT_EQ(logger.console.size(), 5U);
    EXPECT_EQ(lines(), std::vector<std::string>(5, "M      a"));
}

TEST_F(uLoggerTest, OnlyOneEndIsTakenOff) {
    logger.setToStdout(true);
    logger.log(1, 0, "a\n\n");
    logger.log(1, 0, "a\n\r\n");
    EXPECT_EQ(logger.console, (std::vector<std::string>{"M      a\n\n", "M      a\n\n"}));
}

TEST_F(uLoggerTest, EmptyMessageIsALine) {
    logger.log(1, 0, "%s", "");
    EXPECT_EQ(folder.read("log"), "M      \n");
}

TEST_F(uLoggerTest, LongMessagesAreCutAndStillEndInOneLineFeed) {
    logger.setToStdout(true);
    for (const std::size_t length : {4080U, 4085U, 4086U, 4087U, 4088U, 4089U, 4090U, 4096U, 5000U, 100000U}) {
        for (const char* end : {"", "\n", "\r\n"}) {
            logger.console.clear();
            logger.log(1, 0, "%s%s", std::string(length, 'x').c_str(), end);
            ASSERT_EQ(logger.console.size(), 1U);
            const std::string& line = logger.console[0];
            EXPECT_LT(line.size(), uLogger::lineSize);
            EXPECT_THAT(line, EndsWith("x\n"));
            EXPECT_EQ(line.size(), std::min<std::size_t>(length + 8, uLogger::lineSize - 1));
            EXPECT_EQ(std::count(line.begin(), line.end(), '\n'), 1);
        }
    }
    logger.log(1, 0, "next");
    EXPECT_EQ(lines().back(), "M      next");
}

TEST_F(uLoggerTest, NothingIsLoggedWhenSwitchedOff) {
    EXPECT_TRUE(logger.setEnabled(false));
    logger.log(1, 0, "a");
    EXPECT_FALSE(folder.has("log"));
    EXPECT_FALSE(logger.setEnabled(true));
    EXPECT_TRUE(logger.isEnabled());
    logger.log(1, 0, "b");
    EXPECT_EQ(folder.read("log"), "M      b\n");
}

TEST_F(uLoggerTest, SwitchingOffClosesTheFile) {
    logger.log(1, 0, "a");
    logger.setEnabled(false);
    std::filesystem::remove(folder.file("log"));
    logger.setEnabled(true);
    logger.log(1, 0, "b");
    EXPECT_EQ(folder.read("log"), "M      b\n") << "opened afresh";
}

TEST_F(uLoggerTest, ZeroMaskPassesNothing) {
    logger.log(0, 0, "a");
    logger.setClassMask(0);
    logger.log(1, 0, "b");
    EXPECT_FALSE(folder.has("log"));
    logger.setClassMask(16);
    logger.log(1, 0, "c");
    EXPECT_EQ(folder.read("log"), "M      c\n") << "the mask is not compared with the line's classes";
}

TEST_F(uLoggerTest, AppendsOrStartsAfresh) {
    logger.log(1, 0, "a");
    logger.setEnabled(false);
    uLogger appending(folder.file("log").c_str(), appendToFile);
    appending.log(1, 0, "b");
    appending.setEnabled(false);
    EXPECT_EQ(lines().size(), 2U);
    uLogger fresh(folder.file("log").c_str(), truncate);
    fresh.log(1, 0, "c");
    EXPECT_EQ(lines(), (std::vector<std::string>{"M      c"}));
}

TEST_F(uLoggerTest, FailedOpenIsTriedAgainWithTheNextLine) {
    Listening late((folder.file("later") + "/log").c_str(), appendToFile);
    late.setToStdout(true);
    late.log(1, 0, "lost");
    EXPECT_EQ(late.console.size(), 1U) << "the other places get it all the same";
    std::filesystem::create_directory(folder.file("later"));
    late.log(1, 0, "kept");
    EXPECT_EQ(folder.read("later/log"), "M      kept\n");
}

TEST_F(uLoggerTest, CopiesGoWhereTheFlagsSay) {
    logger.log(1, 0, "file only");
    logger.setToStdout(true);
    logger.log(1, 0, "and console");
    logger.setToStdout(false);
    logger.setToDebugger(true);
    logger.log(1, 0, "and debugger");
    EXPECT_EQ(lines().size(), 3U);
    EXPECT_EQ(logger.console, (std::vector<std::string>{"M      and console\n"}));
    EXPECT_EQ(logger.debugger, (std::vector<std::string>{"M      and debugger\n"}));
}

TEST_F(uLoggerTest, StandardOutputGetsTheLineAsItIs) {
    uLogger plain(folder.file("log").c_str(), appendToFile);
    plain.setToStdout(true);
    plain.setToDebugger(true);
    testing::internal::CaptureStdout();
    plain.log(1, 0, "100%% of %s", "it");
    EXPECT_THAT(testing::internal::GetCapturedStdout(), StartsWith("M      100% of it"));
}

TEST_F(uLoggerTest, LinesOfManyThreadsStayWhole) {
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([this, t] {
            for (int i = 0; i < 250; ++i) {
                logger.log(uLogger::messageClass, i % 4, "thread %d line %d %s", t, i, std::string(200, 'x').c_str());
            }
        });
    }
    for (int i = 0; i < 50; ++i) {
        logger.setEnabled(true);
        logger.setToDebugger(i % 2 == 0);
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    const std::vector<std::string> got = lines();
    EXPECT_EQ(got.size(), 1000U);
    for (const std::string& line : got) {
        ASSERT_THAT(line, StartsWith("M     "));
        ASSERT_THAT(line, EndsWith(" " + std::string(200, 'x')));
    }
}

TEST_F(uLoggerTest, TwoLogsOfTwoThreadsDoNotDisturbEachOther) {
    uLogger other(folder.file("other").c_str(), appendToFile);
    std::thread thread([&] {
        for (int i = 0; i < 300; ++i) {
            other.log(1, 3, "b");
        }
    });
    for (int i = 0; i < 300; ++i) {
        logger.log(1, 2, "a");
    }
    thread.join();
    EXPECT_EQ(lines().size(), 300U);
}

TEST_F(uLoggerTest, SwitchingOffAndOnAmidLinesBreaksNone) {
    std::thread thread([&] {
        for (int i = 0; i < 500; ++i) {
            logger.log(1, 0, "line");
        }
    });
    for (int i = 0; i < 100; ++i) {
        logger.setEnabled(i % 2 != 0);
    }
    thread.join();
    EXPECT_TRUE(logger.isEnabled());
    logger.log(1, 0, "last");
    std::vector<std::string> got = lines();
    ASSERT_FALSE(got.empty());
    EXPECT_EQ(got.back(), "M      last");
    got.pop_back();
    EXPECT_THAT(got, testing::Each("M      line"));
}

} // namespace
} // namespace VX_QRS
