#include "host/platform/InterruptAnswer.h"

#include <gtest/gtest.h>

#include <array>
#include <string>

namespace host {
namespace {

std::string lineOf(bool newLine = false) {
    std::array<char, longestInterruptLine> line{};
    return {line.data(), interruptLine(line.data(), line.size(), newLine)};
}

TEST(InterruptAnswerTest, NamesWhatEndsAndHowToEndAtOnce) {
    EXPECT_EQ(lineOf(), "orvtrace: stopping; interrupt again to end now\n");
    {
        const InterruptAnswer answer("stopping after the calibration");
        EXPECT_EQ(lineOf(), "orvtrace: stopping after the calibration; interrupt again to end now\n");
        EXPECT_EQ(lineOf(true), "\norvtrace: stopping after the calibration; interrupt again to end now\n");
    }
    EXPECT_EQ(lineOf(), "orvtrace: stopping; interrupt again to end now\n");
}

TEST(InterruptAnswerTest, TheOutermostCounts) {
    const InterruptAnswer round("stopping after this round");
    {
        const InterruptAnswer inner("stopping after the calibration");
        EXPECT_EQ(lineOf(), "orvtrace: stopping after this round; interrupt again to end now\n");
    }
    EXPECT_EQ(lineOf(), "orvtrace: stopping after this round; interrupt again to end now\n");
}

TEST(InterruptAnswerTest, ALineThatIsTooLongIsCut) {
    std::array<char, 12> line{};
    EXPECT_EQ(interruptLine(line.data(), line.size(), false), line.size());
    EXPECT_EQ(std::string(line.data(), line.size()), "orvtrace: st");
}

} // namespace
} // namespace host
