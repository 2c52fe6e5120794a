#include "common/source/source_utilities/uString.h"
#include "tests/support/failure/FailureText.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>

namespace VX_QRS {
namespace {

// Arguments of uString's functions.
constexpr bool replace = false;
constexpr bool append = true;
constexpr bool word = false;
constexpr bool symbol = true;
constexpr bool decimalNames = false;
constexpr bool iec = true;

using test_support::failureText;

TEST(uStringToNumber, FirstCharactersChooseTheBase) {
    EXPECT_EQ(uString::toNumber<int>("0x10"), 16);
    EXPECT_EQ(uString::toNumber<int>("0X1f"), 31);
    EXPECT_EQ(uString::toNumber<int>("010"), 8);
    EXPECT_EQ(uString::toNumber<int>("017"), 15);
    EXPECT_EQ(uString::toNumber<int>("10"), 10);
    EXPECT_EQ(uString::toNumber<int>("-12"), -12);
    EXPECT_EQ(uString::toNumber<int>("0"), 0);
    EXPECT_EQ(uString::toNumber<int>("0x"), 0);
    EXPECT_EQ(uString::toNumber<int>("0X"), 0);
    EXPECT_EQ(uString::toNumber<std::uint64_t>("0xFFFFFFFFFFFFFFFF"), 0xFFFFFFFFFFFFFFFFU);
    EXPECT_EQ(uString::toNumber<std::uint32_t>(std::string("0x80000000")), 0x80000000U);
}

TEST(uStringToNumber, NineIsNoOctalDigit) {
    EXPECT_EQ(uString::toNumber<int>("09"), 0);
    EXPECT_EQ(uString::toNumber<int>("0129"), 10);
}

TEST(uStringToNumber, LeadingBlankIsSkippedButHidesTheBase) {
    EXPECT_EQ(uString::toNumber<int>(" 5"), 5);
    EXPECT_EQ(uString::toNumber<int>(" 0x10"), 0);
    EXPECT_EQ(uString::toNumber<int>(" 010"), 10);
}

TEST(uStringToNumber, RubbishIsNoFailure) {
    EXPECT_EQ(uString::toNumber<int>("12ab"), 12);
    EXPECT_EQ(uString::toNumber<int>("ab"), 0);
    EXPECT_EQ(uString::toNumber<double>("ab"), 0.0);
    EXPECT_EQ(uString::toNumber<int>("0xZZ"), 0);
}

TEST(uStringToNumber, NullAndEmptyTextsFail) {
    EXPECT_EQ(failureText<uString::error>([] { uString::toNumber<int>(nullptr); }),
              "unable to convert null string to numeric");
    EXPECT_EQ(failureText<uString::error>([] { uString::toNumber<double>(""); }),
              "unable to convert empty string to numeric");
    EXPECT_EQ(failureText<uString::error>([] { uString::toNumber<std::uint8_t>(""); }),
              "unable to convert empty string to numeric");
}

TEST(uStringToNumber, ValuesOutOfRangeGiveTheLimit) {
    EXPECT_EQ(uString::toNumber<std::int32_t>("99999999999"), std::numeric_limits<std::int32_t>::max());
    EXPECT_EQ(uString::toNumber<std::int32_t>("-99999999999"), std::numeric_limits<std::int32_t>::min());
    EXPECT_EQ(uString::toNumber<std::uint32_t>("99999999999"), 0xFFFFFFFFU);
    EXPECT_EQ(uString::toNumber<std::int64_t>("99999999999999999999"), std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(uString::toNumber<double>("1e999"), std::numeric_limits<double>::max());
}

TEST(uStringToNumber, MinusOneAsUnsignedIsTheLargestValue) {
    EXPECT_EQ(uString::toNumber<std::uint32_t>("-1"), 0xFFFFFFFFU);
    EXPECT_EQ(uString::toNumber<std::uint64_t>("-1"), std::numeric_limits<std::uint64_t>::max());
}

TEST(uStringToNumber, BaseDoesNotTouchFloatingValues) {
    EXPECT_EQ(uString::toNumber<double>("0x10"), 10.0);
    EXPECT_EQ(uString::toNumber<double>("010"), 10.0);
    EXPECT_EQ(uString::toNumber<double>("0.25"), 0.25);
    EXPECT_EQ(uString::toNumber<double>("50e6"), 50e6);
    EXPECT_EQ(uString::toNumber<float>("-1.5"), -1.5F);
}

TEST(uStringToNumber, CharacterSizedTypesAreReadAsNumbers) {
    EXPECT_EQ(uString::toNumber<std::uint8_t>("65"), 65);
    EXPECT_EQ(uString::toNumber<std::int8_t>("-3"), -3);
    EXPECT_EQ(uString::toNumber<char>("0x41"), 'A');
}

TEST(uStringToNumber, WorksForEveryWidth) {
    EXPECT_EQ(uString::toNumber<short>("-7"), -7);
    EXPECT_EQ(uString::toNumber<unsigned short>("65535"), 65535);
    EXPECT_EQ(uString::toNumber<long>("7"), 7L);
    EXPECT_EQ(uString::toNumber<unsigned long>("7"), 7UL);
    EXPECT_EQ(uString::toNumber<std::size_t>("0x7"), std::size_t{7});
}

TEST(uStringToBool, OnlyThreeSpellingsOfEach) {
    for (const char* text : {"true", "TRUE", "True"}) {
        EXPECT_TRUE(uString::toBool(text));
    }
    for (const char* text : {"false", "FALSE", "False"}) {
        EXPECT_FALSE(uString::toBool(std::string(text)));
    }
    for (const char* text : {"1", "0", "tRUE", "yes", " true", "true "}) {
        EXPECT_EQ(failureText<uString::error>([&] { uString::toBool(text); }),
                  "unable to convert \"" + std::string(text) + "\" to boolean");
    }
}

TEST(uStringToBool, NullAndEmptyTextsFail) {
    EXPECT_EQ(failureText<uString::error>([] { uString::toBool(nullptr); }),
              "unable to convert null string to boolean");
    EXPECT_EQ(failureText<uString::error>([] { uString::toBool(""); }), "unable to convert empty string to boolean");
}

TEST(uStringToText, DefaultFormats) {
    std::string text = "old";
    EXPECT_STREQ(uString::toText(-5, text), "-5");
    EXPECT_EQ(text, "-5");
    EXPECT_STREQ(uString::toText(7U, text), "7");
    EXPECT_STREQ(uString::toText(1.5, text), "1.500000");
    EXPECT_STREQ(uString::toText(std::int64_t{-5000000000}, text), "-5000000000");
    EXPECT_STREQ(uString::toText(std::uint64_t{0xFFFFFFFFFFFFFFFF}, text), "18446744073709551615");
    EXPECT_STREQ(uString::toText(std::uint8_t{200}, text), "200");
}

TEST(uStringToText, UnsignedValuesShowAsDecimalOfTheSameBits) {
    std::string text;
    EXPECT_STREQ(uString::toText(0xFFFFFFFFU, text), "-1");
    EXPECT_STREQ(uString::toText(0xFFFFFFFFU, text, replace, "%u"), "4294967295");
}

TEST(uStringToText, AppendsOnRequestAndTakesAFormat) {
    std::string text = "a=";
    EXPECT_STREQ(uString::toText(255, text, append, "0x%04X"), "a=0x00FF");
    EXPECT_STREQ(uString::toText(2.0, text, append, ";%.1f"), "a=0x00FF;2.0");
    EXPECT_STREQ(uString::toText(std::uint64_t{1} << 40U, text, replace, "%llx"), "10000000000");
}

TEST(uStringToText, ResultIsCutAtItsBuffer) {
    std::string text;
    uString::toText(1, text, replace, "%2000d");
    EXPECT_EQ(text, std::string(1023, ' '));
}

struct PrefixCase {
    double value;
    double scale;
    const char* word;
    const char* symbol;
};

TEST(uStringPrefixDecimal, EveryLineOfTheTable) {
    constexpr std::array<PrefixCase, 17> cases{{{1e24, 1e24, "yotta", "Y"},
                                                {1e21, 1e21, "zetta", "Z"},
                                                {1e18, 1e18, "exa", "E"},
                                                {1e15, 1e15, "peta", "P"},
                                                {1e12, 1e12, "tera", "T"},
                                                {1e9, 1e9, "giga", "G"},
                                                {1e6, 1e6, "mega", "M"},
                                                {1e3, 1e3, "kilo", "k"},
                                                {1, 1, "", ""},
                                                {1e-3, 1e-3, "milli", "m"},
                                                {1e-6, 1e-6, "micro", "u"},
                                                {1e-9, 1e-9, "nano", "n"},
                                                {1e-12, 1e-12, "pico", "p"},
                                                {1e-15, 1e-15, "femto", "f"},
                                                {1e-18, 1e-18, "atto", "a"},
                                                {1e-21, 1e-21, "zepto", "z"},
                                                {1e-24, 1e-24, "yocto", "y"}}};
    for (std::size_t i = 0; i < cases.size(); ++i) {
        const PrefixCase& expected = cases[i];
        std::string prefix;
        EXPECT_EQ(uString::prefixDecimal(expected.value, word, prefix), expected.scale);
        EXPECT_EQ(prefix, expected.word);
        EXPECT_EQ(uString::prefixDecimal(expected.value * 999.0, symbol, prefix), expected.scale);
        EXPECT_EQ(prefix, expected.symbol);
        if (i + 1 < cases.size()) {
            // Just below a threshold the next entry applies.
            EXPECT_EQ(uString::prefixDecimal(std::nextafter(expected.value, 0.0), symbol, prefix), cases[i + 1].scale);
            EXPECT_EQ(prefix, cases[i + 1].symbol);
        }
    }
}

TEST(uStringPrefixDecimal, ThresholdIsReachedAtTheValueItself) {
    std::string prefix;
    EXPECT_EQ(uString::prefixDecimal(1000, word, prefix), 1000.0);
    EXPECT_EQ(prefix, "kilo");
    EXPECT_EQ(uString::prefixDecimal(999.9, word, prefix), 1.0);
    EXPECT_EQ(prefix, "");
}

TEST(uStringPrefixDecimal, ZeroNegativeAndNoNumberFallToTheLastLine) {
    for (const double value : {0.0, -5.0, 1e-30, std::nan("")}) {
        const char* prefix = nullptr;
        EXPECT_EQ(uString::prefixDecimal(value, word, prefix), 1e-24);
        EXPECT_STREQ(prefix, "yocto");
    }
}

TEST(uStringPrefixBinary, EveryPowerWithEachKindOfName) {
    constexpr std::array<const char*, 8> words{"kibi", "mebi", "gibi", "tebi", "pebi", "exbi", "zebi", "yobi"};
    constexpr std::array<const char*, 8> symbols{"Ki", "Mi", "Gi", "Ti", "Pi", "Ei", "Zi", "Yi"};
    constexpr std::array<const char*, 8> decimalWords{"kilo", "mega", "giga", "tera", "peta", "exa", "zetta", "yotta"};
    constexpr std::array<const char*, 8> decimalSymbols{"k", "M", "G", "T", "P", "E", "Z", "Y"};
    double scale = 1;
    for (std::size_t i = 0; i < words.size(); ++i) {
        scale *= 1024;
        std::string prefix;
        EXPECT_EQ(uString::prefixBinary(scale, word, iec, prefix), scale);
        EXPECT_EQ(prefix, words[i]);
        EXPECT_EQ(uString::prefixBinary(scale * 1023, symbol, iec, prefix), scale);
        EXPECT_EQ(prefix, symbols[i]);
        EXPECT_EQ(uString::prefixBinary(scale, word, decimalNames, prefix), scale);
        EXPECT_EQ(prefix, decimalWords[i]);
        EXPECT_EQ(uString::prefixBinary(scale, symbol, decimalNames, prefix), scale);
        EXPECT_EQ(prefix, decimalSymbols[i]);
    }
}

TEST(uStringPrefixBinary, NoPrefixBelow1024) {
    for (const double value : {1023.0, 1.0, 0.001, 0.0, -4096.0}) {
        std::string prefix = "old";
        EXPECT_EQ(uString::prefixBinary(value, symbol, decimalNames, prefix), 1.0);
        EXPECT_EQ(prefix, "");
    }
    const char* prefix = nullptr;
    EXPECT_EQ(uString::prefixBinary(2048, symbol, decimalNames, prefix), 1024.0);
    EXPECT_STREQ(prefix, "k");
}

TEST(uStringToTextWithPrefix, ScalesFormatsAndNames) {
    std::string text;
    EXPECT_STREQ(uString::toTextWithPrefix(25e6, text, symbol, replace, "%3.2f "), "25.00 M");
    EXPECT_STREQ(uString::toTextWithPrefix(1500, text, word), "1.500000kilo");
    EXPECT_STREQ(uString::toTextWithPrefix(2e-9, text, symbol, append, " / %.0f "), "1.500000kilo / 2 n");
}

TEST(uStringTrim, RemovesTheSetFromOneEnd) {
    std::string text = "xyaxbyx";
    uString::trimLeft(text, "xy");
    EXPECT_EQ(text, "axbyx");
    uString::trimRight(text, "xy");
    EXPECT_EQ(text, "axb");
    uString::trimRight(text, "");
    EXPECT_EQ(text, "axb");
}

TEST(uStringTrim, TextOfOnlySuchCharactersBecomesEmpty) {
    std::string left = " \t ";
    uString::trimLeft(left, " \t");
    EXPECT_EQ(left, "");
    std::string right = " \t ";
    uString::trimRight(right, " \t");
    EXPECT_EQ(right, "");
}

TEST(uStringSplitOnce, CountsThePieces) {
    std::string first;
    std::string second = "old";
    EXPECT_EQ(uString::splitOnce("a=b=c", "=", first, second), 2);
    EXPECT_EQ(first, "a");
    EXPECT_EQ(second, "b=c");
    EXPECT_EQ(uString::splitOnce("a::b", "::", first, second), 2);
    EXPECT_EQ(second, "b");
    EXPECT_EQ(uString::splitOnce("abc", "=", first, second), 1);
    EXPECT_EQ(first, "abc");
    EXPECT_EQ(second, "");
    EXPECT_EQ(uString::splitOnce("", "=", first, second), 0);
    EXPECT_EQ(first, "");
    EXPECT_EQ(uString::splitOnce("=", "=", first, second), 2);
}

TEST(uStringSplitOnce, ResultMayBeTheTextItself) {
    std::string text = "a,b,c";
    std::string first;
    EXPECT_EQ(uString::splitOnce(text, ",", first, text), 2);
    EXPECT_EQ(first, "a");
    EXPECT_EQ(text, "b,c");
}

TEST(uStringSplitOnce, NullFails) {
    std::string first;
    std::string second;
    EXPECT_EQ(
        failureText<uString::error>([&] { uString::splitOnce(static_cast<const char*>(nullptr), ",", first, second); }),
        "unable to split null string");
    EXPECT_EQ(failureText<uString::error>([&] { uString::splitOnce("a", nullptr, first, second); }),
              "unable to split with null delimeter");
}

TEST(uStringSplit, EmptyPiecesInsideCountATrailingOneDoesNot) {
    using Pieces = std::vector<std::string>;
    Pieces pieces;
    EXPECT_EQ(uString::split(pieces, "a;;b", ";"), 3U);
    EXPECT_EQ(pieces, (Pieces{"a", "", "b"}));
    EXPECT_EQ(uString::split(pieces, "c;", ";"), 4U); // appends
    EXPECT_EQ(pieces.back(), "c");
    Pieces leading;
    EXPECT_EQ(uString::split(leading, ";c", ";"), 2U);
    EXPECT_EQ(leading, (Pieces{"", "c"}));
}

TEST(uStringSplit, EmptyTextGivesNothing) {
    std::vector<std::string> pieces;
    EXPECT_EQ(uString::split(pieces, "", ";"), 0U);
    EXPECT_TRUE(pieces.empty());
}

TEST(uStringSplit, EmptyDelimiterIsNeverFound) {
    std::vector<std::string> pieces;
    EXPECT_EQ(uString::split(pieces, "ab", ""), 1U);
    EXPECT_EQ(pieces.front(), "ab");
}

TEST(uStringSplit, NullFails) {
    std::vector<std::string> pieces;
    EXPECT_EQ(failureText<uString::error>([&] { uString::split(pieces, static_cast<const char*>(nullptr), ","); }),
              "unable to split null string");
    EXPECT_EQ(failureText<uString::error>([&] { uString::split(pieces, "a", nullptr); }),
              "unable to split with null delimeter");
}

TEST(uStringReplace, ReplacesEveryOccurrence) {
    std::string text = "a.dll.dll";
    EXPECT_STREQ(uString::replace(text, ".dll", ""), "a");
    text = "xax";
    EXPECT_STREQ(uString::replace(text, "x", "long"), "longalong");
    EXPECT_STREQ(uString::replace(text, "none", "some"), "longalong");
}

TEST(uStringReplace, ReplacementThatHoldsTheOriginalDoesNotLoop) {
    std::string text = "aa";
    EXPECT_STREQ(uString::replace(text, "a", "aba"), "abaaba");
    EXPECT_STREQ(uString::replace(text, "", "x"), "abaaba");
}

TEST(uStringReplace, NullFails) {
    std::string text = "a";
    EXPECT_EQ(failureText<uString::error>([&] { uString::replace(text, nullptr, "b"); }),
              "unable to perform string replacement from null original text");
    EXPECT_EQ(failureText<uString::error>([&] { uString::replace(text, "a", nullptr); }),
              "unable to perform string replacement with null replacement text");
}

TEST(uStringError, BelongsToTheFamilyOfTheUtilities) {
    EXPECT_THROW(uString::toBool("x"), source_utilities_error);
    EXPECT_THROW(uString::toBool("x"), std::runtime_error);
}

} // namespace
} // namespace VX_QRS
