#include "client/analysis/Alignment.h"
#include "client/analysis/BitCounts.h"
#include "client/analysis/Conversions.h"
#include "client/analysis/Edges.h"
#include "client/analysis/Margins.h"
#include "client/analysis/SamplingPosition.h"
#include "tests/unit/client/calibration_bursts.h"
#include "tests/unit/client/calibration_reference.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <string>

// The mathematics against its slow twin, over random bursts: whole numbers and doubles alike, bit for bit.

namespace {

using namespace VX_QRS::ORV::CLIENT;

constexpr std::uint32_t burstsPerSeed = 12500;

bool same(double a, double b) {
    return (std::isnan(a) && std::isnan(b)) || std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b);
}

::testing::AssertionResult same(const Metrics& a, const Metrics& b) {
    for (std::size_t p = 0; p < a.proc.size(); ++p) {
        const ProcMetrics& x = a.proc[p];
        const ProcMetrics& y = b.proc[p];
        for (std::size_t i = 0; i < x.correlation.size(); ++i) {
            if (!same(x.correlation[i], y.correlation[i])) {
                return ::testing::AssertionFailure() << "pin " << p << " correlation " << i << ": " << x.correlation[i]
                                                     << " and " << y.correlation[i];
            }
        }
        if (!same(x.correlationAtZero, y.correlationAtZero)) {
            return ::testing::AssertionFailure() << "pin " << p << " correlation at zero";
        }
        if (x.delay != y.delay || x.stretch != y.stretch || x.ones != y.ones || x.zeros != y.zeros ||
            x.marginBefore != y.marginBefore || x.marginAfter != y.marginAfter) {
            return ::testing::AssertionFailure()
                   << "pin " << p << ": delay " << x.delay << "/" << y.delay << " stretch " << x.stretch << "/"
                   << y.stretch << " ones " << x.ones << "/" << y.ones << " zeros " << x.zeros << "/" << y.zeros
                   << " margins " << x.marginBefore << "/" << y.marginBefore << " " << x.marginAfter << "/"
                   << y.marginAfter;
        }
    }
    return ::testing::AssertionSuccess();
}

const char* nameOf(analysis::SamplingPosition position) {
    switch (position) {
    case analysis::SamplingPosition::center:
        return "center";
    case analysis::SamplingPosition::edge:
        return "edge";
    default:
        return "none";
    }
}

using analysis::Burst;

std::uint32_t offsetOf(const Burst& burst, const std::string& samplingPos, const Metrics& m) {
    return samplingPos == "edge" && m.proc[0].delay == 0 ? analysis::halfPeriod(burst.oversampling) : 0;
}

/// What the channel's `align` does with the functions.
void alignLikeTheChannel(const Burst& burst, std::uint32_t strategy, const std::string& samplingPos,
                         std::uint32_t referencePin, Metrics& m) {
    if (strategy == 0) {
        analysis::findMargin(burst, offsetOf(burst, samplingPos, m), m);
        analysis::alignDataWithClock(burst, m);
    } else {
        analysis::alignDataWithData(burst, referencePin, m);
    }
    if (samplingPos == "edge") {
        m.proc[0].delay = analysis::wrappingSum(m.proc[0].delay, analysis::halfPeriod(burst.oversampling));
    }
    analysis::formatDelays(burst.numPins, m);
}

/// Burst positions that matter to edge finding, and some that should not.
std::uint32_t somePosition(bursts::Generator& random, const Burst& burst) {
    switch (random.below(8)) {
    case 0:
        return 0;
    case 1:
        return burst.length - 1;
    case 2:
        return burst.length + random.below(40);
    case 3:
        return burst.length - 1 - random.below(16);
    default:
        return random.below(burst.length);
    }
}

class RandomBursts : public ::testing::TestWithParam<std::uint32_t> {};

