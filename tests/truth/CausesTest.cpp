#include "tests/truth/CauseTable.h"
#include "tests/truth/Wirings.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

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

TEST(FaultyWirings, DifferFromTheSoundOneInOnePlace) {
    const bench::Scenario sound = drawScenario(2, bench::ExportKind::Pti);
    for (const Fault fault : faults) {
        const auto wiring = plant(fault, sound, 50e6, 2);
        if (!wiring) {
            EXPECT_EQ(sound.pins, 1U) << nameOf(fault) << " has a place with more pins";
            continue;
        }
        EXPECT_NE(scenarioText(wiring->scenario) + wiring->scenario.pinMap, scenarioText(sound)) << nameOf(fault);
        EXPECT_EQ(wiring->pins.size(), fault == Fault::swapped || fault == Fault::shorted ? 2U
                                       : fault == Fault::wrongRate                        ? 0U
                                                                                          : 1U)
            << nameOf(fault);
        EXPECT_EQ(faultNamed(nameOf(fault)), fault);
    }
}

} // namespace
} // namespace truth
