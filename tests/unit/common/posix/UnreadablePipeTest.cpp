// The pipe that reports whether a program was started cannot be read. The linker replaces the C library's function with
// the one here.
#include "common/source/source_utilities/StartedProcesses.h"
#include "common/source/source_utilities/uEnvironment.h"
#include "common/source/source_utilities/uStopwatch.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <sys/wait.h>
#include <unistd.h>

namespace {

int nextError = 0; // of the next read

} // namespace

extern "C" {
ssize_t __real_read(int file, void* data, size_t size);
ssize_t __wrap_read(int file, void* data, size_t size) {
    if (nextError == 0) {
        return __real_read(file, data, size);
    }
    errno = nextError;
    nextError = 0;
    return -1;
}
}

namespace VX_QRS {
namespace {

bool hasNoChild() {
    return waitpid(-1, nullptr, WNOHANG) == -1 && errno == ECHILD;
}

TEST(UnreadablePipe, ThatCannotBeReadEndsTheChildWhateverItDoes) {
    ASSERT_TRUE(hasNoChild());
    nextError = EIO;
    const uStopwatch watch;
    EXPECT_EQ(uEnvironment::startProcess("sleep", "60", uEnvironment::detachedMode), 0U);
    EXPECT_LT(watch.elapsed(), 50.0) << "its own end was waited for";
    EXPECT_TRUE(hasNoChild());
}

TEST(UnreadablePipe, AnInterruptedReadIsTriedAgain) {
    nextError = EINTR;
    const std::uint32_t child = uEnvironment::startProcess("sleep", "60", uEnvironment::detachedMode);
    EXPECT_NE(child, 0U);
    EXPECT_TRUE(uEnvironment::terminateProcess(child));
    EXPECT_TRUE(hasNoChild());
}

// A process of this test that the list has as started here and ended, as after its id was reused.
TEST(StartedProcesses, ThatHaveEndedAreNotTerminatedInTheShapeOfAStranger) {
    const pid_t stranger = fork();
    if (stranger == 0) {
        pause();
        _exit(0);
    }
    ASSERT_GT(stranger, 0);
    const auto id = static_cast<std::uint32_t>(stranger);
    StartedProcesses::Entry entry = StartedProcesses::prepare();
    startedProcesses().add(entry, {id, 0, true});
    EXPECT_TRUE(uEnvironment::processHasEnded(id));
    EXPECT_FALSE(uEnvironment::terminateProcess(id));
    EXPECT_EQ(waitpid(stranger, nullptr, WNOHANG), 0) << "it runs on";
    EXPECT_FALSE(uEnvironment::processHasEnded(id)) << "the id is forgotten";
    EXPECT_TRUE(uEnvironment::terminateProcess(id));
    EXPECT_EQ(waitpid(stranger, nullptr, 0), stranger);
}

TEST(StartedProcesses, AnIdThatIsGivenAgainIsTheNewProcess) {
    StartedProcesses list;
    StartedProcesses::Entry first = StartedProcesses::prepare();
    list.add(first, {77, 0, true});
    StartedProcesses::Entry second = StartedProcesses::prepare();
    list.add(second, {77, 0, true});
    EXPECT_FALSE(list.take(77).empty());
    EXPECT_TRUE(list.take(77).empty());
    EXPECT_EQ(list.state(77), StartedProcesses::State::stranger);
}

} // namespace
} // namespace VX_QRS
