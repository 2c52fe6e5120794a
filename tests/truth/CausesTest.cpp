#include "tests/truth/CauseTable.h"
#include "tests/truth/Wirings.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <tuple>

// The verdict names the fault that was planted into a sound wiring, on its pins. `truth_faults` judges more of them.

namespace truth {
namespace {

class PlantedCauses : public testing::TestWithParam<Fault> {};

TEST_P(PlantedCauses, OfAPlantedFaultAreNamedFirst) {
    CauseTable table;
    judgeCauses(GetParam(), 1, ORV_TRUTH_FAULTS, table);
    std::printf("%s", table.text().c_str());
    for (const std::string& each : table.odd) {
        ADD_FAILURE() << each;
    }
    EXPECT_EQ(table.planted(GetParam()), ORV_TRUTH_FAULTS);
}

INSTANTIATE_TEST_SUITE_P(OfEachKind, PlantedCauses, testing::ValuesIn(faults), [](const auto& fault) {
    std::string name = nameOf(fault.param);
    std::erase(name, '-');
    return name;
});

struct Case {
    Fault fault;
    std::uint64_t seed;
    const char* about;
};

/// Planted faults of which the verdict once named another cause.
constexpr Case onceMistaken[] = {
    {Fault::late, 5019, "margins, on pins that look alike two bits apart"},
    {Fault::late, 5029, "margins, on one pin of four"},
    {Fault::late, 10156, "margins, where the burst begins within a sequence"},
    {Fault::late, 10208, "no sampling position"},
    {Fault::late, 15066, "noise, which was the rounding to samples"},
    {Fault::noisy, 5045, "margins, of the only data pin"},
    {Fault::noisy, 10064, "no sampling position, of the only data pin"},
    {Fault::noisy, 10106, "a duty error, from a few ones and zeros that vary"},
    {Fault::duty, 5042, "the other of two pins that is late"},
    {Fault::duty, 10338, "the pin itself that is late"},
    {Fault::wrongRate, 10093, "a dead clock, which for the unit it is"},
    {Fault::wrongRate, 10116, "a clock that the data do not follow"},
    {Fault::wrongRate, 10125, "a dead clock, although two rates were counted"},
    {Fault::wrongRate, 10168, "a dead clock, in a burst of less than a period of the counted rate"},
    {Fault::wrongRate, 15013, "a dead clock, although a rate was counted"},
    {Fault::wrongRate, 15094, "none but the timeout"},
    {Fault::drift, 10116, "noise, which the first wrong bits of a drift are"},
};

TEST(Causes, ThatWereOnceMistakenAreNamed) {
    for (const Case& each : onceMistaken) {
        CauseTable table;
        judgeCauses(each.fault, each.seed, 1, table);
        EXPECT_EQ(table.right(each.fault), 1U)
            << "once named: " << each.about << "; now: " << (table.odd.empty() ? std::string() : table.odd.front());
    }
}

std::size_t differingPins(const bench::Scenario& one, const bench::Scenario& other) {
    const auto parts = [](const bench::PinWiring& pin) {
        return std::tuple(pin.skew, pin.lateFall, pin.jitter, pin.stuck, pin.open, pin.swappedWith, pin.drift);
    };
    std::size_t count = 0;
    for (std::size_t i = 0; i < one.wiring.pins.size(); ++i) {
        count += parts(one.wiring.pins[i]) != parts(other.wiring.pins[i]) ? 1U : 0U;
    }
    return count;
}

TEST(FaultyWirings, DifferFromTheSoundOneInOnePlace) {
    const bench::Scenario sound = drawScenario(3, bench::ExportKind::Pti);
    for (const Fault fault : faults) {
        const auto wiring = plant(fault, sound, 50e6, 2);
        if (!wiring) {
            EXPECT_EQ(sound.pins, 1U) << nameOf(fault) << " has a place with more pins";
            continue;
        }
        EXPECT_TRUE(wiring->scenario.pinMap != sound.pinMap ||
                    wiring->scenario.transmitter.frequencies != sound.transmitter.frequencies ||
                    differingPins(wiring->scenario, sound) == 1U)
            << nameOf(fault);
        EXPECT_EQ(wiring->pins.size(), fault == Fault::swapped || fault == Fault::shorted ? 2U
                                       : fault == Fault::wrongRate                        ? 0U
                                                                                          : 1U)
            << nameOf(fault);
        EXPECT_EQ(faultNamed(nameOf(fault)), fault);
    }
}

} // namespace
} // namespace truth
