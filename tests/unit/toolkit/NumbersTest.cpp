#include "toolkit/Numbers.h"

#include <gtest/gtest.h>

namespace toolkit {
namespace {

TEST(Numbers, WithinTheLimitsAreTaken) {
    const TextCheck check = numberFrom(0.0, 1e6);
    for (const char* text : {"0", "1", "0.25", "1e3", "1000000", "5e-3"}) {
        EXPECT_EQ(check(text), "") << text;
    }
}

TEST(Numbers, OutsideTheLimitsAreRefusedWithTheLimits) {
    const TextCheck check = numberFrom(0.0, 1e6);
    for (const char* text : {"-0.1", "1000001", "1e7", "1e300", "1e999"}) {
        EXPECT_EQ(check(text), "must be from 0 to 1000000") << text;
    }
}

TEST(Numbers, AnythingElseIsNoNumber) {
    const TextCheck check = numberFrom(0.0, 1e6);
    for (const char* text : {"", "abc", "1s", "1 ", " 1", "nan", "inf", "-inf", "1,5", "--1"}) {
        EXPECT_EQ(check(text), "'" + std::string(text) + "' is not a number") << text;
    }
}

TEST(Numbers, WholeOnesHaveNoFraction) {
    const TextCheck check = wholeNumberFrom(1, 9999);
    for (const char* text : {"1", "0001", "9999"}) {
        EXPECT_EQ(check(text), "") << text;
    }
    for (const char* text : {"", "1.5", "1e3", "x", "0x10"}) {
        EXPECT_EQ(check(text), "'" + std::string(text) + "' is not a whole number") << text;
    }
    for (const char* text : {"0", "-1", "10000", "99999999999999999999"}) {
        EXPECT_EQ(check(text), "must be from 1 to 9999") << text;
    }
}

} // namespace
} // namespace toolkit
