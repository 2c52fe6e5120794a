#include "toolkit/Text.h"

#include <gmock/gmock.h>

#include <cmath>

namespace toolkit {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(TextLines, EndInLineFeedsOfEitherSystemAndHaveNumbers) {
    const auto lines = textLines("a\r\n\nb");
    ASSERT_EQ(lines.size(), 3U);
    EXPECT_EQ(lines[0].text, "a");
    EXPECT_EQ(lines[1].text, "");
    EXPECT_EQ(lines[2].text, "b");
    EXPECT_EQ(lines[2].number, 3U);
    EXPECT_EQ(textLines("a\n").size(), 1U);
}

TEST(SplitAt, KeepsEmptyParts) {
    EXPECT_THAT(splitAt("a,,b,", ','), ElementsAre("a", "", "b", ""));
    EXPECT_THAT(splitAt("", ','), ElementsAre(""));
}

TEST(Split, AnEmptyListHasNoItemsAndASeparatorAtTheEndBeginsNone) {
    EXPECT_THAT(split("", ','), IsEmpty());
    EXPECT_THAT(split("a,,b,", ','), ElementsAre("a", "", "b"));
    EXPECT_THAT(split(",", ','), ElementsAre(""));
}

TEST(Numbers, AreTheWholeTextOrNothing) {
    EXPECT_EQ(numberOf<int>("-12"), -12);
    EXPECT_FALSE(numberOf<int>("12 "));
    EXPECT_EQ(numberOf<unsigned>("ff", 16), 255U);
    EXPECT_EQ(fractionOf("5.00000e+07"), 5e7);
    EXPECT_TRUE(std::isnan(fractionOf("-nan(ind)").value_or(0.0)));
    EXPECT_EQ(scaledNumber("50.00 MHz", "Hz"), 5e7);
    EXPECT_FALSE(scaledNumber("50.00 QHz", "Hz"));
}

TEST(Enumeration, HasCommasAndAnAnd) {
    EXPECT_EQ(enumeration({"a"}), "a");
    EXPECT_EQ(enumeration({"a", "b", "c"}), "a, b and c");
}

TEST(Shown, IsQuotedShortenedAndPrintable) {
    EXPECT_EQ(shown("a\x01z"), "\"a?z\"");
    EXPECT_EQ(shown(std::string(50, 'x')), "\"" + std::string(40, 'x') + "...\"");
}

TEST(Trimmed, TakesBlanksAndTabsFromBothEnds) {
    EXPECT_EQ(trimmed(" \ta b\t"), "a b");
    EXPECT_EQ(trimmed("  "), "");
}

} // namespace
} // namespace toolkit
