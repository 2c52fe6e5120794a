#include "tests/simulation/exploration/Search.h"
#include "tests/simulation/scenarios/Scenario.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace simulation {
namespace {

// Of one scenario. One with long schedules gets fewer of them.
constexpr std::uint64_t points = 100000;
constexpr std::uint64_t mostSchedules = 180;

class Search : public testing::TestWithParam<std::string> {};

std::vector<std::string> names() {
    std::vector<std::string> list;
    for (const Scenario& scenario : scenarios()) {
        list.push_back(scenario.name);
    }
    return list;
}

std::string nameOf(const testing::TestParamInfo<std::string>& info) {
    std::string name = info.param;
    std::replace(name.begin(), name.end(), '.', '_');
    return name;
}

std::uint64_t usualLength(const std::string& scenario) {
    SearchPlan plan;
    plan.scenario = scenario;
    plan.strategy = "departures"; // without any: the usual schedule
    plan.schedules = 1;
    plan.faults = false;
    return std::max<std::uint64_t>(search(plan).points, 1);
}

// Seeds are fixed: a failure is one of the product, and comes back at every run.
TEST_P(Search, BreaksNoRule) {
    SearchPlan plan;
    plan.scenario = GetParam();
    plan.schedules = std::clamp<std::uint64_t>(points / usualLength(plan.scenario), 1, mostSchedules);
    const SearchResult result = search(plan);
    for (const Failure& failure : result.failures) {
        const Failure shortened = shorten(failure);
        ADD_FAILURE() << textOf(shortened) << "\nRun it again: simulation --replay '" << textOf(shortened.recipe)
                      << "'\nAs it was found: " << textOf(failure.recipe);
    }
}

INSTANTIATE_TEST_SUITE_P(Schedules, Search, testing::ValuesIn(names()), nameOf);

} // namespace
} // namespace simulation
