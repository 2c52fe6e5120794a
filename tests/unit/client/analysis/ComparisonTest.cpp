#include "client/analysis/Alignment.h"
#include "client/analysis/BitCounts.h"
#include "client/analysis/Conversions.h"
#include "client/analysis/Edges.h"
#include "client/analysis/Margins.h"
#include "tests/unit/client/analysis/Bursts.h"
#include "tests/unit/client/analysis/Reference.h"
#include "tests/unit/client/frontend/ChannelFixture.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <string>

// The mathematics against its slow twin, over random bursts: whole numbers and doubles alike, bit for bit.

namespace {

using namespace VX_QRS::ORV::CLIENT;

/// Eight seeds of each comparison make 100,000; a build that runs slowly takes fewer.
constexpr std::uint32_t burstsPerSeed = ORV_RANDOM_BURSTS / 8;

using bursts::same;

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

using analysis::Burst;

constexpr const char* positions[] = {"center", "edge", "detect"};

/// Gives the channel a burst, as if it had captured it at that rate.
void hand(ChannelInspector in, const bursts::OwnedBurst& owned) {
    const Burst& burst = owned.burst;
    in.settings().numPins = burst.numPins;
    for (std::uint32_t p = 0; p < burst.numPins; ++p) {
        in.oversampling().ovsWords[p] = owned.pins[p];
    }
    in.oversampling().ovsDepth = burst.length / 16;
    in.clocking().oversampling = burst.oversampling;
    in.clocking().bitSamples = burst.bitSamples;
}

/// Whether the channel did it, or refused for the reason that such a step has.
template <typename Step>
bool done(Step step, const char* reason) {
    try {
        step();
    } catch (const Exception& e) {
        EXPECT_EQ(e.status(), eCALIBRATE);
        EXPECT_STREQ(e.detail(), reason);
        return false;
    }
    return true;
}

/// A pattern by its share of ones.
class SharePattern : public Pattern {
public:
    double onesRatio() override { return share; }
    bool check(std::uint16_t, std::uint16_t, bool&) override { return false; }
    double share = 0.5;
};

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

/// The channel's own members over the bursts, one after the other as an attempt calls them.
class RandomAttempts : public client_test::ChannelTest, public ::testing::WithParamInterface<std::uint32_t> {
protected:
    RandomAttempts() {
        openChannel();
        ON_CALL(transmitter, getPattern).WillByDefault(testing::Return(&pattern));
    }

