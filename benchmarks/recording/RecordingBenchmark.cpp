#include "benchmarks/recording/RecordingRig.h"

#include <benchmark/benchmark.h>

#include <thread>

namespace recording_benchmark {

namespace {

double since(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

/// From the call to the moment when the unit records and the transmitter sends, without the waits for the unit.
void start(benchmark::State& state) {
    RecordingRig& r = rig();
    for (auto _ : state) {
        const double sleptBefore = r.waits.slept();
        const auto begun = Clock::now();
        r.channel->start(false);
        const double taken = since(begun);
        // The thread's first sleep may begin inside; it does not belong to the start.
        const double slept = std::min(taken, r.waits.slept() - sleptBefore);
        r.channel->stop();
        r.waitUntilDone();
        state.SetIterationTime(std::max(taken - slept, 1e-9));
    }
}
BENCHMARK(start)->UseManualTime()->Iterations(20);

/// From the call of stop to the first bytes in the file, without the rest of the thread's sleep and the waits for the
/// unit.
void stop(benchmark::State& state) {
    RecordingRig& r = rig();
    for (auto _ : state) {
        r.channel->start(false);
        while (r.status().bytesReady < 16384) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        const double sleptBefore = r.waits.slept();
        const auto begun = Clock::now();
        r.channel->stop();
        while (r.status().bytesTotal == 0) {
            std::this_thread::yield();
        }
        const double taken = since(begun);
        const double slept = std::min(taken, r.waits.slept() - sleptBefore);
        r.waitUntilDone();
        state.SetIterationTime(std::max(taken - slept, 1e-9));
    }
}
BENCHMARK(stop)->UseManualTime()->Iterations(20);

} // namespace

} // namespace recording_benchmark
