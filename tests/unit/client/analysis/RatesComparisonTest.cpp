#include "client/analysis/CalRegisters.h"
#include "client/analysis/Rates.h"
#include "tests/unit/client/analysis/Bursts.h"
#include "tests/unit/client/analysis/Reference.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstring>
#include <string>
#include <vector>

// Rates, limits and settings against a second, plain implementation, over random rates and settings.

namespace {

using namespace VX_QRS::ORV::CLIENT;

constexpr std::uint32_t drawn = ORV_RANDOM_BURSTS;

using bursts::same;

class Draw : public bursts::Generator {
public:
    using Generator::Generator;

    /// Any rate from 11 Hz to 350 MHz and a little beyond, the limits themselves, and what is no rate.
    double rate() {
        const double limits[] = {11.0, 1.01e7, 1.2e8, 3.5e8, 0.0, HUGE_VAL, std::nan(""), 1.4e9 / 14, 1.4e9 / 28};
        switch (below(10)) {
        case 0:
            return limits[below(9)];
        case 1:
            return std::nextafter(limits[below(4)], below(2) != 0 ? HUGE_VAL : 0.0);
        default:
            return std::exp(std::log(9.0) + uniform() * std::log(4e8 / 9.0));
        }
    }

    analysis::UnitClock clock() {
        if (below(3) != 0) {
            return {50e6, 21, 3};
        }
        return {1e6 + 99e6 * uniform(), static_cast<double>(1 + below(40)), static_cast<double>(1 + below(8))};
    }
};

TEST(RandomRates, GiveTheSameDerivedFiguresInBothImplementations) {
    Draw random(31);
    for (std::uint32_t i = 0; i < drawn; ++i) {
        const double f = random.rate();
        const analysis::UnitClock clock = random.clock();
        const std::uint32_t numPins = 1 + random.below(8);
        const bool both = random.below(2) != 0;
        const analysis::Rates rates = analysis::ratesOf(f, clock, numPins, both);
        double dataFrequency = f;
        if (both) {
            dataFrequency = 2 * f;
        }
        const double oversampling = 4 * clock.multiplier * clock.refFrequency / clock.divider / f;
        ASSERT_TRUE(same(rates.exportFrequency, f));
        ASSERT_TRUE(same(rates.dataFrequency, dataFrequency)) << f;
        ASSERT_TRUE(same(rates.dataRate, dataFrequency * (numPins - 1))) << f;
        ASSERT_TRUE(same(rates.oversampling, oversampling)) << f;
        ASSERT_EQ(rates.bitSamples, reference::integerPart(oversampling / 2 + 0.5)) << f;
        ASSERT_TRUE(same(rates.wordClockFrequency, clock.refFrequency * clock.multiplier / (4 * clock.divider)));
        bool tooMuch = false;
        if (f > 1.2e8) {
            tooMuch = true;
        }
        if (dataFrequency * (numPins - 1) > 9.6e8) {
            tooMuch = true;
        }
        ASSERT_EQ(analysis::exceedsRecording(rates.exportFrequency, rates.dataRate), tooMuch) << f;
    }
}

TEST(RandomRates, GiveTheSameConditioningInBothImplementations) {
    Draw random(32);
    for (std::uint32_t i = 0; i < drawn; ++i) {
        const double oversampling = random.below(4) == 0 ? 20 * random.uniform() : 1.4e9 / random.rate();
        ProcCal fast;
        fast.filter = random.below(8);
        std::uint32_t filter = fast.filter;
        std::uint32_t plateau = 3;
        std::uint32_t debounce = 0;
        const double s = oversampling * 0.85;
        // From the bottom of the table to its top, each row overwriting those below it.
        if (s >= 3) {
            debounce = 3;
        }
        if (s >= 4) {
            debounce = 4;
        }
        if (s >= 5) {
            plateau = 5;
            debounce = 5;
        }
        if (s >= 6) {
            debounce = 6;
        }
        if (s >= 7) {
            plateau = 7;
            debounce = 7;
        }
        if (s >= 8) {
            debounce = 8;
        }
        if (s >= 10) {
            filter = 1;
        }
        if (s >= 12) {
            filter = 3;
        }
        if (s >= 14) {
            filter = 7;
        }
        analysis::applyConditioning(oversampling, fast);
        ASSERT_EQ(fast.filter, filter) << s;
        ASSERT_EQ(fast.plateau, plateau) << s;
        ASSERT_EQ(fast.debounce, debounce) << s;
        ASSERT_EQ(fast.delay, notSet);
        ASSERT_EQ(fast.stretch, static_cast<std::int32_t>(notSet));
    }
}

TEST(RandomRates, AreMeasuredTheSameInBothImplementations) {
    Draw random(33);
    for (std::uint32_t i = 0; i < drawn; ++i) {
        const analysis::UnitClock clock = random.clock();
        const std::uint32_t cpi = random.below(3) == 0 ? random.below(0xFFFFFFFF) : random.below(4000000);
        const auto count = static_cast<std::uint32_t>(random.uniform() * 4294967295.0);
        const double p = clock.refFrequency * clock.multiplier;
        const double t = 4 * clock.divider * cpi / p;
        const analysis::CounterWindow window = analysis::counterWindow(cpi, clock);
        ASSERT_EQ(window.low, cpi % 65536);
        ASSERT_EQ(window.high, cpi / 65536 % 256);
        ASSERT_EQ(window.wait, reference::integerPart(1000 * t) + 10) << cpi;
        ASSERT_TRUE(same(analysis::frequencyOfCount(count, cpi, clock), count * p / (8.0 * cpi * clock.divider)));

        const double f1 = random.rate();
        const double f2 = random.below(2) != 0 ? f1 * (1 + 0.012 * (random.uniform() - 0.5)) : random.rate();
        const double m = (f1 + f2) / 2;
        double e = 0;
        if (m != 0) {
            e = 100 * std::fabs(f1 - f2) / m;
        }
        auto expected = analysis::FrequencyVerdict::good;
        if (e > 0.5) {
            expected = analysis::FrequencyVerdict::unstable;
        } else if (m == 0) {
            expected = analysis::FrequencyVerdict::noClock;
        } else if (m < 11.0 || m > 3.5e8) {
            expected = analysis::FrequencyVerdict::outOfRange;
        }
        ASSERT_EQ(analysis::judge({f1, f2}), expected) << f1 << " " << f2;
        ASSERT_EQ((analysis::FrequencyPair{f1, f2}.settled()), e <= 0.5) << f1 << " " << f2;
    }
}

TEST(RandomRates, AreChosenFromTheSameInBothImplementations) {
    Draw random(34);
    for (std::uint32_t i = 0; i < drawn; ++i) {
        std::vector<double> list(random.below(7));
        for (double& rate : list) {
            rate = 1e6 * (1 + random.below(12));
        }
        const double limit = 1e6 * random.below(14);
        std::uint32_t expected = 0;
        if (limit == 0.0) {
            expected = list.empty() ? 0 : static_cast<std::uint32_t>(list.size()) - 1;
        } else {
            std::uint32_t index = 0;
            while (index < list.size() && list[index] < limit) {
                ++index;
            }
            expected = index != 0 ? index - 1 : 0;
        }
        ASSERT_EQ(analysis::startSetting(list, limit), expected) << i;
    }
}

TEST(RandomSettings, AreJudgedAndWrittenTheSameInBothImplementations) {
    Draw random(35);
    for (std::uint32_t i = 0; i < drawn; ++i) {
        const auto any = [&](std::uint32_t limit) { return random.below(50) == 0 ? notSet : random.below(limit); };
        ProcCal pin;
        pin.rcvrpin = random.below(300);
        pin.filter = any(9);
        pin.plateau = any(9);
        pin.debounce = any(10);
        pin.delay = any(34);
        pin.stretch = static_cast<std::int32_t>(random.below(13)) - 6;
        pin.enable = random.below(3);
        std::string expected = "none";
        if (pin.stretch > 5 || pin.stretch < -5) {
            expected = "invalid stretch";
        }
        if (pin.delay > 31) {
            expected = "invalid delay";
        }
        if (pin.debounce > 8) {
            expected = "invalid debounce";
        }
        if (!(pin.plateau == 3 || pin.plateau == 5 || pin.plateau == 7)) {
            expected = "invalid plateau";
        }
        if (pin.filter > 7) {
            expected = "invalid filter";
        }
        const char* fault = analysis::invalidSetting(pin);
        ASSERT_EQ(std::string(fault != nullptr ? fault : "none"), expected);

        // Bit by bit, from the top.
        const auto bits = [](std::uint32_t value, unsigned count) {
            std::string text;
            for (unsigned b = count; b-- > 0;) {
                text += (value >> b) % 2 != 0 ? '1' : '0';
            }
            return text;
        };
        std::uint32_t code = 2;
        if (pin.plateau < 4) {
            code = 0;
        }
        if (pin.plateau == 5 || pin.plateau == 6) {
            code = 1;
        }
        const std::string first = (pin.enable != 0 ? "1" : "0") + bits(pin.rcvrpin, 7) + bits(pin.delay, 8);
        const std::string second = bits(pin.filter, 4) + (pin.stretch >= 0 ? "1" : "0") +
                                   bits(static_cast<std::uint32_t>(std::abs(pin.stretch)), 3) + bits(code, 3) +
                                   bits(pin.debounce, 5);
        const analysis::CalRegisters image = analysis::toRegisters(pin);
        ASSERT_EQ(bits(image.input, 32), std::string(16, '0') + first);
        ASSERT_EQ(bits(image.conditioning, 32), std::string(16, '0') + second);

        const std::uint32_t a = random.below(0x10000);
        const std::uint32_t b = random.below(0x10000);
        ProcCal back;
        analysis::fromRegisters({a, b}, back);
        ASSERT_EQ(back.enable, a / 0x8000);
        ASSERT_EQ(back.rcvrpin, a / 0x100 % 0x80);
        ASSERT_EQ(back.delay, a % 0x100);
        ASSERT_EQ(back.filter, b / 0x1000);
        ASSERT_EQ(back.stretch, static_cast<std::int32_t>(b / 0x100 % 8) * (b / 0x800 % 2 != 0 ? 1 : -1));
        ASSERT_EQ(back.plateau, 3U);
        ASSERT_EQ(back.debounce, b % 0x20);
    }
}

} // namespace