TEST_P(RandomBursts, GiveTheSameEdgesInBothImplementations) {
    bursts::Generator random(GetParam());
    for (std::uint32_t i = 0; i < burstsPerSeed; ++i) {
        bursts::OwnedBurst owned = random.next();
        const Burst& burst = owned.view();
        const std::uint32_t pin = random.below(burst.numPins);
        const std::uint32_t position = somePosition(random, burst);
        std::uint32_t limit = burst.length;
        if (random.below(3) == 0) {
            limit = random.below(burst.length + 40);
        }
        std::uint32_t word[2] = {position / 16, position / 16};
        std::uint32_t bit[2] = {position % 16, position % 16};
        ASSERT_EQ(analysis::nextEdge(burst.pin[pin], word[0], bit[0], limit),
                  reference::nextEdge(burst.pin[pin], word[1], bit[1], limit))
            << "burst " << i << " position " << position << " limit " << limit;
        ASSERT_EQ(16 * word[0] + bit[0], 16 * word[1] + bit[1]) << "burst " << i;
        word[0] = word[1] = position / 16;
        bit[0] = bit[1] = position % 16;
        ASSERT_EQ(analysis::prevEdge(burst.pin[pin], word[0], bit[0]),
                  reference::prevEdge(burst.pin[pin], word[1], bit[1]))
            << "burst " << i << " position " << position;
        ASSERT_EQ(16 * word[0] + bit[0], 16 * word[1] + bit[1]) << "burst " << i;
    }
}

TEST_P(RandomBursts, GiveTheSameCountsAndCorrelationsInBothImplementations) {
    bursts::Generator random(GetParam() + 1000);
    for (std::uint32_t i = 0; i < burstsPerSeed; ++i) {
        bursts::OwnedBurst owned = random.next();
        const Burst& burst = owned.view();
        const auto a = burst.pin[random.below(burst.numPins)];
        const auto b = burst.pin[random.below(burst.numPins)];
        const auto lag = static_cast<std::int32_t>(random.below(63)) - 31;
        const std::uint32_t start = 31 + random.below(burst.length);
        const std::uint32_t count = random.below(burst.length + 64);
        ASSERT_EQ(analysis::countOnes(a, start, count, lag), reference::countOnes(a, start, count, lag)) << i;
        ASSERT_EQ(analysis::countCommonOnes(a, b, start, count, lag),
                  reference::countCommonOnes(a, b, start, count, lag))
            << i;
        ASSERT_TRUE(
            same(analysis::correlateBits(a, b, start, count, lag), reference::correlateBits(a, b, start, count, lag)))
            << i;
    }
}

TEST_P(RandomBursts, GiveTheSameDelaysAndMarginsInBothImplementations) {
    bursts::Generator random(GetParam() + 2000);
    std::uint32_t detected = 0;
    std::uint32_t centred = 0;
    for (std::uint32_t i = 0; i < burstsPerSeed; ++i) {
        bursts::OwnedBurst owned = random.next();
        const Burst& burst = owned.view();
        Metrics fast;
        Metrics slow;
        fast.proc[0].delay = slow.proc[0].delay = static_cast<std::int32_t>(random.below(4) * 7);

        const char* position = reference::samplingPosition(burst);
        ASSERT_STREQ(nameOf(analysis::samplingPosition(analysis::countSamplingPositions(burst))),
                     position != nullptr ? position : "none")
            << "burst " << i;
        detected += position != nullptr ? 1 : 0;

        const double ratio = std::initializer_list<double>{0.5, 0.2, 2.0 / 3, 1.0, 0.0}.begin()[random.below(5)];
        analysis::stretch(burst, ratio, fast);
        reference::stretch(burst, ratio, slow);
        ASSERT_TRUE(same(fast, slow)) << "stretch of burst " << i << " at " << burst.oversampling;

        const char* samplingPos = random.below(2) != 0 ? "edge" : "center";
        // A start behind the burst makes the count wrap round to all of it; the slow one would not come back.
        const bool inside = burst.bitSamples + burst.skip <= burst.length;
        const std::uint32_t strategy = inside && random.below(8) != 0 ? 1 : 0;
        alignLikeTheChannel(burst, strategy, samplingPos, 1, fast);
        reference::align(burst, strategy, samplingPos, 1, slow);
        ASSERT_TRUE(same(fast, slow)) << "alignment of burst " << i << " at " << burst.oversampling;

        if (inside) {
            analysis::correlateAtZero(burst, 1, fast);
            reference::correlateAtZero(burst, 1, slow);
        }
        analysis::findMargin(burst, offsetOf(burst, samplingPos, fast), fast);
        reference::findMargin(burst, samplingPos, slow);
        ASSERT_TRUE(same(fast, slow)) << "margins of burst " << i << " at " << burst.oversampling;

        const bool enough = analysis::clockMargins(burst, fast).enough;
        if (enough) {
            analysis::centreClock(1, fast);
            analysis::formatDelays(burst.numPins, fast);
            ++centred;
        }
        ASSERT_EQ(reference::adjustClockDelay(burst, 1, slow), enough) << "burst " << i;
        ASSERT_TRUE(same(fast, slow)) << "clock of burst " << i << " at " << burst.oversampling;
    }
    // Both ways out are met, or the comparison says little.
    EXPECT_GT(detected, burstsPerSeed / 20);
    EXPECT_LT(detected, burstsPerSeed - burstsPerSeed / 20);
    EXPECT_GT(centred, burstsPerSeed / 20);
    EXPECT_LT(centred, burstsPerSeed - burstsPerSeed / 20);
}

