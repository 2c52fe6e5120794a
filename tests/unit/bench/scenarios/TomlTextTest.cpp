#include "bench/scenarios/Scenario.h"
#include "bench/scenarios/TomlText.h"

#include <gtest/gtest.h>

// Texts that must not reach the TOML parser.

namespace bench {
namespace {

using namespace std::string_literals;

std::string fault(const std::string& text) {
    return tomlTextFault(text, "f");
}

const std::string outside = "a character beyond ASCII must be in quotation marks or in a comment";
const std::string afterBackslash =
    "a character beyond ASCII must not follow a backslash; begin the next line with another one";
const std::string notUtf8 = "this is not UTF-8; save the file as UTF-8";

TEST(TomlText, CharactersOfAllKindsMayBeInStringsAndComments) {
    for (const std::string text :
         {"", "a = 1\n", "a = \"ä€😀\"\n", "a = 'ä'\n", "\"ä\" = 'ä' # ä", "a = \"\"\"\nä\n\"ä\"\"ä\"\"\"\n",
          "a = '''\nä'ä'''\n", "a = \"\\\"ä\\\\\"\n", "a = '\\'\nb = \"ä\"\n", "a = \"\"\"\\\n   b ä\"\"\"\n",
          "a = \"\"\"ä\"\"\"\"\"\nb = 'ä'\n", "a = \"\"\nb = 'ä'\n", "# \"\na = 'ä'\n", "\xEF\xBB\xBF# ä\n"}) {
        EXPECT_EQ(fault(text), "") << text;
    }
}

TEST(TomlText, OutsideOfThemNoneIsAccepted) {
    EXPECT_EQ(fault("ä"), "f:1:1: " + outside);
    EXPECT_EQ(fault("a = 1\nb ä = 2\n"), "f:2:3: " + outside);
    EXPECT_EQ(fault("a = 'ä'ä\n"), "f:1:8: " + outside);
    EXPECT_EQ(fault("a = \"ä\" \u00A0\n"), "f:1:9: " + outside);
    EXPECT_EQ(fault("a = \"\"ä\"\"\n"), "f:1:7: " + outside);
    EXPECT_EQ(fault("a = \"open\nä\n"), "f:2:1: " + outside) << "a string of one line ends with it";
    EXPECT_EQ(fault("a = '''b'''ä"), "f:1:12: " + outside);
    EXPECT_EQ(fault("a = '\\'ä'"), "f:1:8: " + outside) << "these strings know no escapes";
    EXPECT_EQ(fault("a = 1\n\xEF\xBB\xBF"), "f:2:1: " + outside);
}

TEST(TomlText, NoneFollowsAQuotationMarkThatBeginsNoString) {
    const std::string here = "a string must not begin here";
    EXPECT_EQ(fault("a = 2\"ä\"\n"), "f:1:6: " + here) << "a number to the parser";
    EXPECT_EQ(fault("a = 1.\"ä\"\n"), "f:1:7: " + here);
    EXPECT_EQ(fault("a = [\n1.'ä']\n"), "f:2:3: " + here);
    EXPECT_EQ(fault("a = [[\n[1.'ä']]]\n"), "f:2:4: " + here);
    EXPECT_EQ(fault("a = true'ä'\n"), "f:1:9: " + here);
    EXPECT_EQ(fault("[b'ä']\n"), "f:1:3: " + here);
    EXPECT_EQ(fault("a = 'b' 'ä'\n"), "f:1:9: " + here);
}

TEST(TomlText, StringsMayBeginWhereKeysAndValuesDo) {
    for (const std::string text :
         {"a.'ä' = 1\n", "1.'ä'.\"ä\" = 'ä'\n", "[b.'ä']\n'c' = 'ä'\n", "[[b . 'ä']]\n",
          "a = ['ä', \"ä\"\n, 'ä']\nb.'ä' = 1\n", "a = {'ä' = 'ä', b = 'ä'}\nc.'ä' = {}\n", "a = 1\nb.'ä' = 2\n",
          "a = 1 # c\n'ä' = 2\n# d\nb.'ä' = 3\n", "[b]\r\nc = 'ä'\r\n"}) {
        EXPECT_EQ(fault(text), "") << text;
    }
}

TEST(TomlText, NoneComesRightAfterABackslash) {
    EXPECT_EQ(fault("a = \"\"\"\\ä\"\"\"\n"), "f:1:9: " + afterBackslash);
    EXPECT_EQ(fault("a = \"\"\"b\\\n \n\tä\"\"\"\n"), "f:3:2: " + afterBackslash);
    EXPECT_EQ(fault("a = \"\"\"\\  ä\"\"\"\n"), "f:1:11: " + afterBackslash);
}

TEST(TomlText, WhatIsNotUtf8IsRefusedEverywhere) {
    EXPECT_EQ(fault("# \xE4\n"), "f:1:3: " + notUtf8);
    for (const std::string& text :
         {"'\x80'"s, "'\xC0\xAF'"s, "'\xE0\x80\x80'"s, "'\xED\xA0\x80'"s, "'\xF4\x90\x80\x80'"s,
          "'\xF8\x88\x80\x80\x80'"s, "'\xE2\x82'"s, "'\xC3"s, "\"\\\xFF\""s}) {
        EXPECT_FALSE(fault(text).empty()) << text;
    }
}

TEST(TomlText, AScenarioIsCheckedBeforeItIsParsed) {
    try {
        parseScenario("name = \"a\"\ncpu\u00E4 = 1\n", "file.toml");
        FAIL();
    } catch (const ScenarioError& error) {
        EXPECT_EQ(error.what(), "file.toml:2:4: " + outside);
    }
}

} // namespace
} // namespace bench
