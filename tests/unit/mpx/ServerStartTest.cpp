#include "mpx/MpxEcomServer/ServerStart.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <new>
#include <stdexcept>
#include <string>
#include <vector>

using testing::ElementsAre;
using VX_QRS::ORV::ProcessAccess;
using VX_QRS::ORV::StartedServer;
using VX_QRS::ORV::startServer;

namespace {

constexpr const char* image = "mpx_ecom_server.exe";

// Simulated processes, with a clock that only sleeps advance.
class PaperProcesses : public ProcessAccess {
public:
    std::uint32_t start(const char* name, const char* arguments) override {
        EXPECT_STREQ(name, image);
        started.push_back(arguments);
        startedAt.push_back(clockMs);
        return startedIds.empty() ? 0 : startedIds[started.size() - 1];
    }
    std::uint32_t find(const char* name, std::uint32_t id) override {
        EXPECT_STREQ(name, image);
        ++looks;
        if (findThrows) {
            throw std::bad_alloc();
        }
        if (id == 0) {
            return anyRunning;
        }
        return id == seenId && clockMs >= seenFromMs ? id : 0;
    }
    bool hasEnded(std::uint32_t) noexcept override { return false; }
    void terminate(std::uint32_t id) noexcept override { terminated.push_back(id); }
    void sleep(std::uint32_t ms) override { clockMs += ms; }

    std::vector<std::uint32_t> startedIds; // result of each start; empty: every start fails
    std::uint32_t anyRunning = 0;          // id of a process of the image that others have started
    std::uint32_t seenId = 0;              // the one started process that is found
    std::uint32_t seenFromMs = 0;
    bool findThrows = false; // no memory for the list

    std::vector<std::string> started;
    std::vector<std::uint32_t> startedAt;
    std::vector<std::uint32_t> terminated;
    std::uint32_t looks = 0;
    std::uint32_t clockMs = 0;
};

} // namespace

TEST(ServerStart, AProcessSeenAtOnceCostsOneSleep) {
    PaperProcesses processes;
    processes.startedIds = {321};
    processes.seenId = 321;
    const StartedServer server = startServer(processes, 55760);
    EXPECT_EQ(server.id, 321u);
    EXPECT_EQ(server.port, 55760u);
    EXPECT_THAT(processes.started, ElementsAre("1 55760"));
    EXPECT_EQ(processes.looks, 1u);
    EXPECT_EQ(processes.clockMs, 100u);
    EXPECT_TRUE(processes.terminated.empty());
}

TEST(ServerStart, AProcessThatAppearsLateIsWaitedFor) {
    PaperProcesses processes;
    processes.startedIds = {321, 322};
    processes.seenId = 321;
    processes.seenFromMs = 4900; // the last search
    const StartedServer server = startServer(processes, 55760);
    EXPECT_EQ(server.id, 321u);
    EXPECT_EQ(processes.looks, 50u);
    EXPECT_EQ(processes.clockMs, 5000u);
}

TEST(ServerStart, AServerThatIsGoneCostsFiveSecondsAndThenTheNextPortIsTried) {
    PaperProcesses processes;
    processes.startedIds = {321, 322, 323};
    processes.seenId = 323;
    const StartedServer server = startServer(processes, 55760);
    EXPECT_EQ(server.id, 323u);
    EXPECT_EQ(server.port, 55762u);
    EXPECT_THAT(processes.started, ElementsAre("1 55760", "1 55761", "1 55762"));
    EXPECT_THAT(processes.startedAt, ElementsAre(0u, 5000u, 10000u));
    EXPECT_THAT(processes.terminated, ElementsAre(321u, 322u)) << "unseen ones may hold the unit";
}

TEST(ServerStart, AFailedLookTerminatesTheProcessThatItWasFor) {
    PaperProcesses processes;
    processes.startedIds = {321};
    processes.findThrows = true;
    EXPECT_THROW(startServer(processes, 55760), std::bad_alloc);
    EXPECT_THAT(processes.terminated, ElementsAre(321u));
}

TEST(ServerStart, AfterEightPortsItFailsAndEveryProcessWasTerminated) {
    PaperProcesses processes;
    processes.startedIds = {1, 2, 3, 4, 5, 6, 7, 8};
    try {
        startServer(processes, 55760);
        ADD_FAILURE();
    } catch (const std::runtime_error& e) {
        EXPECT_STREQ(e.what(), "failed to start server");
    }
    EXPECT_EQ(processes.started.size(), 8u);
    EXPECT_EQ(processes.started.back(), "1 55767");
    EXPECT_EQ(processes.clockMs, 40000u);
    EXPECT_THAT(processes.terminated, ElementsAre(1u, 2u, 3u, 4u, 5u, 6u, 7u, 8u)) << "the list may be unreadable";
}

TEST(ServerStart, AFailedStartBesideAnothersServerMovesOnAtOnce) {
    PaperProcesses processes;
    processes.anyRunning = 777;
    EXPECT_THROW(startServer(processes, 55760), std::runtime_error);
    EXPECT_EQ(processes.started.size(), 8u);
    EXPECT_EQ(processes.looks, 8u);
    EXPECT_EQ(processes.clockMs, 800u);
    EXPECT_TRUE(processes.terminated.empty()) << "the other's server is left alone";
}

TEST(ServerStart, AFailedStartWithNoServerAtAllCountsAsStarted) {
    PaperProcesses processes;
    const StartedServer server = startServer(processes, 55760);
    EXPECT_EQ(server.id, 0u);
    EXPECT_EQ(server.port, 55760u);
    EXPECT_EQ(processes.clockMs, 5000u);
}
