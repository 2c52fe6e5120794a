#include "client/analysis/CalRegisters.h"
#include "client/analysis/Metrics.h"
#include "client/analysis/Periods.h"
#include "client/analysis/Rates.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <string>
#include <vector>

// Every bound at its edge and one step beside it.

namespace {

using namespace VX_QRS::ORV::CLIENT;

constexpr analysis::UnitClock defaultClock{50e6, 21, 3};

double below(double value) {
    return std::nextafter(value, -std::numeric_limits<double>::infinity());
}
double above(double value) {
    return std::nextafter(value, std::numeric_limits<double>::infinity());
}

struct Row {
    double from;
    std::uint32_t filter;
    std::uint32_t plateau;
    std::uint32_t debounce;
};

ProcCal conditioned(double oversampling, std::uint32_t filter) {
    ProcCal pin;
    pin.filter = filter;
    analysis::applyConditioning(oversampling, pin);
    return pin;
}

TEST(Conditioning, FollowsItsTableAtEveryBoundAndOneStepBelow) {
    constexpr std::uint32_t kept = 6; // what the user asked for
    const std::vector<Row> rows{{14, 7, 7, 8},   {12, 3, 7, 8},   {10, 1, 7, 8},   {8, kept, 7, 8}, {7, kept, 7, 7},
                                {6, kept, 5, 6}, {5, kept, 5, 5}, {4, kept, 3, 4}, {3, kept, 3, 3}};
    const Row rest{0, kept, 3, 0};
    for (std::size_t i = 0; i < rows.size(); ++i) {
        double least = rows[i].from / 0.85; // the least oversampling of which 85 percent reach the bound
        while (least * 0.85 >= rows[i].from) {
            least = below(least);
        }
        while (least * 0.85 < rows[i].from) {
            least = above(least);
        }
        const ProcCal at = conditioned(least, kept);
        EXPECT_EQ(at.filter, rows[i].filter) << rows[i].from;
        EXPECT_EQ(at.plateau, rows[i].plateau) << rows[i].from;
        EXPECT_EQ(at.debounce, rows[i].debounce) << rows[i].from;
        const Row& next = i + 1 < rows.size() ? rows[i + 1] : rest;
        const ProcCal beside = conditioned(below(least), kept);
        EXPECT_EQ(beside.filter, next.filter) << "below " << rows[i].from;
        EXPECT_EQ(beside.plateau, next.plateau) << "below " << rows[i].from;
        EXPECT_EQ(beside.debounce, next.debounce) << "below " << rows[i].from;
    }
    EXPECT_EQ(conditioned(std::nan(""), kept).debounce, 0U);
    EXPECT_EQ(conditioned(std::numeric_limits<double>::infinity(), kept).filter, 7U);
}

TEST(Rates, FollowFromTheRateOfTheClock) {
    const analysis::Rates rates = analysis::ratesOf(100e6, defaultClock, 5, true);
    EXPECT_EQ(rates.exportFrequency, 100e6);
    EXPECT_EQ(rates.dataFrequency, 200e6);
    EXPECT_EQ(rates.dataRate, 800e6);
    EXPECT_EQ(rates.oversampling, 14.0);
    EXPECT_EQ(rates.bitSamples, 7U);
    EXPECT_EQ(rates.wordClockFrequency, 87.5e6);
    const analysis::Rates single = analysis::ratesOf(50e6, defaultClock, 2, false);
    EXPECT_EQ(single.dataFrequency, 50e6);
    EXPECT_EQ(single.dataRate, 50e6);
    EXPECT_EQ(analysis::ratesOf(1.4e9 / 13, defaultClock, 2, true).bitSamples, 7U); // 6.5 rounds up
}

TEST(Rates, OfNoClockAreInfiniteAndKeepNoBits) {
    const analysis::Rates rates = analysis::ratesOf(0.0, defaultClock, 5, true);
    EXPECT_TRUE(std::isinf(rates.oversampling));
    EXPECT_EQ(rates.bitSamples, 0U);
    EXPECT_EQ(analysis::ratesOf(std::nan(""), defaultClock, 5, true).bitSamples, 0U);
    EXPECT_EQ(analysis::ratesOf(11.0, defaultClock, 5, true).bitSamples, 63636364U);
}

TEST(CounterWindow, LastsAsLongAsTheUnitCounts) {
    const analysis::CounterWindow window = analysis::counterWindow(1000000, defaultClock);
    EXPECT_EQ(window.low, 1000000U & 0xFFFF);
    EXPECT_EQ(window.high, 1000000U >> 16);
    EXPECT_EQ(window.wait, 21U); // 11.43 ms and ten more
    EXPECT_EQ(analysis::counterWindow(0x12345678, defaultClock).high, 0x34U);
    EXPECT_EQ(analysis::counterWindow(0x12345678, defaultClock).low, 0x5678U);
    EXPECT_EQ(analysis::counterWindow(0, defaultClock).wait, 10U);
    EXPECT_EQ(analysis::counterWindow(87500, defaultClock).wait, 11U); // one whole millisecond
    EXPECT_EQ(analysis::counterWindow(87499, defaultClock).wait, 10U);
}

TEST(FrequencyOfCount, IsTheCountOverTheWindow) {
    EXPECT_DOUBLE_EQ(analysis::frequencyOfCount(2285714, 1000000, defaultClock), 99999987.5);
    EXPECT_EQ(analysis::frequencyOfCount(0, 1000000, defaultClock), 0.0);
    EXPECT_TRUE(std::isnan(analysis::frequencyOfCount(0, 0, defaultClock)));
    EXPECT_TRUE(std::isinf(analysis::frequencyOfCount(1, 0, defaultClock)));
}

TEST(Judging, TakesBothLimitsOfTheCounterAsGood) {
    using analysis::FrequencyVerdict;
    const auto of = [](double f) { return analysis::judge({f, f}); };
    EXPECT_EQ(of(11.0), FrequencyVerdict::good);
    EXPECT_EQ(of(below(11.0)), FrequencyVerdict::outOfRange);
    EXPECT_EQ(of(10.9), FrequencyVerdict::outOfRange);
    EXPECT_EQ(of(3.5e8), FrequencyVerdict::good);
    EXPECT_EQ(of(above(3.5e8)), FrequencyVerdict::outOfRange);
    EXPECT_EQ(of(0.0), FrequencyVerdict::noClock);
}

TEST(Judging, AllowsHalfAPercentOfTheMean) {
    using analysis::FrequencyVerdict;
    // Mean 400, difference 2: half a percent, in doubles too.
    EXPECT_EQ(analysis::FrequencyPair({401, 399}).difference(), 0.5);
    EXPECT_EQ(analysis::judge({401, 399}), FrequencyVerdict::good);
    EXPECT_EQ(analysis::judge({399, 401}), FrequencyVerdict::good);
    EXPECT_EQ(analysis::judge({above(401), 399}), FrequencyVerdict::unstable);
    EXPECT_EQ(analysis::judge({0, 100}), FrequencyVerdict::unstable);
    EXPECT_TRUE(analysis::FrequencyPair({401, 399}).settled());
    EXPECT_FALSE(analysis::FrequencyPair({above(401), 399}).settled());
}

TEST(Judging, OfWhatIsNotANumberFindsNoReason) {
    using analysis::FrequencyVerdict;
    const double nan = std::nan("");
    const double infinite = std::numeric_limits<double>::infinity();
    EXPECT_FALSE(analysis::FrequencyPair({nan, nan}).settled());
    EXPECT_EQ(analysis::judge({nan, nan}), FrequencyVerdict::good);
    EXPECT_EQ(analysis::judge({infinite, infinite}), FrequencyVerdict::outOfRange);
}

TEST(RecordingLimits, AreUsableThemselves) {
    EXPECT_FALSE(analysis::exceedsRecording(1.2e8, 9.6e8));
    EXPECT_TRUE(analysis::exceedsRecording(above(1.2e8), 9.6e8));
    EXPECT_TRUE(analysis::exceedsRecording(1.2e8, above(9.6e8)));
    const auto of = [](std::uint32_t dataPins) {
        const analysis::Rates rates = analysis::ratesOf(1.2e8, defaultClock, dataPins + 1, true);
        return analysis::exceedsRecording(rates.exportFrequency, rates.dataRate);
    };
    EXPECT_FALSE(of(4));
    EXPECT_TRUE(of(5));
}

TEST(StartSetting, IsTheFastestBelowTheLimit) {
    const std::vector<double> rates{12e6, 25e6, 50e6, 100e6};
    EXPECT_EQ(analysis::startSetting(rates, 0.0), 3U);
    EXPECT_EQ(analysis::startSetting(rates, 60e6), 2U);
    EXPECT_EQ(analysis::startSetting(rates, 50e6), 1U); // a match is not below
    EXPECT_EQ(analysis::startSetting(rates, above(50e6)), 2U);
    EXPECT_EQ(analysis::startSetting(rates, 1e6), 0U);
    EXPECT_EQ(analysis::startSetting(rates, 12e6), 0U);
    EXPECT_EQ(analysis::startSetting(rates, 1e9), 3U);
    EXPECT_EQ(analysis::startSetting({}, 0.0), 0U);
    EXPECT_EQ(analysis::startSetting({}, 1e6), 0U);
}

TEST(InvalidSetting, IsFoundAtEachLimitAndInItsOrder) {
    ProcCal good;
    good.filter = 7;
    good.plateau = 3;
    good.debounce = 8;
    good.delay = 31;
    good.stretch = 5;
    EXPECT_EQ(analysis::invalidSetting(good), nullptr);
    const auto with = [&good](const std::function<void(ProcCal&)>& change) {
        ProcCal pin = good;
        change(pin);
        const char* fault = analysis::invalidSetting(pin);
        return std::string(fault != nullptr ? fault : "none");
    };
    EXPECT_EQ(with([](ProcCal& p) { p.filter = 0; }), "none");
    EXPECT_EQ(with([](ProcCal& p) { p.filter = 8; }), "invalid filter");
    for (const std::uint32_t plateau : {5U, 7U}) {
        EXPECT_EQ(with([&](ProcCal& p) { p.plateau = plateau; }), "none");
    }
    for (const std::uint32_t plateau : {0U, 2U, 4U, 6U, 8U}) {
        EXPECT_EQ(with([&](ProcCal& p) { p.plateau = plateau; }), "invalid plateau");
    }
    EXPECT_EQ(with([](ProcCal& p) { p.debounce = 9; }), "invalid debounce");
    EXPECT_EQ(with([](ProcCal& p) { p.delay = 32; }), "invalid delay");
    EXPECT_EQ(with([](ProcCal& p) { p.delay = 0xFFFFFFFF; }), "invalid delay");
    EXPECT_EQ(with([](ProcCal& p) { p.stretch = -5; }), "none");
    EXPECT_EQ(with([](ProcCal& p) { p.stretch = 6; }), "invalid stretch");
    EXPECT_EQ(with([](ProcCal& p) { p.stretch = -6; }), "invalid stretch");
    const std::vector<std::function<void(ProcCal&)>> unset{
        [](ProcCal& p) { p.filter = notSet; }, [](ProcCal& p) { p.plateau = notSet; },
        [](ProcCal& p) { p.debounce = notSet; }, [](ProcCal& p) { p.delay = notSet; },
        [](ProcCal& p) { p.stretch = static_cast<std::int32_t>(notSet); }};
    const std::vector<std::string> names{"filter", "plateau", "debounce", "delay", "stretch"};
    for (std::size_t first = 0; first < unset.size(); ++first) {
        EXPECT_EQ(with([&](ProcCal& p) {
                      for (std::size_t i = first; i < unset.size(); ++i) {
                          unset[i](p); // the first in this order is reported
                      }
                  }),
                  "invalid " + names[first]);
    }
}

TEST(PlateauCodes, AreWrittenAndReadAsTheUnitKnowsThem) {
    const std::uint32_t written[] = {0, 0, 0, 0, 2, 1, 1, 2, 2};
    for (std::uint32_t plateau = 0; plateau < std::size(written); ++plateau) {
        EXPECT_EQ(analysis::plateauToRegister(plateau), written[plateau]) << plateau;
    }
    EXPECT_EQ(analysis::plateauToRegister(notSet), 2U);
    EXPECT_EQ(analysis::plateauFromRegister(0), 3U);
    EXPECT_EQ(analysis::plateauFromRegister(1), 5U);
    EXPECT_EQ(analysis::plateauFromRegister(2), 7U);
    EXPECT_EQ(analysis::plateauFromRegister(3), 3U);
    EXPECT_EQ(analysis::plateauFromRegister(7), 3U);
}

ProcCal pinOf(std::uint32_t input, std::uint32_t filter, std::uint32_t plateau, std::uint32_t debounce,
              std::uint32_t delay, std::int32_t stretch, std::uint32_t enable) {
    ProcCal pin;
    pin.rcvrpin = input;
    pin.filter = filter;
    pin.plateau = plateau;
    pin.debounce = debounce;
    pin.delay = delay;
    pin.stretch = stretch;
    pin.enable = enable;
    return pin;
}

TEST(RegisterImage, PutsEveryFieldInItsPlace) {
    const analysis::CalRegisters image = analysis::toRegisters(pinOf(6, 7, 5, 8, 31, -3, 1));
    EXPECT_EQ(image.input, 0x8000U | 6U << 8 | 31U);
    EXPECT_EQ(image.conditioning, 7U << 12 | 3U << 8 | 1U << 5 | 8U);
    EXPECT_EQ(analysis::toRegisters(pinOf(0, 0, 3, 0, 0, 0, 0)).conditioning, 0x0800U);
    EXPECT_EQ(analysis::toRegisters(pinOf(0, 1, 7, 0, 0, 5, 0)).conditioning, 0x1D40U);
    EXPECT_EQ(analysis::toRegisters(pinOf(0x1FF, 0, 3, 0, 0, 0, 77)).input, 0xFF00U); // seven bits, and any enable
    EXPECT_EQ(analysis::toRegisters(pinOf(0, 0, 0, 0, 0, 0, 0)).conditioning, 0x0800U);
}

TEST(RegisterImage, ComesBackButForThePlateau) {
    for (std::int32_t stretch = -5; stretch <= 5; ++stretch) {
        const ProcCal pin = pinOf(5, 3, 7, 6, 17, stretch, 1);
        ProcCal back;
        analysis::fromRegisters(analysis::toRegisters(pin), back);
        EXPECT_EQ(back.rcvrpin, 5U);
        EXPECT_EQ(back.filter, 3U);
        EXPECT_EQ(back.plateau, 3U); // whatever was written
        EXPECT_EQ(back.debounce, 6U);
        EXPECT_EQ(back.delay, 17U);
        EXPECT_EQ(back.stretch, stretch);
        EXPECT_EQ(back.enable, 1U);
    }
}

TEST(FreshProcCal, IsNotSet) {
    const ProcCal pin;
    EXPECT_EQ(pin.rcvrpin, 0U);
    EXPECT_EQ(pin.enable, 0U);
    EXPECT_EQ(pin.filter, 0x7FFFFFFFU);
    EXPECT_EQ(pin.plateau, 0x7FFFFFFFU);
    EXPECT_EQ(pin.debounce, 0x7FFFFFFFU);
    EXPECT_EQ(pin.delay, 0x7FFFFFFFU);
    EXPECT_EQ(pin.stretch, 0x7FFFFFFF);
}

TEST(CalCopy, TakesTheCountAndThatManyEntries) {
    Cal from(3);
    Cal to(8);
    for (std::uint32_t p = 0; p < 8; ++p) {
        from.proc[p] = pinOf(p, 1, 3, 2, 3, -1, 1);
        to.proc[p].delay = 99;
    }
    to = from;
    EXPECT_EQ(to.numProcs, 3U);
    EXPECT_EQ(to.proc[2].rcvrpin, 2U);
    EXPECT_EQ(to.proc[2].stretch, -1);
    EXPECT_EQ(to.proc[3].delay, 99U);
    const Cal copied(from);
    EXPECT_EQ(copied.proc[2].delay, 3U);
    EXPECT_EQ(copied.proc[3].delay, notSet);
}

TEST(CalReset, GivesTheDefaultsAndLeavesPinAndEnable) {
    Cal cal(2);
    cal.proc[1].rcvrpin = 4;
    cal.proc[1].enable = 1;
    cal.reset();
    EXPECT_EQ(cal.proc[1].plateau, 3U);
    EXPECT_EQ(cal.proc[1].debounce, 4U);
    EXPECT_EQ(cal.proc[1].filter, 7U);
    EXPECT_EQ(cal.proc[1].delay, 0U);
    EXPECT_EQ(cal.proc[1].stretch, 0);
    EXPECT_EQ(cal.proc[1].rcvrpin, 4U);
    EXPECT_EQ(cal.proc[1].enable, 1U);
    EXPECT_EQ(cal.proc[2].filter, notSet);
}

TEST(CalMerge, FillsOnlyWhatIsNotSet) {
    Cal cal(2);
    cal.proc[0].filter = 2;
    cal.proc[1].stretch = -4;
    Cal defaults(8);
    defaults.reset();
    defaults.proc[0].rcvrpin = 9;
    defaults.proc[0].enable = 1;
    cal.merge(defaults);
    EXPECT_EQ(cal.proc[0].filter, 2U);
    EXPECT_EQ(cal.proc[0].plateau, 3U);
    EXPECT_EQ(cal.proc[1].stretch, -4);
    EXPECT_EQ(cal.proc[1].delay, 0U);
    EXPECT_EQ(cal.proc[0].rcvrpin, 0U);
    EXPECT_EQ(cal.proc[0].enable, 0U);
    EXPECT_EQ(cal.proc[2].filter, notSet); // past the receiver's own count
}

TEST(FreshMetrics, KnowNothing) {
    const ProcMetrics pin;
    EXPECT_EQ(pin.marginBefore, 0x7FFFFFFFU);
    EXPECT_EQ(pin.marginAfter, 0x7FFFFFFFU);
    EXPECT_EQ(pin.delay, 0);
    EXPECT_EQ(pin.correlation.size(), 64U);
    Metrics from(1);
    from.proc[0].delay = 3;
    from.proc[1].delay = 4;
    Metrics to;
    to = from;
    EXPECT_EQ(to.numProcs, 1U);
    EXPECT_EQ(to.proc[0].delay, 3);
    EXPECT_EQ(to.proc[1].delay, 0);
}

TEST(OvsStatistics, LookAtTheProcsInUseOnly) {
    OvsStats stats(2);
    EXPECT_FALSE(stats.isEmpty()); // not read yet
    EXPECT_FALSE(stats.isFilled());
    stats.entry[0].level = stats.entry[1].level = 0;
    stats.entry[0].filled = true;
    EXPECT_TRUE(stats.isEmpty());
    EXPECT_FALSE(stats.isFilled());
    stats.entry[1].filled = true;
    EXPECT_TRUE(stats.isFilled());
    stats.entry[1].level = 1;
    EXPECT_FALSE(stats.isEmpty());
}

// ---- periods of the unit's timers ----

TEST(Periods, AreRaisedScaledRoundedAndLowered) {
    using analysis::convertPeriod;
    EXPECT_EQ(convertPeriod(0, 2, 100, 1.0), 2U);
    EXPECT_EQ(convertPeriod(1, 2, 100, 1.0), 2U);
    EXPECT_EQ(convertPeriod(50, 2, 100, 1.0), 50U);
    EXPECT_EQ(convertPeriod(101, 2, 100, 1.0), 100U);
    EXPECT_EQ(convertPeriod(5, 2, 100, 0.25), 1U) << "1.25";
    EXPECT_EQ(convertPeriod(6, 2, 100, 0.25), 2U) << "1.5";
    EXPECT_EQ(convertPeriod(2, 2, 100, 0.25), 1U) << "the result may go below the lower bound";
    EXPECT_EQ(convertPeriod(2, 2, 100, 1.0 / 16), 0U);
}

TEST(Periods, AreZeroWithoutARatio) {
    using analysis::convertPeriod;
    EXPECT_EQ(convertPeriod(100, 2, 1000, std::nan("")), 0U) << "no frequency known";
    EXPECT_EQ(convertPeriod(100, 2, 1000, HUGE_VAL), 0U);
    EXPECT_EQ(convertPeriod(100, 2, 1000, 1e30), 0U) << "beyond 64 bits";
}

TEST(Periods, WrapInThirtyTwoBitsBeforeTheyAreLowered) {
    using analysis::convertPeriod;
    EXPECT_EQ(convertPeriod(0x7FFFFFFF, 2, 16352, 87.5e6 / 43749912.5), 0x218CU);
    EXPECT_EQ(convertPeriod(0x7FFFFFFF, 2, 16352, 2.0), 16352U);
}

} // namespace
