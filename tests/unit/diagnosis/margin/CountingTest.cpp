#include "diagnosis/margin/Counting.h"

#include <gtest/gtest.h>

#include <random>

namespace diagnosis {
namespace {

TEST(CountLimits, AreThoseOfThePoissonTable) {
    const double upper95[] = {3.00, 4.74, 6.30, 7.75, 9.15};
    for (std::uint64_t errors = 0; errors < 5; ++errors) {
        EXPECT_NEAR(upperCount(errors), upper95[errors], 0.01) << errors;
    }
    EXPECT_NEAR(upperCount(0, 0.99), 4.61, 0.01);
    EXPECT_EQ(lowerCount(0), 0.0);
    EXPECT_NEAR(lowerCount(1), 0.0513, 0.0005);
    EXPECT_NEAR(upperCount(10000), 10000 + 1.645 * 100 + 1.5, 1.0);
}

TEST(CountLimits, WithoutErrorsAreExactForFewBits) {
    EXPECT_NEAR(rateBelow(0, 100), 0.02951, 0.00001);
    EXPECT_NEAR(rateBelow(0, 3'000'000'000), 1e-9, 0.01e-9);
    EXPECT_EQ(rateBelow(0, 0), 1.0);
    EXPECT_EQ(rateBelow(50, 50), 1.0);
}

TEST(CountLimits, HoldInAsManyRunsAsTheyState) {
    std::mt19937_64 random(20261);
    for (const double mean : {0.5, 1.0, 3.0, 5.0, 20.0}) {
        std::poisson_distribution<std::uint64_t> draw(mean);
        constexpr int runs = 4000;
        int held = 0;
        for (int run = 0; run < runs; ++run) {
            held += upperCount(draw(random)) >= mean ? 1 : 0;
        }
        EXPECT_GE(held, runs * 94 / 100) << mean;
    }
}

TEST(ChiSquare, TailIsThatOfTheTable) {
    EXPECT_NEAR(chiSquareTail(3.841, 1), 0.05, 0.0001);
    EXPECT_NEAR(chiSquareTail(9.210, 2), 0.01, 0.0001);
    EXPECT_NEAR(chiSquareTail(18.307, 10), 0.05, 0.0001);
    EXPECT_EQ(chiSquareTail(5.0, 0), 1.0);
}

TEST(RepeatedCounts, OfOneRateRarelyDifferAndADoublingIsFound) {
    std::mt19937_64 random(77);
    std::poisson_distribution<std::uint64_t> thirty(30.0);
    std::poisson_distribution<std::uint64_t> sixty(60.0);
    constexpr int runs = 2000;
    int same = 0;
    int doubled = 0;
    for (int run = 0; run < runs; ++run) {
        same += hasMoved(thirty(random), 1000000, thirty(random), 1000000) ? 1 : 0;
        doubled += hasMoved(thirty(random), 1000000, sixty(random), 1000000) ? 1 : 0;
    }
    EXPECT_LT(same, runs / 100);
    EXPECT_GT(doubled, runs * 40 / 100);
}

} // namespace
} // namespace diagnosis