    SharePattern pattern;
};

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

TEST_P(RandomAttempts, GiveTheSameDelaysAndMarginsInBothImplementations) {
    bursts::Generator random(GetParam() + 2000);
    ChannelInspector in = inside();
    std::uint32_t detected = 0;
    std::uint32_t centred = 0;
    for (std::uint32_t i = 0; i < burstsPerSeed; ++i) {
        bursts::OwnedBurst owned = random.next();
        const Burst& burst = owned.view();
        hand(in, owned);
        in.settings().referencePin = random.below(4) != 0 ? 1 : 1 + random.below(burst.numPins - 1);
        const std::uint32_t reference = in.settings().referencePin;
        Metrics fast;
        Metrics slow;
        for (std::uint32_t p = 0; p < 8; ++p) {
            fast.proc[p].delay = slow.proc[p].delay =
                static_cast<std::int32_t>(random.below(4) * 7); // an earlier attempt's
        }

        in.settings().samplingPos = positions[random.below(3)];
        const char* position = reference::samplingPosition(burst);
        const std::string expected = position != nullptr ? position : in.settings().samplingPos;
        ASSERT_EQ(done([&] { in.detectSamplingPosition(); }, "unable to detect sampling position"), position != nullptr)
            << "burst " << i;
        ASSERT_EQ(in.settings().samplingPos, expected) << "burst " << i;
        detected += position != nullptr ? 1 : 0;

        pattern.share = std::initializer_list<double>{0.5, 0.2, 2.0 / 3, 1.0, 0.0}.begin()[random.below(5)];
        in.stretch(fast);
        reference::stretch(burst, pattern.share, slow);
        ASSERT_TRUE(same(fast, slow)) << "stretch of burst " << i << " at " << burst.oversampling;

        const char* samplingPos = positions[random.below(2)];
        in.settings().samplingPos = samplingPos;
        {
            Metrics fastByClock = fast;
            Metrics slowByClock = slow;
            in.align(fastByClock, 0);
            reference::align(burst, 0, samplingPos, reference, slowByClock);
            ASSERT_TRUE(same(fastByClock, slowByClock)) << "alignment by clock of burst " << i;
        }
        // A start past the burst makes the count wrap round to all of it; the slow one would not come back.
        const bool inside = burst.bitSamples + burst.skip <= burst.length;
        if (inside) {
            in.align(fast, 1);
            reference::align(burst, 1, samplingPos, reference, slow);
            ASSERT_TRUE(same(fast, slow)) << "alignment of burst " << i << " at " << burst.oversampling;
            in.computeOvsDataCorrelation(fast);
            reference::correlateAtZero(burst, reference, slow);
        }
        in.findMargin(fast);
        reference::findMargin(burst, samplingPos, slow);
        ASSERT_TRUE(same(fast, slow)) << "margins of burst " << i << " at " << burst.oversampling;

        const bool enough = done([&] { in.adjustClockDelay(fast); }, "clock margin too low");
        centred += enough ? 1 : 0;
        ASSERT_EQ(reference::adjustClockDelay(burst, reference, slow), enough) << "burst " << i;
        ASSERT_TRUE(same(fast, slow)) << "clock of burst " << i << " at " << burst.oversampling;
    }
    // Both ways out are met, or the comparison says little.
    EXPECT_GT(detected, burstsPerSeed / 20);
    EXPECT_LT(detected, burstsPerSeed - burstsPerSeed / 20);
    EXPECT_GT(centred, burstsPerSeed / 20);
    EXPECT_LT(centred, burstsPerSeed - burstsPerSeed / 20);
}

TEST_P(RandomAttempts, GiveTheSameEndOfAWatchedBurstInBothImplementations) {
    bursts::Generator random(GetParam() + 4000);
    for (std::uint32_t i = 0; i < burstsPerSeed / 100; ++i) { // each failure writes a file
        bursts::OwnedBurst owned = random.next();
        ChannelInspector in = inside();
        hand(in, owned);
        const auto margin = static_cast<std::int32_t>(random.below(4));
        std::uint32_t index = 0;
        const int expected = reference::marginFault(owned.view(), margin, index);
        const char* const texts[] = {"none", "oversampling clock margin failure at index ",
                                     "oversampling data margin failure at index "};
        std::string said = "none";
        try {
            in.verifyOvsMargin(in.cal(), margin);
        } catch (const Exception& e) {
            ASSERT_EQ(e.status(), eOVS);
            said = e.detail();
        }
        ASSERT_EQ(said, expected == 0 ? "none" : texts[expected] + std::to_string(index)) << "burst " << i;
    }
}

TEST_P(RandomAttempts, GiveTheSameDelaysOfAnyCorrelationsInBothImplementations) {
    bursts::Generator random(GetParam() + 5000);
    const double special[] = {0.0, -0.0, 1.0, -1.0, 0.5, std::nan(""), HUGE_VAL, -HUGE_VAL};
    for (std::uint32_t i = 0; i < burstsPerSeed; ++i) {
        Burst pins;
        pins.numPins = 1 + random.below(8);
        Metrics fast;
        Metrics slow;
        const bool few = random.below(2) != 0; // values of which many are equal
        for (std::uint32_t p = 0; p < 8; ++p) {
            for (double& value : fast.proc[p].correlation) {
                value = few || random.below(20) == 0 ? special[random.below(8)] : 2 * random.uniform() - 1;
            }
            slow.proc[p].correlation = fast.proc[p].correlation;
            const std::uint32_t range = random.below(32);
            std::int32_t delays[2] = {77, 88};
            const double best = analysis::findPeakCorrelation(fast.proc[p], delays[0], range);
            ASSERT_TRUE(same(best, reference::findPeakCorrelation(slow.proc[p], delays[1], range))) << i;
            ASSERT_EQ(delays[0], delays[1]) << i;
            const std::int32_t spread = random.below(10) == 0 ? 2000000000 : 60;
            fast.proc[p].delay = slow.proc[p].delay = static_cast<std::int32_t>(random.uniform() * spread) -
                                                      spread / 2 + (random.below(3) == 0 ? delays[0] : 0);
        }
        analysis::formatDelays(pins.numPins, fast);
        reference::formatDelays(pins, slow);
        ASSERT_TRUE(same(fast, slow)) << i;
    }
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
INSTANTIATE_TEST_SUITE_P(Seeds, RandomAttempts, ::testing::Range(1U, 9U));

TEST(CountsWhosePositionsWrap, CoverTheWholeBurst) {
    // A start past the burst leaves a count that wraps: the positions run through 2^32 and then through the burst.
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
