#include "tests/truth/CauseTable.h"
#include "tests/truth/Wirings.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <tuple>

// The verdict names the fault that was planted into a sound wiring, on its pins. `truth_faults` judges more of them.

namespace truth {
namespace {

class Causes : public testing::TestWithParam<Fault> {};

TEST_P(Causes, OfAPlantedFaultAreNamedFirst) {
    CauseTable table;
    judgeCauses(GetParam(), 1, ORV_TRUTH_FAULTS, table);
    std::printf("%s", table.text().c_str());
    for (const std::string& each : table.odd) {
        ADD_FAILURE() << each;
    }
    EXPECT_EQ(table.planted(GetParam()), ORV_TRUTH_FAULTS);
}

INSTANTIATE_TEST_SUITE_P(OfEachKind, Causes, testing::ValuesIn(faults), [](const auto& fault) {
    std::string name = nameOf(fault.param);
    std::erase(name, '-');
    return name;
});

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
