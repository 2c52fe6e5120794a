#include "common/source/source_utilities/uThread.h"
#include "tests/simulation/scenarios/Lists.h"
#include "tests/simulation/scenarios/SideThread.h"
#include "tests/simulation/scenarios/receiver/ReceiverRig.h"

namespace simulation {

namespace {

/// Two threads start the same channel; one of them starts it, the other finds it recording.
void startFromTwoThreads() {
    ReceiverRig rig;
    if (!rig.isReady() || !rig.configure()) {
        return;
    }
    {
        SideThread other([&rig] { rig.start(); });
        rig.start();
    }
    VX_QRS::uThread::sleep(5);
    rig.stop();
    rig.awaitEnd();
    rig.readAndJudge();
}

} // namespace

std::vector<Scenario> controlScenarios() {
    return {{.name = "receiver.startFromTwoThreads", .run = startFromTwoThreads}};
}

} // namespace simulation
