#include "tests/simulation/exploration/FirstFailures.h"

#include <algorithm>

namespace simulation {

namespace {

constexpr std::uint64_t seedsApart = 1000000;

} // namespace

std::uint64_t FirstFailures::median() const {
    const std::uint64_t middle = (schedules.size() + missed) / 2;
    return middle < schedules.size() ? schedules[middle] : 0;
}

FirstFailures findFirstFailures(SearchPlan plan, unsigned searches) {
    FirstFailures found;
    plan.mostFailures = 1;
    for (unsigned i = 0; i < searches; ++i) {
        SearchPlan one = plan;
        one.firstSeed = plan.firstSeed + i * seedsApart;
        const SearchResult result = search(one);
        if (result.failures.empty()) {
            ++found.missed;
            continue;
        }
        found.schedules.push_back(result.schedules);
        const std::string& rule = result.failures.front().rule;
        if (std::find(found.rules.begin(), found.rules.end(), rule) == found.rules.end()) {
            found.rules.push_back(rule);
        }
    }
    std::sort(found.schedules.begin(), found.schedules.end());
    return found;
}

std::string textOf(const std::string& scenario, const FirstFailures& found) {
    std::string text = scenario + ": ";
    if (found.schedules.empty()) {
        text += "not found";
    } else {
        text += "median " + std::to_string(found.median()) + ", most " + std::to_string(found.schedules.back()) +
                " schedules";
    }
    text +=
        ", missed by " + std::to_string(found.missed) + " of " + std::to_string(found.schedules.size() + found.missed);
    for (const std::string& rule : found.rules) {
        text += (&rule == &found.rules.front() ? ": " : ", ") + rule;
    }
    return text;
}

} // namespace simulation
