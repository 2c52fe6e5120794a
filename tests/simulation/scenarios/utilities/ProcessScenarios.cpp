#include "common/source/source_utilities/StartedProcesses.h"
#include "common/source/source_utilities/uEnvironment.h"
#include "common/source/source_utilities/uThread.h"
#include "tests/simulation/backend/Processes.h"
#include "tests/simulation/faults/Faults.h"
#include "tests/simulation/scenarios/SideThread.h"
#include "tests/simulation/scenarios/utilities/Operations.h"
#include "tests/simulation/scenarios/utilities/UtilityLists.h"

#include <string>

namespace simulation {

namespace {

using VX_QRS::uEnvironment;
using VX_QRS::uThread;

void installSleeper() {
    installProgram("sleeper.exe", [](const std::string& milliseconds) {
        uThread::sleep(static_cast<std::uint32_t>(std::stoul(milliseconds)));
    });
}

std::uint32_t startSleeper(std::uint32_t milliseconds) {
    std::uint32_t id = 0;
    const std::string arguments = std::to_string(milliseconds);
    product([&] { id = uEnvironment::startProcess("sleeper.exe", arguments.c_str(), uEnvironment::detachedMode); });
    expect(id != 0 || Faults::instance().haveFailed(), "no process", "without a fault");
    return id;
}

/// Two threads start and terminate processes of one program that may end by themselves, and list them.
void startAndTerminate() {
    installSleeper();
    const auto use = [] {
        for (int i = 0; i < 2; ++i) {
            const std::uint32_t id = startSleeper(drawBelow(2) == 0 ? 3 : 5000);
            product([&] { uEnvironment::findProcess("SLEEPER", 0); });
            uThread::sleep(drawBelow(6));
            if (id != 0) {
                bool hasEnded = false;
                product([&] {
                    uEnvironment::terminateProcess(id);
                    hasEnded = uEnvironment::processHasEnded(id);
                });
                expect(!isProcessRunning(id) && hasEnded, "process left", "by its termination");
            }
        }
    };
    SideThread other(use);
    use();
}

/// Two threads terminate one process: at most one of them has killed it, and it has ended for both.
void terminatedByTwo() {
    installSleeper();
    const std::uint32_t id = startSleeper(drawBelow(2) == 0 ? 2 : 5000);
    if (id == 0) {
        return;
    }
    int killed = 0;
    const auto use = [&] {
        bool isKilled = false;
        product([&] { isKilled = uEnvironment::terminateProcess(id); });
        killed += isKilled ? 1 : 0;
    };
    {
        SideThread other(use);
        use();
    }
    expect(killed <= 1, "killed twice", "one process");
    expect(!isProcessRunning(id), "process left", "by two terminations");
}

} // namespace

std::vector<Scenario> processScenarios() {
    return {
        {"utilities.process.startAndTerminate", startAndTerminate},
        {"utilities.process.terminatedByTwo", terminatedByTwo},
    };
}

} // namespace simulation
