#include "common/source/source_utilities/uEnvironment.h"
#include "common/source/source_utilities/uThread.h"
#include "tests/simulation/backend/Network.h"
#include "tests/simulation/backend/Processes.h"
#include "tests/simulation/scenarios/Lists.h"
#include "tests/simulation/scenarios/Scenario.h"
#include "tests/simulation/scenarios/SideThread.h"
#include "tests/simulation/scenarios/proxy/ProxyLists.h"
#include "tests/simulation/scenarios/proxy/ProxyRig.h"
#include "tests/simulation/scheduler/Scheduler.h"

#include <stdexcept>
#include <string>

namespace simulation {

namespace {

using VX_QRS::uThread;

std::uint32_t below(std::uint32_t count) {
    return static_cast<std::uint32_t>(Network::instance().random().below(count));
}

// Eight ports, each tried for up to five seconds, while other threads are held up.
constexpr Time allTries = 200000000;

const std::string portArguments = "1 " + std::to_string(ProxyRig::port);

/// The client ends before, while or after the thread of its timer ends by itself.
void createAndDestroy() {
    ProxyRig rig;
    if (rig.create()) {
        uThread::sleep(below(1300));
    }
}

/// The server listens late: within the time that a connection is tried for, or not at all.
void slowStart() {
    ServerPlan plan;
    plan.opensAfter = below(4000);
    ProxyRig rig(plan);
    rig.create(true);
}

/// Another version than the client's.
void otherVersion() {
    ServerPlan plan;
    plan.version = 2;
    ProxyRig rig(plan);
    expect(!rig.create(true), "client", "of a server with another version");
}

/// Registers from one thread, recorded data from another, status from a third.
void requestsFromThreads() {
    ServerPlan plan;
    plan.slowest = below(3) == 0 ? 2500 : 0;
    ProxyRig rig(plan);
    if (!rig.create() || !rig.open()) {
        return;
    }
    {
        SideThread registers([&rig] {
            for (std::uint32_t i = 0; i < 3 && rig.useRegisters(0x08000100); ++i) {
            }
        });
        SideThread status([&rig] {
            std::uint32_t ready = 0;
            for (int i = 0; i < 3 && rig.attempt([&] { rig.stream().status(&ready); }); ++i) {
                uThread::sleep(below(20));
            }
        });
        rig.attempt([&] { rig.stream().start(); });
        for (int i = 0; i < 3; ++i) {
            rig.requestData(below(3000));
        }
        rig.useRegisters(0x08000200);
    }
    rig.judgeData();
    rig.attempt([&] { rig.client().closeChannel(&rig.stream()); });
}

/// The server ends between two requests of two threads.
void serverEnds() {
    ServerPlan plan;
    plan.requestsServed = 2 + below(8);
    ProxyRig rig(plan);
    rig.expectsFailures = true;
    if (!rig.create() || !rig.open()) {
        return;
    }
    {
        SideThread registers([&rig] {
            while (rig.useRegisters(0x08000100)) {
            }
        });
        while (rig.requestData(100)) {
        }
    }
    expect(!rig.attempt([&] { rig.stream().stop(); }), "reply", "of a server that has ended");
}

/// The server answers with an error. The client does not resynchronise, but each request ends.
void serverReportsAnError() {
    ServerPlan plan;
    plan.requestsWithoutError = 2 + below(6);
    ProxyRig rig(plan);
    rig.expectsFailures = true;
    if (!rig.create() || !rig.open()) {
        return;
    }
    SideThread registers([&rig] {
        for (int i = 0; i < 4; ++i) {
            rig.useRegisters(0x08000100);
        }
    });
    for (int i = 0; i < 4; ++i) {
        rig.requestData(100);
    }
}

/// A callback throws out of its request. The lock is free afterwards for the other thread.
void callbackThrows() {
    ProxyRig rig;
    rig.expectsFailures = true;
    rig.inCallback = [calls = below(4)]() mutable {
        if (calls-- == 0) {
            throw std::runtime_error("unit not ready");
        }
    };
    if (!rig.create() || !rig.open()) {
        return;
    }
    SideThread registers([&rig] { rig.useRegisters(0x08000100); });
    for (int i = 0; i < 3; ++i) {
        rig.requestData(300);
    }
}

/// A callback has another thread stop the stream, which waits for the end of the callback's request.
void stopOrderedByACallback() {
    ProxyRig rig;
    bool isOrdered = false;
    rig.inCallback = [&isOrdered] {
        isOrdered = true;
        uThread::sleep(below(15));
    };
    if (!rig.create() || !rig.open()) {
        return;
    }
    bool isDone = false;
    {
        SideThread stopper([&] {
            while (!isOrdered && !isDone) {
                uThread::sleep(5);
            }
            rig.attempt([&] { rig.stream().stop(); });
        });
        for (int i = 0; i < 3; ++i) {
            rig.requestData(300);
        }
        isDone = true;
    }
    rig.judgeData();
}

/// A program that is no data server holds the port, for ever or for a time. No client, and no server is left.
void portOfAStranger() {
    const std::uint32_t time = below(2) == 0 ? 0 : 1 + below(3000);
    installProgram("stranger.exe", [time](const std::string& arguments) { holdPort(arguments, time); });
    startStranger("stranger.exe", portArguments);
    uThread::sleep(below(3));
    ProxyRig rig;
    rig.create(true);
}

/// The server of another run holds the port until its client comes, which may be this run's.
void portOfAnotherRun() {
    ServerRecord others;
    ServerPlan plan;
    plan.requestsServed = below(4);
    installProgram("other_server.exe", [&](const std::string& arguments) { runServer(plan, others, arguments); });
    startStranger("other_server.exe", portArguments);
    ProxyRig rig;
    rig.expectsFailures = true;
    if (rig.create(true)) {
        rig.useRegisters(0x08000100);
    }
    rig.destroy();
    endAllProcesses(); // the other run's server uses its record, which ends with this scenario
}

void useAClient() {
    VX_QRS::uEnvironment::get("PATH"); // keeps a text for each thread of the process
    ProxyRig rig;
    rig.isAlone = false;
    rig.expectsFailures = true;
    if (rig.create(true)) {
        rig.useRegisters(0x08000100);
    }
}

/// Two runs on one machine that begin at the same time, with one first port: either may be served by the other's server
/// or find it taken, but both come to their end. The next run finds all as before.
void twoClients() {
    {
        SideThread other(useAClient);
        useAClient();
    }
    createAndDestroy();
}

} // namespace

std::vector<Scenario> proxyScenarios() {
    std::vector<Scenario> all{
        {"proxy.createAndDestroy", createAndDestroy, allTries},
        {"proxy.slowStart", slowStart, allTries},
        {"proxy.otherVersion", otherVersion, allTries},
        {"proxy.requestsFromThreads", requestsFromThreads, allTries},
        {"proxy.serverEnds", serverEnds, allTries},
        {"proxy.serverReportsAnError", serverReportsAnError, allTries},
        {"proxy.callbackThrows", callbackThrows, allTries},
        {"proxy.stopOrderedByACallback", stopOrderedByACallback, allTries},
        {"proxy.portOfAStranger", portOfAStranger, allTries},
        {"proxy.portOfAnotherRun", portOfAnotherRun, allTries},
        {"proxy.twoClients", twoClients, allTries},
    };
    const std::vector<Scenario> recordings = recordingScenarios();
    all.insert(all.end(), recordings.begin(), recordings.end());
    return all;
}

} // namespace simulation
