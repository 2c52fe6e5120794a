#include "tests/simulation/scenarios/utilities/UtilityLists.h"

#include "tests/simulation/scenarios/Lists.h"

namespace simulation {

std::vector<Scenario> utilityScenarios() {
    std::vector<Scenario> all;
    for (const auto& part :
         {fileScenarios(), logScenarios(), processScenarios(), threadScenarios(), timerScenarios()}) {
        all.insert(all.end(), part.begin(), part.end());
    }
    return all;
}

} // namespace simulation