TEST_P(RandomBursts, GiveTheSameMarginFaultInBothImplementations) {
    bursts::Generator random(GetParam() + 3000);
    std::uint32_t met[3] = {};
    for (std::uint32_t i = 0; i < burstsPerSeed; ++i) {
        bursts::OwnedBurst owned = random.next();
        const Burst& burst = owned.view();
        const auto margin = static_cast<std::int32_t>(random.below(6)) - 2;
        std::uint32_t index = 0;
        const int expected = reference::marginFault(burst, margin, index);
        const analysis::MarginFault fault = analysis::findMarginFault(burst, margin);
        ASSERT_EQ(static_cast<int>(fault.kind), expected) << "burst " << i;
        ASSERT_EQ(fault.word, index) << "burst " << i;
        ++met[expected];
    }
    EXPECT_GT(met[0], 0U);
    EXPECT_GT(met[1], 0U);
    EXPECT_GT(met[2], 0U);
}

INSTANTIATE_TEST_SUITE_P(Seeds, RandomBursts, ::testing::Range(1U, 9U));

TEST(CountsWhosePositionsWrap, CoverTheWholeBurst) {
    // A start behind the burst leaves a count that wraps: the positions run through 2^32 and then through the burst.
    bursts::Generator random(77);
    for (int i = 0; i < 2000; ++i) {
        bursts::OwnedBurst owned = random.next();
        const Burst& burst = owned.view();
        const std::uint32_t start = burst.length + 1 + random.below(5000);
        const std::uint32_t count = burst.length - start;
        const auto lag = static_cast<std::int32_t>(random.below(63)) - 31;
        double ones = 0;
        double common = 0;
        for (std::uint32_t s = 0; s < burst.length; ++s) {
            const bool inA = (burst.pin[0][s / 16] >> (s % 16) & 1) != 0;
            const bool inB = (burst.pin[1][s / 16] >> (s % 16) & 1) != 0;
            if (inB && s - start - static_cast<std::uint32_t>(lag) < count) {
                ++ones;
            }
            const std::uint32_t other = s + static_cast<std::uint32_t>(lag);
            const bool otherInB = other < burst.length && (burst.pin[1][other / 16] >> (other % 16) & 1) != 0;
            if (inA && otherInB && s - start < count) {
                ++common;
            }
        }
        ASSERT_EQ(analysis::countOnes(burst.pin[1], start, count, lag), ones) << i;
        ASSERT_EQ(analysis::countCommonOnes(burst.pin[0], burst.pin[1], start, count, lag), common) << i;
    }
}

TEST(Conversions, GiveTheSameForEveryKindOfDouble) {
    std::vector<double> values{0.0,
                               -0.0,
                               0.49999,
                               0.5,
                               1.5,
                               -0.5,
                               -1.5,
                               2147483647.0,
                               2147483647.4,
                               2147483647.5,
                               2147483648.0,
                               -2147483648.0,
                               -2147483648.5,
                               -2147483649.0,
                               4294967295.0,
                               4294967296.0,
                               4294967297.5,
                               9223372036854774784.0,
                               9223372036854775808.0,
                               -9223372036854775808.0,
                               -9223372036854777856.0,
                               1e300,
                               -1e300,
                               5e-324,
                               std::numeric_limits<double>::infinity(),
                               -std::numeric_limits<double>::infinity(),
                               std::numeric_limits<double>::quiet_NaN()};
    bursts::Generator random(5);
    for (int i = 0; i < 20000; ++i) {
        values.push_back((random.uniform() - 0.5) * std::pow(10.0, random.below(25)));
    }
    for (const double value : values) {
        ASSERT_EQ(analysis::integerPart(value), reference::integerPart(value)) << value;
        ASSERT_EQ(analysis::roundAway(value), reference::roundAway(value)) << value;
    }
}

} // namespace
