#pragma once

#include "bench/scenarios/Scenario.h"

#include <map>

namespace bench {

// Counts requests and tells which fault, if any, one of them is to meet. The first step that fits wins.
class FaultScript {
public:
    explicit FaultScript(const FaultSettings& settings) : faults(settings) {}

    // Called once for each request; the pointer stays valid as long as the script does.
    const FaultStep* onRequest(char command);

private:
    FaultSettings faults;
    unsigned all = 0;
    std::map<char, unsigned> each;
};

} // namespace bench
