#include "common/source/source_utilities/uEnvironment.h"
#include "common/source/source_utilities/uThread.h"
#include "tests/contract/Contract.h"

#include <string>

namespace {

using contract::program;
using VX_QRS::uEnvironment;
using VX_QRS::uThread;

std::uint32_t start(const char* time) {
    return uEnvironment::startProcess(program, time, uEnvironment::detachedMode);
}

// The list of processes may show a started one a moment later, and an ended one for a moment longer.
void awaitListed(std::uint32_t id) {
    while (!uEnvironment::processExists(id)) {
        uThread::sleep(2);
    }
}

// By its name, too: the number of an ended process may already be that of another program.
void awaitUnlisted(std::uint32_t id) {
    while (uEnvironment::findProcess(program, id) != 0) {
        uThread::sleep(2);
    }
}

CONTRACT(Processes, MissingProgramDoesNotStart) {
    EXPECT_EQ(uEnvironment::startProcess("orv_no_such_program", "x", uEnvironment::detachedMode), 0U);
    EXPECT_EQ(uEnvironment::startProcess("orv_no_such_program", nullptr, uEnvironment::detachedMode), 0U);
    EXPECT_EQ(uEnvironment::startProcess(nullptr, "x", uEnvironment::detachedMode), 0U);
}

CONTRACT(Processes, RunningOneIsFoundByItsNameAndNumber) {
    const contract::ProgramFolder folder;
    const std::uint32_t id = start(contract::always);
    ASSERT_NE(id, 0U);
    awaitListed(id);
    EXPECT_EQ(uEnvironment::findProcess(program, id), id);
    EXPECT_EQ(uEnvironment::findProcess("Contract_PROGRAM.exe", id), id);
    EXPECT_EQ(uEnvironment::findProcess("contract_progra", id), 0U);
    EXPECT_NE(uEnvironment::findProcess(program, 0), 0U);
    EXPECT_FALSE(uEnvironment::processHasEnded(id));
    EXPECT_TRUE(uEnvironment::terminateProcess(id));
}

CONTRACT(Processes, TerminatedOneIsGone) {
    const contract::ProgramFolder folder;
    const std::uint32_t id = start(contract::always);
    ASSERT_NE(id, 0U);
    EXPECT_TRUE(uEnvironment::terminateProcess(id));
    awaitUnlisted(id);
}

CONTRACT(Processes, EndedByItselfIsSeenAndIsNotTerminated) {
    const contract::ProgramFolder folder;
    const std::uint32_t id = start("0");
    ASSERT_NE(id, 0U);
    while (!uEnvironment::processHasEnded(id)) {
        uThread::sleep(2);
    }
    EXPECT_TRUE(uEnvironment::processHasEnded(id));
    awaitUnlisted(id);
    EXPECT_FALSE(uEnvironment::terminateProcess(id));
}

CONTRACT(Processes, TwoOfOneProgramHaveNumbersOfTheirOwn) {
    const contract::ProgramFolder folder;
    const std::uint32_t first = start(contract::always);
    const std::uint32_t second = start(contract::always);
    ASSERT_NE(first, 0U);
    ASSERT_NE(second, 0U);
    EXPECT_NE(first, second);
    EXPECT_TRUE(uEnvironment::terminateProcess(first));
    EXPECT_FALSE(uEnvironment::processHasEnded(second)) << "the other one was terminated";
    EXPECT_TRUE(uEnvironment::terminateProcess(second));
}

CONTRACT(Processes, NumberZeroAndUnknownNumbersAreNone) {
    EXPECT_FALSE(uEnvironment::processExists(0));
    EXPECT_TRUE(uEnvironment::processHasEnded(0));
    EXPECT_FALSE(uEnvironment::terminateProcess(0));
    EXPECT_EQ(uEnvironment::findProcess(nullptr, 0), 0U);
    EXPECT_FALSE(uEnvironment::processExists(0x7FFFFFF0));
    EXPECT_TRUE(uEnvironment::processHasEnded(0x7FFFFFF0));
    EXPECT_FALSE(uEnvironment::terminateProcess(0x7FFFFFF0));
    EXPECT_EQ(uEnvironment::findProcess("orv_no_such_program", 0), 0U);
}

} // namespace
