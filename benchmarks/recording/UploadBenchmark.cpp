#include "benchmarks/recording/RecordingRig.h"
#include "benchmarks/support/Memory.h"

#include <benchmark/benchmark.h>

#include <thread>

// A full buffer of 128 MiB from the unit's stop to the end of the thread, in the file.

namespace recording_benchmark {

namespace {

void upload(benchmark::State& state) {
    RecordingRig& r = rig(Filling::Fast);
    for (auto _ : state) {
        const std::size_t idle = benchmarks::residentBytes();
        benchmarks::forgetPeak();
        r.channel->start(false);
        while (r.status().state == VX_QRS::ORV::CLIENT::Recording) {
            std::this_thread::sleep_for(std::chrono::microseconds(100));
        }
        const double orderedBefore = r.waits.ordered();
        const std::uint64_t sleepsBefore = r.waits.sleeps();
        const double processorBefore = processorSeconds();
        const auto begun = Clock::now();
        while (!r.status().threadDone) {
            std::this_thread::sleep_for(std::chrono::microseconds(100));
        }
        const double taken = std::chrono::duration<double>(Clock::now() - begun).count();
        const std::size_t most = benchmarks::peakResidentBytes();
        if (r.status().bytesTotal != uploadedBytes) {
            state.SkipWithError("bytes are missing");
        }
        state.counters["ordered"] = r.waits.ordered() - orderedBefore;
        state.counters["passes"] = static_cast<double>(r.waits.sleeps() - sleepsBefore);
        state.counters["used"] = processorSeconds() - processorBefore;
        state.counters["peak"] = static_cast<double>(most > idle ? most - idle : 0);
        state.SetIterationTime(taken);
    }
}
BENCHMARK(upload)->UseManualTime()->Iterations(1);

} // namespace

} // namespace recording_benchmark
