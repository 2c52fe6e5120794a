#include "host/commands/TerminalText.h"

#include <gtest/gtest.h>

#include <limits>
#include <sstream>

namespace host {
namespace {

constexpr std::size_t unlimited = std::numeric_limits<std::size_t>::max();
constexpr bool plain = false;
constexpr bool coloured = true;

TEST(TerminalText, WithoutATerminalNothingChanges) {
    const std::string text = "verdict: sound, 50 MHz\n  files\n\nfault: none\n";
    EXPECT_EQ(terminalText(text, unlimited, plain), text);
}

TEST(TerminalText, LongLinesBreakBetweenWordsAtAnyUsualWidth) {
    std::string text = "  evidence:";
    for (unsigned i = 0; i < 90; ++i) {
        text += " word" + std::to_string(i);
    }
    for (std::size_t width = 60; width <= 200; ++width) {
        std::istringstream lines(terminalText(text + "\n", width, plain));
        std::string joined;
        for (std::string line; std::getline(lines, line);) {
            EXPECT_LE(line.size(), width);
            joined += joined.empty() ? line : " " + line.substr(line.find_first_not_of(' '));
        }
        EXPECT_EQ(joined, text);
    }
}

TEST(TerminalText, ColourRepeatsWhatTheWordsSay) {
    EXPECT_EQ(terminalText("verdict: thin, 50 MHz\n", unlimited, coloured), "\x1b[33mverdict: thin\x1b[0m, 50 MHz\n");
    EXPECT_EQ(terminalText("  rejected: setting 2\n", unlimited, coloured), "  \x1b[31mrejected:\x1b[0m setting 2\n");
    EXPECT_EQ(terminalText("a fault: no\n", unlimited, coloured), "a fault: no\n") << "only at a line's beginning";
}

TEST(TerminalText, ColourDoesNotCountForTheWidth) {
    const std::string text = "fault: " + std::string(50, 'x') + " yy\n";
    EXPECT_EQ(terminalText(text, 60, coloured), "\x1b[31mfault:\x1b[0m " + std::string(50, 'x') + " yy\n");
}

} // namespace
} // namespace host
