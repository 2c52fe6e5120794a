#include "tests/simulation/exploration/Schedule.h"

#include "tests/simulation/backend/Files.h"
#include "tests/simulation/backend/Libraries.h"
#include "tests/simulation/backend/Memory.h"
#include "tests/simulation/backend/Processes.h"
#include "tests/simulation/backend/SimulatedLock.h"
#include "tests/simulation/backend/Sockets.h"
#include "tests/simulation/faults/Quiet.h"
#include "tests/simulation/scenarios/Scenario.h"
#include "tests/simulation/scheduler/Random.h"

#include <algorithm>
#include <exception>
#include <typeinfo>
#include <utility>

namespace simulation {

namespace {

std::unique_ptr<Strategy> strategyOf(const Recipe& recipe, std::uint64_t length) {
    return recipe.strategy == "departures" ? makeReplay(recipe.departures)
                                           : makeStrategy(recipe.strategy, recipe.seed, length);
}

void runGuarded(const Scenario& scenario) {
    const Quiet quiet;
    try {
        scenario.run();
    } catch (const std::exception& e) {
        Scheduler::instance().report("escaped exception", std::string(typeid(e).name()) + ": " + e.what());
    } catch (...) {
        Scheduler::instance().report("escaped exception", "not of the standard's");
    }
    endAllProcesses();
}

void judgeRest(Outcome& outcome) {
    if (filesLeftOpen() != 0) {
        outcome.findings.push_back({"file left open", std::to_string(filesLeftOpen()) + " streams"});
    }
    if (socketsLeftOpen() != 0) {
        outcome.findings.push_back({"socket left open", std::to_string(socketsLeftOpen()) + " sockets"});
    }
    if (librariesLeft() != 0) {
        outcome.findings.push_back({"library left loaded", std::to_string(librariesLeft()) + " loads"});
    }
}

Outcome runOnce(const Recipe& recipe, const StrategyMaker& makeIt, Limits limits) {
    const Scenario& scenario = scenarioOf(recipe.scenario);
    const std::unique_ptr<Strategy> strategy = makeIt();
    forgetLockOrders();
    beginFiles();
    beginSockets(recipe.seed);
    beginProcesses();
    forgetLibraries();
    beginMemory();
    Faults::instance().begin(recipe.fault);
    limits.time = std::max(limits.time, scenario.longest);
    Outcome outcome = Scheduler::instance().run(*strategy, [&] { runGuarded(scenario); }, limits);
    judgeRest(outcome);
    return outcome;
}

} // namespace

Outcome runSchedule(const Recipe& recipe, std::uint64_t length, Limits limits) {
    return runSchedule(recipe, [&] { return strategyOf(recipe, length); }, limits);
}

Outcome runSchedule(const Recipe& recipe, const StrategyMaker& makeIt, Limits limits) {
    Outcome outcome = runOnce(recipe, makeIt, limits);
    // What the process keeps for its life, such as a text for each thread, is there at the second time.
    if (outcome.findings.empty() && allocationsLeft() != 0) {
        outcome = runOnce(recipe, makeIt, limits);
        if (allocationsLeft() != 0) {
            outcome.findings.push_back({"memory left", std::to_string(allocationsLeft()) + " allocations"});
        }
    }
    return outcome;
}

Recipe usualRecipe(const std::string& scenario) {
    Recipe recipe;
    recipe.scenario = scenario;
    recipe.strategy = "departures";
    return recipe;
}

Usual measureUsual(const std::string& scenario) {
    const Recipe recipe = usualRecipe(scenario);
    runSchedule(recipe, 0);
    Outcome outcome = runSchedule(recipe, 0);
    Usual usual;
    usual.length = outcome.points;
    usual.findings = std::move(outcome.findings);
    usual.operations = Faults::instance().counts();
    return usual;
}

Recipe drawRecipe(const std::string& scenario, std::uint64_t seed, const Usual& usual) {
    Random random(seed);
    Recipe recipe;
    recipe.scenario = scenario;
    recipe.seed = seed;
    recipe.strategy = strategyNames()[seed % strategyNames().size()];
    if (usual.operations.empty() || random.chance(0.5)) {
        return recipe;
    }
    auto drawn = usual.operations.begin();
    std::advance(drawn, static_cast<std::ptrdiff_t>(random.below(usual.operations.size())));
    // The first few of a kind differ from each other, the many later ones are mostly polls.
    const std::uint32_t among = random.chance(0.5) ? std::min<std::uint32_t>(drawn->second, 3) : drawn->second;
    recipe.fault = FaultPlan{drawn->first.first, drawn->first.second, static_cast<std::uint32_t>(random.below(among)),
                             random.chance(0.5)};
    return recipe;
}

} // namespace simulation
