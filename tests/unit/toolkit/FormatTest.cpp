#include "toolkit/Format.h"

#include <gtest/gtest.h>

#include <limits>

namespace toolkit {
namespace {

TEST(NumberText, HasNoZerosAtItsEnd) {
    EXPECT_EQ(numberText(28.0), "28");
    EXPECT_EQ(numberText(14.736), "14.74");
    EXPECT_EQ(numberText(-0.001), "0");
    EXPECT_EQ(numberText(100.0, 0), "100");
}

TEST(NumberText, WhatIsNotFiniteIsADash) {
    EXPECT_EQ(numberText(std::numeric_limits<double>::quiet_NaN()), "-");
    EXPECT_EQ(fixedText(std::numeric_limits<double>::infinity(), 1), "-");
}

TEST(FixedText, KeepsItsDecimals) {
    EXPECT_EQ(fixedText(28.0, 1), "28.0");
    EXPECT_EQ(fixedText(-0.126, 2), "-0.13");
}

TEST(PercentText, SmallSharesHaveMoreDecimals) {
    EXPECT_EQ(percentText(0.125), "12.5 %");
    EXPECT_EQ(percentText(0.0005), "0.0500 %");
    EXPECT_EQ(percentText(0.0), "0.0 %");
}

TEST(Format, FrequenciesAreScaled) {
    EXPECT_EQ(frequencyText(0.0), "0 Hz");
    EXPECT_EQ(frequencyText(999.0), "999 Hz");
    EXPECT_EQ(frequencyText(4e5), "400 kHz");
    EXPECT_EQ(frequencyText(1.25e7), "12.5 MHz");
    EXPECT_EQ(frequencyText(1.4e9), "1.4 GHz");
}

TEST(Format, SizesAreScaledByPowersOf1024) {
    EXPECT_EQ(sizeText(0), "0 bytes");
    EXPECT_EQ(sizeText(1536), "1.50 KiB");
    EXPECT_EQ(sizeText(std::uint64_t{128} << 20), "128.00 MiB");
}

TEST(Format, OnlyOneIsSingular) {
    EXPECT_EQ(countText(0, "word"), "0 words");
    EXPECT_EQ(countText(1, "word"), "1 word");
    EXPECT_EQ(countText(2, "word"), "2 words");
}

} // namespace
} // namespace toolkit
