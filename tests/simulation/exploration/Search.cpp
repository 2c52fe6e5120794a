#include "tests/simulation/exploration/Search.h"

#include "tests/simulation/exploration/Child.h"
#include "tests/simulation/exploration/Schedule.h"

#include <algorithm>

namespace simulation {

namespace {

constexpr std::uint64_t schedulesOfAProcess = 2000;
constexpr std::uint64_t checkedTwice = 100; // one in so many

Recipe recipeOfSeed(const SearchPlan& plan, std::uint64_t seed, const Usual& usual) {
    Recipe recipe = drawRecipe(plan.scenario, seed, usual);
    if (!plan.faults) {
        recipe.fault.reset();
    }
    if (!plan.strategy.empty()) {
        recipe.strategy = plan.strategy;
    }
    return recipe;
}

/// Measures the usual schedule; true when it broke a rule, which ends the process.
bool failsUsually(const std::string& scenario, std::uint64_t seed, Child::Report& report, Usual& usual) {
    report.begin(seed, usualRecipe(scenario));
    usual = measureUsual(scenario);
    Outcome outcome;
    outcome.findings = usual.findings;
    return !outcome.findings.empty() && report.end(outcome);
}

/// Runs in a process of its own until the first failure.
void runSeeds(const SearchPlan& plan, std::uint64_t first, std::uint64_t last, Child::Report& report) {
    Usual usual;
    if (failsUsually(plan.scenario, first, report, usual)) {
        return;
    }
    for (std::uint64_t seed = first; seed < last; ++seed) {
        const Recipe recipe = recipeOfSeed(plan, seed, usual);
        report.begin(seed, recipe);
        Outcome outcome = runSchedule(recipe, usual.length);
        if (seed % checkedTwice == 0 && outcome.findings.empty() &&
            runSchedule(recipe, usual.length).hash != outcome.hash) {
            outcome.findings.push_back({"not repeatable", "the same recipe gave another schedule"});
        }
        if (report.end(outcome)) {
            return;
        }
    }
}

/// Every operation of the usual schedule, failing once and from then on.
std::vector<FaultPlan> allFaultsOf(const Usual& usual) {
    std::vector<FaultPlan> plans;
    for (const auto& [operation, count] : usual.operations) {
        for (std::uint32_t index = 0; index < count; ++index) {
            for (const bool andLater : {false, true}) {
                plans.push_back({operation.first, operation.second, index, andLater});
            }
        }
    }
    return plans;
}

/// Runs in a process of its own until the first failure. A recipe's number takes the place of a seed.
void runFaults(const std::string& scenario, std::uint64_t first, Child::Report& report) {
    Usual usual;
    if (failsUsually(scenario, first, report, usual)) {
        return;
    }
    Recipe recipe = usualRecipe(scenario);
    const std::vector<FaultPlan> plans = allFaultsOf(usual);
    for (std::uint64_t number = first; number < plans.size(); ++number) {
        recipe.fault = plans[number];
        report.begin(number, recipe);
        const Outcome outcome = runSchedule(recipe, usual.length);
        if (report.end(outcome)) {
            return;
        }
    }
}

/// Waits for the child and adds its part; true when it ended with a failure.
bool add(Child& child, SearchResult& result) {
    child.wait();
    result.schedules += child.schedules();
    result.points += child.points();
    result.switches += child.switches();
    result.faults += child.faults();
    if (child.failure().has_value()) {
        result.failures.push_back(*child.failure());
    }
    return child.failure().has_value();
}

} // namespace

SearchResult search(const SearchPlan& plan) {
    SearchResult result;
    const std::uint64_t end = plan.firstSeed + plan.schedules;
    for (std::uint64_t seed = plan.firstSeed; seed < end && result.failures.size() < plan.mostFailures;) {
        const std::uint64_t last = std::min(end, seed + schedulesOfAProcess);
        Child child([&](Child::Report& report) { runSeeds(plan, seed, last, report); });
        seed = add(child, result) ? child.lastSeed() + 1 : last;
    }
    return result;
}

SearchResult searchEveryFault(const std::string& scenario, std::uint64_t mostFailures) {
    SearchResult result;
    bool isDone = false;
    for (std::uint64_t first = 0; !isDone && result.failures.size() < mostFailures;) {
        Child child([&](Child::Report& report) { runFaults(scenario, first, report); });
        isDone = !add(child, result);
        first = child.lastSeed() + 1;
    }
    return result;
}

Failure tryRecipe(const Recipe& recipe) {
    Child child([&](Child::Report& report) {
        Usual usual;
        if (!failsUsually(recipe.scenario, recipe.seed, report, usual)) {
            report.begin(recipe.seed, recipe);
            report.end(runSchedule(recipe, usual.length));
        }
    });
    child.wait();
    return child.failure().value_or(Failure{recipe, {}, {}, {}});
}

std::string textOf(const Failure& failure) {
    return failure.rule + " in: " + textOf(failure.recipe) + "\n" + failure.text;
}

} // namespace simulation
