#include "benchmarks/recording/RecordingRig.h"

#include <benchmark/benchmark.h>

#include <thread>

// A recording from start to the end of its thread, stopped as soon as the start has returned: its time against the
// sleeps that it orders. These are one of 1 ms in each flush of the unit's port, until it is idle, and one of 5 ms
// after each pass of the control thread; all of them follow one another.

namespace recording_benchmark {

namespace {

void cycle(benchmark::State& state) {
    RecordingRig& r = rig();
    double ordered = 0.0;
    double slept = 0.0;
    double whole = 0.0;
    double used = 0.0;
    std::uint64_t sleeps = 0;
    for (auto _ : state) {
        const double orderedBefore = r.waits.ordered();
        const double sleptBefore = r.waits.slept();
        const std::uint64_t sleepsBefore = r.waits.sleeps();
        const double usedBefore = processorSeconds();
        const auto begun = Clock::now();
        r.channel->start(false);
        r.channel->stop();
        while (!r.status().threadDone) {
            std::this_thread::sleep_for(std::chrono::microseconds(100));
        }
        const double taken = std::chrono::duration<double>(Clock::now() - begun).count();
        ordered += r.waits.ordered() - orderedBefore;
        slept += r.waits.slept() - sleptBefore;
        sleeps += r.waits.sleeps() - sleepsBefore;
        used += processorSeconds() - usedBefore;
        whole += taken;
        state.SetIterationTime(taken);
    }
    const auto runs = static_cast<double>(state.iterations());
    state.counters["whole"] = whole / runs;
    state.counters["ordered"] = ordered / runs;
    state.counters["late"] = (slept - ordered) / runs;
    state.counters["own"] = (whole - slept) / runs;
    state.counters["used"] = used / runs;
    state.counters["sleeps"] = static_cast<double>(sleeps) / runs;
}
BENCHMARK(cycle)->UseManualTime()->Iterations(20);

} // namespace

} // namespace recording_benchmark
