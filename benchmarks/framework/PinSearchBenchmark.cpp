#include "benchmarks/framework/Ratios.h"
#include "pinmap/PinSearch.h"

#include <benchmark/benchmark.h>

#include <ctime>
#include <random>
#include <string>

// Four channels that request pins of one device with far more pin-outs than any real one.

using namespace Vx::Qrs::Trace::OrvRcvr;

namespace {

constexpr unsigned pinoutCount = 200;
constexpr unsigned listCount = 50; // of each pin-out
constexpr std::uint32_t pinCount = 64;
constexpr unsigned searches = 100; // of one measurement

Pinouts manyPinouts() {
    std::mt19937 random(200);
    std::uniform_int_distribution<std::uint32_t> pin(0, pinCount - 1);
    std::uniform_int_distribution<std::uint32_t> length(2, 6);
    Pinouts pinouts;
    for (unsigned i = 0; i < pinoutCount; ++i) {
        Pinout& pinout = pinouts["program " + std::to_string(i)];
        for (unsigned j = 0; j < listCount; ++j) {
            PinList list(length(random));
            for (std::uint32_t& number : list) {
                number = pin(random);
            }
            pinout[j % 2 == 0 ? "pti" : "tpiu"].push_back(list);
        }
    }
    return pinouts;
}

enum class Outcome { Found, NotFound };

void search(benchmark::State& state, const std::string& kindOfTheLast, Outcome expected) {
    const Pinouts pinouts = manyPinouts();
    // The one with the fewest pins is placed last.
    const PinRequests requests{{"core 0", {"pti", 4, false}},
                               {"core 1", {"tpiu", 4, false}},
                               {"core 2", {"pti", 2, false}},
                               {"core 3", {kindOfTheLast, 1, false}}};
    OwnerNames owners;
    for (auto unused : state) {
        PinGrants grants;
        std::string name;
        // Processor time: a search never waits, and the machine may be busy.
        const std::clock_t begin = std::clock();
        for (unsigned i = 0; i < searches; ++i) {
            if (searchPinouts(grants, name, pinouts, owners, requests, {}, {}) != (expected == Outcome::Found)) {
                state.SkipWithError("the search has an unexpected outcome");
            }
            benchmark::DoNotOptimize(grants);
        }
        state.SetIterationTime(static_cast<double>(std::clock() - begin) / CLOCKS_PER_SEC);
    }
}

void found(benchmark::State& state) {
    search(state, "tpiu", Outcome::Found);
}

// The longest search: the last request cannot be served, so all pin-outs are tried for all requests.
void foundNowhere(benchmark::State& state) {
    search(state, "no such kind", Outcome::NotFound);
}

BENCHMARK(found)->UseManualTime();
BENCHMARK(foundNowhere)->UseManualTime();

} // namespace

void reportPinSearch(benchmarks::Report& report) {
    using namespace benchmarks;
    Measured milliseconds = secondsOf("foundNowhere/manual_time");
    milliseconds.scale = 1e3 / searches;
    report.figure("search of 200 pin-outs with 50 lists each for 4 requests, in vain", milliseconds, "ms", atMost(1.0));
    milliseconds.benchmark = "found/manual_time";
    report.figure("the same where there is an answer", milliseconds, "ms", atMost(1.0));
}
