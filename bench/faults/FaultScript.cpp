#include "bench/faults/FaultScript.h"

namespace bench {

const FaultStep* FaultScript::onRequest(char command) {
    ++all;
    const unsigned own = ++each[command];
    for (const FaultStep& step : faults.steps) {
        if (step.command.empty() ? step.nth == all : step.command[0] == command && step.nth == own) {
            return &step;
        }
    }
    return nullptr;
}

} // namespace bench
