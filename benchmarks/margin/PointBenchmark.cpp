#include "benchmarks/margin/OrderedSleeps.h"
#include "benchmarks/margin/ScanRig.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <vector>

// The points of a quick scan: every delay from one wall to past the other, and the walls once more with more bits.

namespace margin_benchmark {

namespace {

using Clock = std::chrono::steady_clock;

struct PointCost {
    double whole, ordered, late, sleeps;
    double ratio() const { return whole / ordered; }
};

PointCost costOf(const std::function<void()>& measure) {
    const OrderedSleeps before = orderedSleeps();
    const auto begun = Clock::now();
    measure();
    const double whole = std::chrono::duration<double>(Clock::now() - begun).count();
    const OrderedSleeps after = orderedSleeps();
    const double ordered = after.ordered - before.ordered;
    return {whole, ordered, after.slept - before.slept - ordered, static_cast<double>(after.count - before.count)};
}

double ratioAt(const std::vector<PointCost>& points, double share) {
    return points[static_cast<std::size_t>(share * static_cast<double>(points.size() - 1) + 0.5)].ratio();
}

void points(benchmark::State& state) {
    rig();
    std::vector<PointCost> costs;
    for (auto _ : state) {
        const auto begun = Clock::now();
        rig().scan([&](const std::function<void()>& measure) { costs.push_back(costOf(measure)); });
        state.SetIterationTime(std::chrono::duration<double>(Clock::now() - begun).count());
    }
    PointCost sum{};
    for (const PointCost& each : costs) {
        sum = {sum.whole + each.whole, sum.ordered + each.ordered, sum.late + each.late, sum.sleeps + each.sleeps};
    }
    std::ranges::sort(costs, {}, &PointCost::ratio);
    const auto count = static_cast<double>(costs.size());
    state.counters["whole"] = sum.whole / count;
    state.counters["ordered"] = sum.ordered / count;
    state.counters["late"] = sum.late / count;
    state.counters["own"] = (sum.whole - sum.ordered - sum.late) / count;
    state.counters["sleeps"] = sum.sleeps / count;
    state.counters["points"] = count;
    state.counters["least"] = costs.front().ratio();
    state.counters["median"] = ratioAt(costs, 0.5);
    state.counters["most"] = costs.back().ratio();
}
BENCHMARK(points)->UseManualTime()->Iterations(1);

} // namespace

} // namespace margin_benchmark
