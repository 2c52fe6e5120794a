#include "tests/simulation/scenarios/Scenario.h"

#include "tests/simulation/scenarios/Lists.h"
#include "tests/simulation/scheduler/Scheduler.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace simulation {

namespace {

std::vector<Scenario>& added() {
    static std::vector<Scenario> list;
    return list;
}

} // namespace

const std::vector<Scenario>& scenarios() {
    static const std::vector<Scenario> all = [] {
        std::vector<Scenario> list;
        for (const auto& part : {channelScenarios(), uploadScenarios(), receiverScenarios(), controlScenarios(),
                                 proxyScenarios(), utilityScenarios()}) {
            list.insert(list.end(), part.begin(), part.end());
        }
        return list;
    }();
    return all;
}

void addScenario(const Scenario& scenario) {
    added().push_back(scenario);
}

const Scenario& scenarioOf(const std::string& name) {
    const auto isIt = [&name](const Scenario& scenario) { return scenario.name == name; };
    for (const auto* list : {&scenarios(), &std::as_const(added())}) {
        const auto found = std::find_if(list->begin(), list->end(), isIt);
        if (found != list->end()) {
            return *found;
        }
    }
    throw std::invalid_argument("unknown scenario '" + name + "'");
}

void expect(bool holds, const std::string& rule, const std::string& text) {
    if (!holds) {
        Scheduler::instance().report(rule, text);
    }
}

} // namespace simulation
