#include "benchmarks/calibration/Ratios.h"
#include "tests/support/bench_client/BenchRig.h"
#include "tests/support/scratch/TemporaryFolder.h"

#include <benchmark/benchmark.h>

#include <chrono>
#include <string>

// A whole calibration with five settings over the bench's unit, in real time: its duration against the sum of
// its waits. It includes the work of the simulated unit (drawing bursts, filling the buffer).

namespace {

using namespace VX_QRS::ORV::CLIENT;
using Clock = std::chrono::steady_clock;

double seconds(Clock::duration time) {
    return std::chrono::duration<double>(time).count();
}

bench::Scenario fiveSettings() {
    bench::Scenario scenario;
    scenario.name = "five settings";
    scenario.pins = 4;
    scenario.transmitter.frequencies = {12e6, 25e6, 40e6, 50e6, 70e6};
    scenario.wiring.jitter = 0.1;
    return scenario;
}

/// Waits are real sleeps, so the system's wake-up latency counts, too.
void wholeCalibration(benchmark::State& state) {
    double ordered = 0.0;
    double spent = 0.0;
    double inUnit = 0.0;
    for (auto _ : state) {
        state.PauseTiming();
        const test_support::TemporaryFolder folder;
        bench_client::BenchRig rig(fiveSettings(), folder.path);
        rig.time.waited = 0;
        rig.time.sleepsReally = true;
        rig.time.inUnit = {};
        state.ResumeTiming();
        const Clock::time_point begin = Clock::now();
        rig.channel->calibrate();
        spent += seconds(Clock::now() - begin);
        ordered += static_cast<double>(rig.time.waited) / 1000;
        inUnit += seconds(rig.time.inUnit);
        state.PauseTiming();
        if (rig.inside().clocking().frequencySetting != 4) {
            state.SkipWithError("another setting was chosen");
        }
        state.ResumeTiming();
    }
    const auto runs = static_cast<double>(state.iterations());
    state.counters["ordered"] = ordered / runs;
    state.counters["whole"] = spent / runs;
    state.counters["unit"] = inUnit / runs;
    state.counters["own"] = (spent - inUnit - ordered) / runs;
}
BENCHMARK(wholeCalibration)->UseRealTime();

} // namespace

void reportWhole(benchmarks::Report& report) {
    using namespace benchmarks;
    const std::string name = "wholeCalibration/real_time";
    report.ratio("calibration with five settings: time against the waits that it orders", counterOf(name, "whole"),
                 counterOf(name, "ordered"), atMost(1.2));
    report.figure("  waits that it orders", counterOf(name, "ordered"), "s");
    report.figure("  in the simulated unit", counterOf(name, "unit"), "s");
    report.figure("  mathematics, diagnostic files, verification, late wake-ups", counterOf(name, "own"), "s");
}
