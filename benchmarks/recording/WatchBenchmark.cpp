#include "benchmarks/link/ServerProcess.h"
#include "benchmarks/recording/RecordingRig.h"

#include <benchmark/benchmark.h>

#include <array>
#include <cstdio>
#include <string_view>
#include <thread>

// The control thread of a running recording, against a bare loop of the system calls that its passes order: a status
// request, a look for the trigger file, a register read, a sleep.

namespace recording_benchmark {

namespace {

using namespace std::string_view_literals;

constexpr auto watched = std::chrono::seconds(1);
constexpr auto passInterval = std::chrono::milliseconds(5);

constexpr std::string_view statusRequest = "$?\0\0\0\0#00"sv;
constexpr std::string_view readRequest =
    "$m\x02\0\0\0\x01\0\0\0\x10\x80\0\x08\0\0\0\0\x01\0\0\0\x20\x80\0\x08\0\0\0\0#00"sv;

/// All work of this process is its control thread's.
void watch(benchmark::State& state) {
    RecordingRig& r = rig();
    double share = 0.0;
    for (auto _ : state) {
        r.channel->start(false);
        const double before = processorSeconds();
        const auto start = Clock::now();
        std::this_thread::sleep_for(watched);
        const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
        share = (processorSeconds() - before) / seconds;
        r.channel->stop();
        r.waitUntilDone();
        state.SetIterationTime(seconds);
    }
    state.counters["percent"] = 100.0 * share;
}
BENCHMARK(watch)->UseManualTime()->Iterations(1);

bool bareRoundTrip(MPX_GDB_AGENT::IGdbIo& link, std::string_view request) {
    std::array<char, 256> reply{};
    std::uint32_t count = 0;
    return link.send(request.data(), static_cast<std::uint32_t>(request.size()), count) == MPX_GDB_AGENT::IoOk &&
           link.receive(reply.data(), static_cast<std::uint32_t>(reply.size()), count) == MPX_GDB_AGENT::IoOk;
}

void bareWatch(benchmark::State& state) {
    const auto link = ServerProcess::get().connect();
    const test_support::TemporaryFolder folder;
    const std::string trigger = folder.file("trace.trg.txt");
    double share = 0.0;
    for (auto _ : state) {
        const double before = processorSeconds();
        const auto start = Clock::now();
        while (Clock::now() - start < watched) {
            if (!bareRoundTrip(*link, statusRequest) || std::fopen(trigger.c_str(), "r") != nullptr ||
                !bareRoundTrip(*link, readRequest)) {
                state.SkipWithError("no reply");
                break;
            }
            std::this_thread::sleep_for(passInterval);
        }
        const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
        share = (processorSeconds() - before) / seconds;
        state.SetIterationTime(seconds);
    }
    state.counters["percent"] = 100.0 * share;
    link->closeClient();
}
BENCHMARK(bareWatch)->UseManualTime()->Iterations(1);

} // namespace

} // namespace recording_benchmark
