#include "benchmarks/calibration/Bursts.h"
#include "benchmarks/calibration/Ratios.h"
#include "client/analysis/Alignment.h"
#include "tests/unit/client/analysis/Reference.h"

#include <benchmark/benchmark.h>

// Deskewing seven data pins over 63 lags, in whole words and bit by bit.

namespace {

using VX_QRS::ORV::CLIENT::Metrics;

void alignInWords(benchmark::State& state) {
    const FullBurst full;
    Metrics m;
    for (auto _ : state) {
        VX_QRS::ORV::CLIENT::analysis::alignDataWithData(full.burst, 1, m);
        benchmark::DoNotOptimize(m);
    }
}
BENCHMARK(alignInWords)->UseRealTime();

void alignBitByBit(benchmark::State& state) {
    const FullBurst full;
    Metrics m;
    for (auto _ : state) {
        reference::align(full.burst, 1, "center", 1, m);
        benchmark::DoNotOptimize(m);
    }
}
BENCHMARK(alignBitByBit)->UseRealTime();

} // namespace

void reportAlign(benchmarks::Report& report) {
    using namespace benchmarks;
    report.ratio("alignment of 7 data pins over 63 lags: speed against bit by bit",
                 secondsOf("alignBitByBit/real_time"), secondsOf("alignInWords/real_time"), atLeast(50));
    report.figure("alignment of 7 data pins over 63 lags", secondsOf("alignInWords/real_time"), "s");
}
