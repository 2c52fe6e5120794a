#include "benchmarks/link/Ratios.h"
#include "link/Escape.h"

#include <benchmark/benchmark.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <random>
#include <span>
#include <vector>

using namespace MPX_GDB_AGENT;

// Escaping and unescaping alone, against a plain copy of the same number of bytes.

namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::size_t kibibyte = 1024;
// A record of the usual size and a large one, which stay in the caches, and a whole upload, which does not.
constexpr std::array<std::size_t, 3> sizesMeasured{64 * kibibyte, 1024 * kibibyte, 64 * 1024 * kibibyte};

enum Kind { Plain, Random };

const Bytes& content(Kind kind, std::size_t size) {
    static Bytes bytes;
    bytes.resize(size);
    std::mt19937 generator(1);
    for (std::uint8_t& byte : bytes) {
        byte = static_cast<std::uint8_t>(generator());
        while (kind == Plain && needsEscape(byte)) {
            byte = static_cast<std::uint8_t>(generator());
        }
    }
    return bytes;
}

void copy(benchmark::State& state) {
    const Bytes& in = content(static_cast<Kind>(state.range(0)), static_cast<std::size_t>(state.range(1)));
    Bytes out(2 * in.size());
    for (auto unused : state) {
        std::memcpy(out.data(), in.data(), in.size());
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
}

void escape(benchmark::State& state) {
    const Bytes& in = content(static_cast<Kind>(state.range(0)), static_cast<std::size_t>(state.range(1)));
    Bytes out(2 * in.size());
    for (auto unused : state) {
        benchmark::DoNotOptimize(escapeBytes(in, out.data()));
        benchmark::ClobberMemory();
    }
}

void unescape(benchmark::State& state) {
    const Bytes& plain = content(static_cast<Kind>(state.range(0)), static_cast<std::size_t>(state.range(1)));
    Bytes in(2 * plain.size());
    in.resize(escapeBytes(plain, in.data()));
    Bytes out(plain.size());
    for (auto unused : state) {
        benchmark::DoNotOptimize(unescapeBytes(in, out));
        benchmark::ClobberMemory();
    }
    if (out != plain) {
        state.SkipWithError("the bytes did not come back");
    }
}

void sizes(benchmark::internal::Benchmark* benchmark) {
    for (const Kind kind : {Plain, Random}) {
        for (const std::size_t size : sizesMeasured) {
            benchmark->Args({kind, static_cast<std::int64_t>(size)});
        }
    }
    benchmark->UseRealTime();
}

BENCHMARK(copy)->Apply(sizes);
BENCHMARK(escape)->Apply(sizes);
BENCHMARK(unescape)->Apply(sizes);

std::string named(const std::string& what, Kind kind, std::size_t size) {
    return what + "/" + std::to_string(kind) + "/" + std::to_string(size) + "/real_time";
}

} // namespace

void reportEscape(benchmarks::Report& report) {
    using namespace benchmarks;
    for (const std::size_t size : sizesMeasured) {
        const std::string amountText = " of " + std::to_string(size / 1024) + " KiB";
        const auto amount = static_cast<double>(size);
        for (const std::string what : {"escape", "unescape"}) {
            report.figure(what + amountText + " without escapes", perSecondOf(named(what, Plain, size), amount),
                          "byte/s", atLeast(2e9));
            report.ratio(what + amountText + " of random bytes, speed against a copy",
                         processorOf(named("copy", Random, size)), processorOf(named(what, Random, size)),
                         atLeast(0.5));
        }
        report.figure("copy" + amountText, perSecondOf(named("copy", Random, size), amount), "byte/s");
    }
}
