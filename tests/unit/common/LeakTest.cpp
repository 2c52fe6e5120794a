// Repeated construction and destruction leaks no handle. The sanitized builds check memory. ORV_LEAK_CYCLES sets the
// number of cycles.
#include "common/source/source_utilities/uConfig.h"
#include "common/source/source_utilities/uDll.h"
#include "common/source/source_utilities/uEnvironment.h"
#include "common/source/source_utilities/uFile.h"
#include "common/source/source_utilities/uMutex.h"
#include "common/source/source_utilities/uSocket.h"
#include "common/source/source_utilities/uThread.h"
#include "common/source/source_utilities/uTimer.h"
#include "tests/support/open_handles/OpenHandles.h"
#include "tests/support/scratch/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace VX_QRS {
namespace {

int cycles() {
    const char* wanted = std::getenv("ORV_LEAK_CYCLES");
    return wanted != nullptr ? std::atoi(wanted) : 200;
}

// Permits fewer than one handle in ten cycles: the system may open handles of its own.
template <class Cycle>
void expectNoLeak(Cycle cycle) {
    for (int i = 0; i < 10; ++i) {
        cycle();
    }
    const std::size_t before = test_support::countOpenHandles();
    const int count = cycles();
    for (int i = 0; i < count; ++i) {
        cycle();
    }
    EXPECT_LT(test_support::countOpenHandles(), before + static_cast<std::size_t>(count) / 10);
}

TEST(Leaks, Sockets) {
    uSocket server;
    ASSERT_EQ(server.listen(0), uSocket::done);
    expectNoLeak([&] {
        uSocket client;
        ASSERT_EQ(client.connect("127.0.0.1", server.localPort()), uSocket::done) << client.lastError();
        const auto accepted = server.accept();
        ASSERT_NE(accepted, nullptr);
    });
}

TEST(Leaks, FailedSockets) {
    uSocket listener;
    ASSERT_EQ(listener.listen(0), uSocket::done);
    uSocket again;
    expectNoLeak([&] { ASSERT_EQ(again.listen(listener.localPort()), uSocket::setUpFailed); });
    uSocket unconnected;
    expectNoLeak([&] { ASSERT_EQ(unconnected.connect("no address", 1), uSocket::failed); });
}

TEST(Leaks, Files) {
    const test_support::TemporaryFolder folder;
    const std::string path = folder.file("file");
    expectNoLeak([&] {
        uFile file(path.c_str(), "w+");
        ASSERT_TRUE(file.open(nullptr, "w+"));
        ASSERT_TRUE(file.open(nullptr, "a+"));
        uConfig config;
        config.setPath(folder.file("config").c_str());
        config.addVariable("a", "b");
        config.write();
        config.read();
    });
}

TEST(Leaks, Libraries) {
    expectNoLeak([] {
        uDll library("unit_common_library");
        ASSERT_TRUE(library.isLoaded());
        uDll missing("orv_no_such_library");
        ASSERT_FALSE(missing.isLoaded());
    });
}

TEST(Leaks, ThreadsTimersAndLocks) {
    class Nothing : public uRunnable {
        void run() override {}
    } nothing;
    expectNoLeak([&] {
        uMutex mutex;
        const uMutexLock lock(mutex);
        uThread thread(&nothing);
        ASSERT_TRUE(thread.start());
        ASSERT_TRUE(thread.wait());
        ASSERT_TRUE(thread.start());
        ASSERT_TRUE(thread.wait());
        uTimer timer;
        timer.setPollingInterval(0.0);
        ASSERT_TRUE(timer.start());
        timer.stop();
    });
}

TEST(Leaks, Processes) {
    expectNoLeak([] {
        ASSERT_EQ(uEnvironment::startProcess("orv_no_such_program", nullptr, uEnvironment::detachedMode), 0U);
        ASSERT_EQ(uEnvironment::findProcess("orv_no_such_program", 0), 0U);
    });
}

} // namespace
} // namespace VX_QRS
