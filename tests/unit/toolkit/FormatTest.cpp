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

} // namespace
} // namespace toolkit
