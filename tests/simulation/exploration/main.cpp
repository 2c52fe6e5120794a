#include "tests/simulation/exploration/FirstFailures.h"
#include "tests/simulation/exploration/Schedule.h"
#include "tests/simulation/exploration/Search.h"
#include "tests/simulation/scenarios/Scenario.h"

#include <CLI/CLI.hpp>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>
#include <vector>

namespace {

using namespace simulation;

struct Options {
    std::vector<std::string> chosen; // scenarios; empty: all
    SearchPlan plan;
    std::string recipe;
    bool list = false;
    unsigned firstFailures = 0; // searches for each scenario
};

std::vector<std::string> chosenScenarios(const Options& options) {
    if (!options.chosen.empty()) {
        return options.chosen;
    }
    std::vector<std::string> names;
    for (const Scenario& scenario : scenarios()) {
        names.push_back(scenario.name);
    }
    return names;
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

int searchAll(const Options& options) {
    bool isClean = true;
    for (const std::string& name : chosenScenarios(options)) {
        SearchPlan plan = options.plan;
        plan.scenario = name;
        const auto begin = std::chrono::steady_clock::now();
        const SearchResult result = search(plan);
        const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - begin;
        const auto mean = [&](std::uint64_t sum) { return sum / std::max<std::uint64_t>(result.schedules, 1); };
        std::printf("%-36s %8llu schedules %6llu points %5llu switches %7.0f/s %3zu failures\n", name.c_str(),
                    static_cast<unsigned long long>(result.schedules),
                    static_cast<unsigned long long>(mean(result.points)),
                    static_cast<unsigned long long>(mean(result.switches)),
                    static_cast<double>(result.schedules) / taken.count(), result.failures.size());
        for (const Failure& failure : result.failures) {
            isClean = false;
            std::printf("seed %s\n%s\n", textOf(failure.recipe).c_str(), textOf(shorten(failure)).c_str());
        }
        std::fflush(stdout);
    }
    return isClean ? EXIT_SUCCESS : EXIT_FAILURE;
}

} // namespace

int main(int argc, char** argv) {
    CLI::App app("Searches schedules and faults of the receiver's threads for broken rules.");
    Options options;
    app.add_option("scenarios", options.chosen, "scenarios to search; all without one");
    app.add_option("-n,--schedules", options.plan.schedules, "schedules of each scenario")->capture_default_str();
    app.add_option("-s,--seed", options.plan.firstSeed, "first seed")->capture_default_str();
    app.add_option("--strategy", options.plan.strategy, "instead of all in rotation");
    app.add_option("--most-failures", options.plan.mostFailures, "end with so many")->capture_default_str();
    app.add_flag("!--no-faults", options.plan.faults, "let nothing fail");
    app.add_option("--replay", options.recipe, "run one recipe, as a failure shows it");
    app.add_option("--first-failures", options.firstFailures,
                   "make so many searches and count their schedules up to the first failure");
    app.add_flag("--list", options.list, "name the scenarios");
    CLI11_PARSE(app, argc, argv);
    try {
        if (options.list) {
            for (const Scenario& scenario : scenarios()) {
                std::printf("%s\n", scenario.name.c_str());
            }
            return EXIT_SUCCESS;
        }
        if (options.firstFailures != 0) {
            return measureFirstFailures(options);
        }
        return options.recipe.empty() ? searchAll(options) : replay(options.recipe);
    } catch (const std::exception& e) {
        std::fprintf(stderr, "simulation: %s\n", e.what());
        return EXIT_FAILURE;
    }
}
