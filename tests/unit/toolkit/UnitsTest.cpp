#include "toolkit/Units.h"

#include <gtest/gtest.h>

namespace {

using toolkit::bytesOf;
using toolkit::hertzOf;
using toolkit::secondsOf;

TEST(Units, APlainNumberIsInTheBaseUnit) {
    EXPECT_EQ(secondsOf("0.5"), 0.5);
    EXPECT_EQ(secondsOf("1e-3"), 1e-3);
    EXPECT_EQ(secondsOf("+2"), 2.0);
    EXPECT_EQ(hertzOf("50000000"), 5e7);
    EXPECT_EQ(bytesOf("4096"), 4096.0);
}

TEST(Units, TimesHaveTheirUsualUnits) {
    EXPECT_DOUBLE_EQ(secondsOf("500ms").value_or(0), 0.5);
    EXPECT_DOUBLE_EQ(secondsOf("20 us").value_or(0), 20e-6);
    EXPECT_DOUBLE_EQ(secondsOf("100ns").value_or(0), 100e-9);
    EXPECT_EQ(secondsOf("2min"), 120.0);
    EXPECT_EQ(secondsOf("1.5h"), 5400.0);
    EXPECT_EQ(secondsOf("3s"), 3.0);
}

TEST(Units, RatesArePowersOf1000AndSizesOf1024) {
    EXPECT_DOUBLE_EQ(hertzOf("50MHz").value_or(0), 5e7);
    EXPECT_DOUBLE_EQ(hertzOf("1.2G").value_or(0), 1.2e9);
    EXPECT_DOUBLE_EQ(hertzOf("12.5e3 kHz").value_or(0), 12.5e6);
    EXPECT_EQ(bytesOf("4M"), 4194304.0);
    EXPECT_EQ(bytesOf("256KiB"), 262144.0);
}

TEST(Units, WhatIsNoNumberWithAUnitIsNothing) {
    for (const char* text : {"", "s", "ms", "5x", "5 m s", "1 ", " 1", "1,5s", "0x10", "--5s", "nan", "inf", "5MHz"}) {
        EXPECT_FALSE(secondsOf(text)) << text;
    }
    EXPECT_FALSE(hertzOf("50mHz")) << "a millihertz is no rate of a clock, and M is not m";
    EXPECT_FALSE(hertzOf("50s"));
}

} // namespace
