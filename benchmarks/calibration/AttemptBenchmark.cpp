#include "benchmarks/calibration/Bursts.h"
#include "benchmarks/calibration/Ratios.h"
#include "client/analysis/Alignment.h"
#include "client/analysis/Margins.h"
#include "client/analysis/Rates.h"
#include "client/analysis/SamplingPosition.h"

#include <benchmark/benchmark.h>

// All mathematics of one attempt, in its order.

namespace {

using namespace VX_QRS::ORV::CLIENT;

void mathematicsOfAnAttempt(benchmark::State& state) {
    const FullBurst full;
    const analysis::Burst& burst = full.burst;
    Metrics m;
    for (auto _ : state) {
        ProcCal pin;
        for (std::uint32_t p = 0; p < burst.numPins; ++p) {
            analysis::applyConditioning(burst.oversampling, pin);
        }
        benchmark::DoNotOptimize(analysis::samplingPosition(analysis::countSamplingPositions(burst)));
        analysis::stretch(burst, 0.5, m);
        analysis::alignDataWithData(burst, 1, m);
        analysis::formatDelays(burst.numPins, m);
        analysis::correlateAtZero(burst, 1, m);
        analysis::findMargin(burst, 0, m);
        benchmark::DoNotOptimize(analysis::clockMargins(burst, m));
        analysis::centreClock(1, m);
        analysis::formatDelays(burst.numPins, m);
        analysis::findMargin(burst, 0, m);
        benchmark::DoNotOptimize(m);
        benchmark::DoNotOptimize(pin);
    }
}
BENCHMARK(mathematicsOfAnAttempt)->UseRealTime();

} // namespace

void reportAttempt(benchmarks::Report& report) {
    using namespace benchmarks;
    report.figure("all mathematics of one attempt, 7 data pins", secondsOf("mathematicsOfAnAttempt/real_time"), "s",
                  atMost(2e-3));
}
