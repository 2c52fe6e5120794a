#include "tests/simulation/exploration/FirstFailures.h"
#include "tests/simulation/exploration/Search.h"
#include "tests/simulation/scenarios/Scenario.h"

#include <CLI/CLI.hpp>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <functional>
#include <string>
#include <vector>

namespace {

using namespace simulation;

struct Options {
    std::vector<std::string> chosen; // scenarios; empty: all
    SearchPlan plan;
    std::uint64_t total = 0; // schedules of all scenarios together
    std::string recipe;
    bool list = false;
    bool everyFault = false;
    bool exhaustive = false;
    ExhaustivePlan exhaustivePlan;
    unsigned firstFailures = 0; // searches for each scenario
};

std::vector<std::string> chosenScenarios(const Options& options) {
    if (!options.chosen.empty()) {
        return options.chosen;
    }
    std::vector<std::string> names;
    for (const Scenario& scenario : scenarios()) {
        if (!options.exhaustive || scenario.isSmall) {
            names.push_back(scenario.name);
        }
    }
    return names;
}

int list() {
    for (const Scenario& scenario : scenarios()) {
        std::printf("%s%s\n", scenario.name.c_str(), scenario.isSmall ? " (small)" : "");
    }
    return EXIT_SUCCESS;
}

int replay(const std::string& recipe) {
    const Failure failure = tryRecipe(recipeOf(recipe));
    std::printf("%s\n", failure.rule.empty() ? "no rule is broken" : textOf(failure).c_str());
    return failure.rule.empty() ? EXIT_SUCCESS : EXIT_FAILURE;
}

int measureFirstFailures(const Options& options) {
    bool isFound = true;
    for (const std::string& name : chosenScenarios(options)) {
        SearchPlan plan = options.plan;
        plan.scenario = name;
        const FirstFailures found = findFirstFailures(plan, options.firstFailures);
        isFound = isFound && found.missed == 0;
        std::printf("%s\n", textOf(name, found).c_str());
    }
    return isFound ? EXIT_SUCCESS : EXIT_FAILURE;
}

/// A row of the table, and the failures after it.
void print(const std::string& name, const SearchResult& result, double seconds) {
    const auto mean = [&](std::uint64_t sum) { return sum / std::max<std::uint64_t>(result.schedules, 1); };
    const auto number = [](std::uint64_t value) { return static_cast<unsigned long long>(value); };
    std::printf("%-36s %10llu %7llu %8llu %9llu %9.1f %8zu\n", name.c_str(), number(result.schedules),
                number(mean(result.points)), number(mean(result.switches)), number(result.faults), seconds,
                result.failures.size());
    for (const Failure& failure : result.failures) {
        std::printf("found by %s\n%s\n", textOf(failure.recipe).c_str(), textOf(shorten(failure)).c_str());
    }
    std::fflush(stdout);
}

/// Searches each scenario in turn, with a table of the results.
int searchAll(const Options& options, const std::function<SearchResult(const std::string&)>& searchOne) {
    bool isClean = true;
    std::printf("%-36s %10s %7s %8s %9s %9s %8s\n", "scenario", "schedules", "points", "switches", "faults", "seconds",
                "findings");
    for (const std::string& name : chosenScenarios(options)) {
        const auto begin = std::chrono::steady_clock::now();
        const SearchResult result = searchOne(name);
        const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - begin;
        print(name, result, taken.count());
        isClean = isClean && result.failures.empty();
    }
    return isClean ? EXIT_SUCCESS : EXIT_FAILURE;
}

int run(Options& options) {
    if (options.list) {
        return list();
    }
    if (!options.recipe.empty()) {
        return replay(options.recipe);
    }
    if (options.total != 0) {
        options.plan.schedules = options.total / chosenScenarios(options).size();
    }
    if (options.firstFailures != 0) {
        return measureFirstFailures(options);
    }
    return searchAll(options, [&options](const std::string& name) {
        if (options.everyFault) {
            return searchEveryFault(name, options.plan.mostFailures);
        }
        if (options.exhaustive) {
            options.exhaustivePlan.scenario = name;
            return searchExhaustively(options.exhaustivePlan);
        }
        options.plan.scenario = name;
        return search(options.plan);
    });
}

} // namespace

int main(int argc, char** argv) {
    CLI::App app("Searches schedules and faults of the receiver's threads for broken rules.");
    Options options;
    app.add_option("scenarios", options.chosen, "scenarios to search; all without one");
    app.add_option("-n,--schedules", options.plan.schedules, "schedules of each scenario")->capture_default_str();
    app.add_option("--total", options.total, "schedules of all scenarios together, instead");
    app.add_option("-s,--seed", options.plan.firstSeed, "first seed")->capture_default_str();
    app.add_option("--strategy", options.plan.strategy, "instead of all in rotation");
    app.add_option("--most-failures", options.plan.mostFailures, "end with so many")->capture_default_str();
    app.add_flag("!--no-faults", options.plan.faults, "let nothing fail");
    app.add_flag("--every-fault", options.everyFault,
                 "fail every operation of the usual schedule, once and from then on, instead of a search");
    app.add_flag("--exhaustive", options.exhaustive,
                 "run every schedule with few preemptions; without a scenario the small ones");
    app.add_option("--preemptions", options.exhaustivePlan.preemptions, "of a schedule, with --exhaustive")
        ->capture_default_str();
    app.add_option("--most-schedules", options.exhaustivePlan.mostSchedules, "end with so many, with --exhaustive")
        ->capture_default_str();
    app.add_option("--replay", options.recipe, "run one recipe, as a failure shows it");
    app.add_option("--first-failures", options.firstFailures,
                   "make so many searches and count their schedules up to the first failure");
    app.add_flag("--list", options.list, "name the scenarios");
    CLI11_PARSE(app, argc, argv);
    try {
        return run(options);
    } catch (const std::exception& e) {
        std::fprintf(stderr, "simulation: %s\n", e.what());
        return EXIT_FAILURE;
    }
}
