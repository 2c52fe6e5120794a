#include "common/source/source_utilities/uSocket.h"
#include "common/source/source_utilities/uThread.h"
#include "tests/contract/Contract.h"
#include "tests/simulation/backend/Files.h"
#include "tests/simulation/backend/Memory.h"
#include "tests/simulation/backend/Processes.h"
#include "tests/simulation/backend/SimulatedLock.h"
#include "tests/simulation/backend/Sockets.h"
#include "tests/simulation/faults/Faults.h"
#include "tests/simulation/scheduler/Scheduler.h"

#include <cstdlib>
#include <memory>

namespace contract {

namespace {

using namespace simulation;

// The first is the default schedule with whole pieces; the others follow the strategies of the search in rotation.
constexpr std::uint64_t schedules = 40;
constexpr std::uint64_t usualLength = 200;

std::unique_ptr<Strategy> strategyOf(std::uint64_t seed) {
    return seed == 0 ? makeReplay({}) : makeStrategy(strategyNames()[seed % strategyNames().size()], seed, usualLength);
}

void runSchedule(const std::function<void()>& body, std::uint64_t seed) {
    forgetLockOrders();
    beginFiles();
    beginSockets(seed);
    beginProcesses();
    Faults::instance().begin({});
    const std::unique_ptr<Strategy> strategy = strategyOf(seed);
    // Polls at their shortest interval are many points.
    const Limits limits{10000000, 600000000};
    const simulation::Outcome outcome = Scheduler::instance().run(
        *strategy,
        [&] {
            body();
            endAllProcesses();
        },
        limits);
    for (const Finding& finding : outcome.findings) {
        ADD_FAILURE() << finding.rule << ": " << finding.text;
    }
    EXPECT_EQ(socketsLeftOpen(), 0U);
    EXPECT_EQ(filesLeftOpen(), 0U);
}

} // namespace

const char* const program = "contract_program";

void run(const std::function<void()>& body) {
    for (std::uint64_t seed = 0; seed < schedules && !testing::Test::HasFailure(); ++seed) {
        const testing::ScopedTrace trace(__FILE__, __LINE__, "schedule " + std::to_string(seed));
        runSchedule(body, seed);
    }
}

ProgramFolder::ProgramFolder() {
    installProgram(program, [](const std::string& time) {
        if (time == always) {
            VX_QRS::uSocket never;
            never.listen(0);
            never.accept(); // a sleep of any length may be over early
        } else {
            VX_QRS::uThread::sleep(static_cast<std::uint32_t>(std::atoi(time.c_str())));
        }
    });
}

ProgramFolder::~ProgramFolder() = default;

} // namespace contract
