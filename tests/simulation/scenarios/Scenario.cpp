#include "tests/simulation/scenarios/Scenario.h"

#include "tests/simulation/scenarios/Lists.h"
#include "tests/simulation/scheduler/Scheduler.h"

#include <stdexcept>

namespace simulation {

const std::vector<Scenario>& scenarios() {
    static const std::vector<Scenario> all = [] {
        std::vector<Scenario> list;
        for (const auto& part : {channelScenarios(), proxyScenarios(), utilityScenarios()}) {
            list.insert(list.end(), part.begin(), part.end());
        }
        return list;
    }();
    return all;
}

const Scenario& scenarioOf(const std::string& name) {
    for (const Scenario& scenario : scenarios()) {
        if (scenario.name == name) {
            return scenario;
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
