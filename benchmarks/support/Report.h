#pragma once

#include <string>
#include <vector>

/// Shared by all benchmark programs. A program registers benchmarks with Google Benchmark as usual, names the ratios,
/// and runs:
///
///     void copy(benchmark::State& state) { for (auto _ : state) ...; }
///     BENCHMARK(copy)->UseRealTime();
///     void escape(benchmark::State& state) { ... }
///     BENCHMARK(escape)->UseRealTime();
///
///     int main(int argc, char** argv) {
///         using namespace benchmarks;
///         Report report;
///         report.ratio("speed of escaping against copying", secondsOf("copy/real_time"),
///                      secondsOf("escape/real_time"), atLeast(0.5));
///         report.figure("escaped bytes", perSecondOf("escape/real_time", 1 << 20), "byte/s", atLeast(2e9));
///         return report.run(argc, argv);
///     }
///
/// All benchmarks run once per round, one after another, so that other load of the machine affects both sides of a
/// ratio alike. A ratio is formed within each round and its median over the rounds is shown; so is a figure's. Names
/// are Google Benchmark's full ones, with arguments and suffixes ("upload/65536/real_time"); a name that was not run shows
/// as "not measured". Seconds are wall clock seconds per iteration, or the manual ones with UseManualTime.
///
/// In CMake: orv_benchmark(benchmark_<folder> SOURCES ... DEPENDS ...). Run by tools/run-benchmarks, or by hand with
/// --rounds=N (default 7) and Google Benchmark's own options, of which --benchmark_filter=REGEX and
/// --benchmark_min_time=SECONDS (default here 0.1, for each benchmark in each round) are the most useful.
namespace benchmarks {

/// One number per round: `scale` times the seconds per iteration or a counter of a benchmark, or `scale`
/// over it.
struct Measured {
    std::string benchmark;
    std::string counter; ///< empty: seconds per iteration
    bool inverse = false;
    double scale = 1.0;
};

/// @param scale for instance 1e3 for milliseconds.
Measured secondsOf(std::string benchmark, double scale = 1.0);
/// Processor time of the benchmark's thread per iteration, which load of the machine changes less. A benchmark that counts
/// more than its thread sets `state.counters["processor"]` itself.
Measured processorOf(std::string benchmark, double scale = 1.0);
/// Of a time per byte, bytes per second.
Measured inverse(Measured measured);
/// `amount` per second, where one iteration moves `amount`.
Measured perSecondOf(std::string benchmark, double amount);
/// The benchmark's `state.counters[counter]`. @param scale for instance 1.0 / (1 << 20) for MiB.
Measured counterOf(std::string benchmark, std::string counter, double scale = 1.0);

/// The target of a ratio or a figure.
struct Target {
    enum class Kind { None, AtLeast, AtMost };
    Kind kind = Kind::None;
    double bound = 0.0;
};

Target atLeast(double bound);
Target atMost(double bound);

class Report {
public:
    /// `of` over `against`, both of the same round.
    void ratio(std::string name, Measured of, Measured against, Target target = {});
    /// A number with its unit.
    void figure(std::string name, Measured what, std::string unit, Target target = {});

    /// Runs all benchmarks in rounds and prints the table. @return the program's exit code: 0 whether or not targets
    /// were reached, 1 when a benchmark failed, 2 for an unknown option.
    int run(int argc, char** argv);

private:
    struct Row {
        std::string name;
        Measured of;
        Measured against; // no benchmark: a figure
        std::string unit;
        Target target;
    };
    std::vector<Row> rows;
};

} // namespace benchmarks
