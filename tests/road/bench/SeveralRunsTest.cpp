#include "tests/road/Orvtrace.h"

#include <gmock/gmock.h>

#include <atomic>
#include <chrono>
#include <thread>

// Runs at the same time on one machine, which all begin with the same port.

namespace {

using testing::HasSubstr;
using namespace std::chrono_literals;

/// Keeps every processor busy while it lives.
class Load {
public:
    Load() {
        for (unsigned i = 0; i < 2 * std::thread::hardware_concurrency(); ++i) {
            threads.emplace_back([this] {
                while (!over) {
                    ++count;
                }
            });
        }
    }
    ~Load() {
        over = true;
        for (std::thread& thread : threads) {
            thread.join();
        }
    }
    Load(const Load&) = delete;
    Load& operator=(const Load&) = delete;

private:
    std::atomic<bool> over{false};
    std::atomic<unsigned> count{0};
    std::vector<std::thread> threads;
};

/// A run with a folder of its own, started by the constructor.
class StartedRun {
public:
    explicit StartedRun(const std::string& scenario)
        : running(orvtraceProgram(), {"record", "--scenario", scenario, "--out", space.file("run").string()},
                  space.file("stdout.txt"), space.file("stderr.txt")) {}

    std::string errors() const { return readBytes(space.file("stderr.txt")); }
    void awaitPhase(const std::string& phase) const {
        while (errors().find("orvtrace: " + phase) == std::string::npos) {
            std::this_thread::sleep_for(20ms);
        }
    }

private:
    RunSpace space;

public:
    RunningProgram running;
};

TEST(SeveralRuns, AllThatStartAtOnceOnABusyMachineSucceed) {
    const Load load;
    std::vector<std::unique_ptr<StartedRun>> runs;
    for (int number = 0; number < 8; ++number) {
        runs.push_back(std::make_unique<StartedRun>("bench-cable"));
    }
    for (const auto& run : runs) {
        EXPECT_EQ(run->running.wait(), 0) << run->errors();
        EXPECT_EQ(withoutProgress(run->errors()), "");
    }
}

/// A run whose server never answers, and which so has the turn to start one for good.
std::string hangingScenario(const RunSpace& space) {
    return space.write("hang.toml", "cpu = \"bench/app\"\n[[faults.at]]\ncommand = \"v\"\naction = \"hang\"\n")
        .string();
}

TEST(SeveralRuns, ARunThatDiesAtItsStartMakesPlaceForTheNext) {
    const RunSpace space;
    StartedRun first(hangingScenario(space));
    first.awaitPhase("starting the data server");
    StartedRun second("one-pin");
    second.awaitPhase("waiting for other runs to start their data servers");
    first.running.end();
    first.running.wait();
    EXPECT_EQ(second.running.wait(), 0) << second.errors();
}

TEST(SeveralRuns, OneThatWaitsIsEndedByAnInterrupt) {
    if (!RunningProgram::canInterrupt()) {
        GTEST_SKIP() << "no console event can be sent here, as under Wine";
    }
    const RunSpace space;
    StartedRun first(hangingScenario(space));
    first.awaitPhase("starting the data server");
    StartedRun second("one-pin");
    second.awaitPhase("waiting for other runs to start their data servers");
    EXPECT_TRUE(second.running.interrupt());
    EXPECT_EQ(second.running.wait(), 7);
    EXPECT_THAT(second.errors(), HasSubstr("orvtrace: interrupted before the data server was started"));
    first.running.end();
    first.running.wait();
}

} // namespace
