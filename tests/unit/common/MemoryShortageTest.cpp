// Processes, sockets and log lines when memory ends at any block: no process, handle or connection leaks.
#include "common/source/source_utilities/uEnvironment.h"
#include "common/source/source_utilities/uLog.h"
#include "common/source/source_utilities/uSocket.h"
#include "common/source/source_utilities/uThread.h"
#include "common/source/source_utilities/uTimer.h"
#include "tests/support/allocation/MemoryShortage.h"
#include "tests/support/open_handles/OpenHandles.h"
#include "tests/support/scratch/LogCapture.h"
#include "tests/support/scratch/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <new>

namespace VX_QRS {

using test_support::forEachRefusedBlock;
using test_support::MemoryShortage;

namespace {

const test_support::LogCapture::WithEntries everything;

// A program for this test only, which runs for a minute.
class ShortageOfProcesses : public testing::Test {
protected:
    ShortageOfProcesses() {
        const std::filesystem::path self(testing::internal::GetArgvs().front());
        const std::filesystem::path folderOfSelf = std::filesystem::absolute(self).parent_path();
        for (const std::string extension : {"", ".exe"}) {
            const std::filesystem::path child = folderOfSelf / ("unit_common_child" + extension);
            if (std::filesystem::exists(child)) {
                program = folder.file(name + extension);
                std::filesystem::copy_file(child, program);
            }
        }
    }
    ~ShortageOfProcesses() override { uEnvironment::terminateProcess(running()); }

    std::uint32_t start() const {
        return uEnvironment::startProcess(program.c_str(), (folder.file("report") + " 60000").c_str(),
                                          uEnvironment::detachedMode);
    }
    std::uint32_t running() const { return uEnvironment::findProcess(name.c_str(), 0); }

    const test_support::TemporaryFolder folder;
    const std::string name = "orv_short_of_memory_" + std::to_string(uEnvironment::getCurrentProcessId());
    std::string program;
};

TEST_F(ShortageOfProcesses, StartLosesNoProcessAtAnyBlock) {
    const std::string arguments = folder.file("report") + " 60000";
    std::uint32_t id = 0;
    const std::size_t before = test_support::countOpenHandles();
    const int refused = forEachRefusedBlock(
        [&] {
            id = 0;
            try {
                id = uEnvironment::startProcess(program.c_str(), arguments.c_str(), uEnvironment::detachedMode);
            } catch (const std::bad_alloc&) {
                // No process was started.
            }
        },
        [&](const std::string& where) {
            EXPECT_EQ(running(), id) << "memory ends " << where;
            EXPECT_TRUE(id == 0 || uEnvironment::terminateProcess(id));
        });
    EXPECT_GT(refused, 4);
    EXPECT_LT(test_support::countOpenHandles(), before + 4) << "neither pipes nor handles stay open";
}

TEST_F(ShortageOfProcesses, ALookThrowsAndLeavesNothingOpen) {
    const std::size_t before = test_support::countOpenHandles();
    int thrown = 0;
    for (std::size_t granted = 0; granted < 10; ++granted) {
        const MemoryShortage shortage(granted);
        try {
            uEnvironment::processExists(uEnvironment::getCurrentProcessId());
        } catch (const std::bad_alloc&) {
            ++thrown;
        }
    }
    EXPECT_GT(thrown, 0);
    EXPECT_LT(test_support::countOpenHandles(), before + 4);
}

TEST_F(ShortageOfProcesses, AProcessIsWatchedAndTerminatedWithoutMemory) {
    const std::uint32_t id = start();
    ASSERT_NE(id, 0U);
    bool endedBefore = true;
    bool terminated = false;
    {
        const MemoryShortage shortage(0);
        endedBefore = uEnvironment::processHasEnded(id);
        terminated = uEnvironment::terminateProcess(id);
    }
    EXPECT_FALSE(MemoryShortage::hasRefused()) << "no block is asked for";
    EXPECT_FALSE(endedBefore);
    EXPECT_TRUE(terminated);
    EXPECT_EQ(running(), 0U);
}

TEST(ShortageOfSockets, ALostConnectionIsStillOneAndHasNoWords) {
    uSocket server;
    ASSERT_EQ(server.listen(0), uSocket::done);
    uSocket client;
    ASSERT_EQ(client.connect("127.0.0.1", server.localPort()), uSocket::done);
    server.accept()->close();
    char byte = 0;
    std::int32_t count = 7;
    int status = -1;
    int nullStatus = -1;
    {
        const MemoryShortage shortage(0);
        status = client.read(&byte, 1, 0, count);
        nullStatus = client.read(nullptr, 1, 0, count);
    }
    EXPECT_EQ(status, uSocket::connectionGone);
    EXPECT_EQ(nullStatus, uSocket::nullBuffer);
    EXPECT_EQ(client.lastError(), "");
    EXPECT_EQ(client.read(&byte, 1, 0, count), uSocket::connectionGone);
    EXPECT_NE(client.lastError(), "");
}

TEST(ShortageOfSockets, AnAcceptedConnectionWithoutAnObjectIsClosed) {
    uSocket server;
    ASSERT_EQ(server.listen(0), uSocket::done);
    uSocket client;
    ASSERT_EQ(client.connect("127.0.0.1", server.localPort()), uSocket::done);
    std::unique_ptr<uSocket> accepted;
    {
        const MemoryShortage shortage(0);
        accepted = server.accept();
    }
    EXPECT_EQ(accepted, nullptr);
    ASSERT_TRUE(client.waitReadable(20000)) << "the connection is held by nothing and still open";
    char byte = 0;
    std::int32_t count = 7;
    EXPECT_EQ(client.read(&byte, 1, 0, count), uSocket::connectionGone);
}

TEST(ShortageOfSockets, ConnectionsFailByTheirStatus) {
    const std::string name(100, 'n');
    uSocket client;
    int connected = -1;
    std::unique_ptr<uSocket> accepted;
    {
        const MemoryShortage shortage(0);
        connected = client.connect(name.c_str(), 1);
        accepted = client.accept();
    }
    EXPECT_EQ(connected, uSocket::failed);
    EXPECT_EQ(accepted, nullptr);
}

TEST(ShortageOfLogs, LinesAreLostAndNothingIsThrown) {
    const test_support::LogCapture log;
    uLogger* const logger = getLogManager()->getLogger();
    const int refused = forEachRefusedBlock(
        [logger] {
            logger->setEnabled(false); // closes the file, so that the next line opens it
            logger->setEnabled(true);
            logMessage("message %d", 1);
            logWarning("warning");
            logError("error");
            logEntry("unit", "function");
        },
        [](const std::string&) {});
    EXPECT_GT(refused, 0);
    EXPECT_FALSE(log.messages().empty());
}

TEST(ShortageOfTimers, OneThatFindsNoMemoryIsNotStartedAndEndsAtOnce) {
    uTimer timer;
    bool started = true;
    int refused = 0;
    for (std::size_t granted = 0; granted < 10; ++granted) {
        {
            const MemoryShortage shortage(granted);
            started = timer.start();
            timer.stop();
        }
        refused += MemoryShortage::hasRefused() ? 1 : 0;
        EXPECT_EQ(started, !MemoryShortage::hasRefused()) << granted;
    }
    // On platforms whose library creates the thread, this program allocates no block.
    SUCCEED() << refused;
}

} // namespace
} // namespace VX_QRS
