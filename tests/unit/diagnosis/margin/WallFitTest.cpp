#include "diagnosis/margin/WallFit.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <numbers>
#include <random>
#include <vector>

namespace diagnosis {
namespace {

double tailOf(double q) {
    return 0.5 * std::erfc(q / std::numbers::sqrt2);
}

/// Counts of a wall until 100 errors or so many opportunities, a tap a sample.
std::vector<WallTap> drawTaps(std::mt19937_64& random, const std::function<double(double)>& rate, double bits,
                              double step = 1.0) {
    std::vector<WallTap> taps;
    for (double x = -3.0; x < 20.0; x += step) {
        const double p = rate(x);
        const double n = p > 0.0 ? std::min(bits, std::max(1e4, 100.0 / p)) : bits;
        std::poisson_distribution<std::uint64_t> draw(p * n);
        const std::uint64_t errors = p * n > 1e-12 ? draw(random) : 0;
        taps.push_back({x, errors, static_cast<std::uint64_t>(n)});
        if (errors == 0) {
            break;
        }
    }
    return taps;
}

std::function<double(double)> gaussian(double middle, double deviation) {
    return [=](double x) { return tailOf((x - middle) / deviation); };
}

TEST(WallFit, FindsTheTailThatTheCountsWereDrawnFrom) {
    std::mt19937_64 random(4);
    const auto taps = drawTaps(random, gaussian(0.3, 1.0), 1e8, 0.5);
    const auto fit = fitWall(taps);
    ASSERT_TRUE(fit);
    EXPECT_NEAR(fit->position, 0.3, 0.1);
    EXPECT_NEAR(fit->deviation, 1.0, 0.05);
    EXPECT_NEAR(fit->at(1e-12), 0.3 + 7.034, 0.3);
    EXPECT_EQ(refusalOf(fit, taps), FitRefusal::None);
}

TEST(WallFit, IntervalsHoldInAsManyRunsAsTheyState) {
    std::mt19937_64 random(5);
    constexpr int runs = 500;
    int held = 0;
    int claimed = 0;
    for (int run = 0; run < runs; ++run) {
        const double middle = static_cast<double>(run) / runs;
        const auto taps = drawTaps(random, gaussian(middle, 1.0), 1e8);
        const auto fit = fitWall(taps);
        if (refusalOf(fit, taps) != FitRefusal::None) {
            continue;
        }
        ++claimed;
        held += std::abs(fit->at(1e-12) - (middle + 7.034)) <= fit->halfWidthAt(1e-12) ? 1 : 0;
    }
    EXPECT_GT(claimed, runs * 95 / 100); // few true tails are refused
    EXPECT_GE(held, claimed * 92 / 100);
    EXPECT_LE(held, claimed * 98 / 100);
}

TEST(WallFit, RefusesAFloorOfGlitches) {
    std::mt19937_64 random(6);
    int refused = 0;
    for (int run = 0; run < 50; ++run) {
        const auto taps = drawTaps(random, [](double x) { return tailOf(x) + 3e-6; }, 1e8);
        refused += refusalOf(fitWall(taps), taps) != FitRefusal::None ? 1 : 0;
    }
    EXPECT_EQ(refused, 50);
}

TEST(WallFit, RefusesAWallOfFewTaps) {
    std::mt19937_64 random(7);
    const auto taps = drawTaps(random, gaussian(0.2, 0.2), 1e8);
    EXPECT_EQ(refusalOf(fitWall(taps), taps), FitRefusal::FewTaps);
}

TEST(WallFit, RefusesErrorsThatDoNotBecomeFewer) {
    const std::vector<WallTap> taps{{0, 50, 10000}, {1, 50, 10000}, {2, 60, 10000}, {3, 70, 10000}};
    EXPECT_EQ(refusalOf(fitWall(taps), taps), FitRefusal::NotATail);
    EXPECT_FALSE(fitWall(taps));
}

TEST(WallFit, RefusesCountsThatAreNotDeepEnough) {
    const std::vector<WallTap> taps{{0, 800, 10000}, {1, 250, 10000}, {2, 60, 10000}, {3, 12, 10000}};
    const auto fit = fitWall(taps);
    ASSERT_TRUE(fit);
    EXPECT_EQ(refusalOf(fit, taps), FitRefusal::TooShallow);
}

TEST(WallFit, BoundedJitterPutsTheWallTooFarIn) {
    // A box four deviations wide, smeared by a Gaussian: the claim is on the safe side.
    std::mt19937_64 random(8);
    const auto box = [](double x) {
        double sum = 0.0;
        for (int i = 0; i < 200; ++i) {
            sum += tailOf(x - (-2.0 + 4.0 * (i + 0.5) / 200.0));
        }
        return sum / 200.0;
    };
    const auto taps = drawTaps(random, box, 1e8, 0.5);
    const auto fit = fitWall(taps);
    ASSERT_TRUE(fit);
    double x = 2.0; // where the true rate is 1e-12
    while (box(x) > 1e-12) {
        x += 0.01;
    }
    EXPECT_GT(fit->at(1e-12), x);
    EXPECT_LT(fit->at(1e-12), x + 1.0);
}

TEST(Crossing, IsBetweenTheTapsAroundTheRate) {
    const std::vector<WallTap> taps{{-1, 1, 1}, {0, 3000, 10000}, {1, 0, 100000}, {2, 0, 100000}};
    const auto at = crossingOf(taps, 1e-3);
    ASSERT_TRUE(at);
    EXPECT_GT(*at, 0.0);
    EXPECT_LT(*at, 1.0);
    EXPECT_FALSE(crossingOf(std::vector<WallTap>{{1, 0, 1000}, {2, 0, 1000}}, 1e-3));
}

} // namespace
} // namespace diagnosis
