#pragma once

#include "bench/scenarios/Scenario.h"

#include <map>

namespace bench {

/// Counts requests and selects the fault, if any, for each. The first matching step wins.
class FaultScript {
public:
    explicit FaultScript(const FaultSettings& settings) : faults(settings) {}

    /// Called once for each request. The pointer is valid as long as the script.
    const FaultStep* onRequest(char command);

private:
    FaultSettings faults;
    unsigned all = 0;
    std::map<char, unsigned> each;
};

} // namespace bench
