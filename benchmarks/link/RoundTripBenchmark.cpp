#include "benchmarks/link/Ratios.h"
#include "benchmarks/link/ServerProcess.h"

#include <benchmark/benchmark.h>

#include <array>
#include <string_view>

// A read of one register, against a bare send and recv of the same bytes.

using namespace VX_QRS::ORV;
using namespace MPX_GDB_AGENT;
using namespace std::string_view_literals;

namespace {

constexpr std::string_view request = "$m\x01\0\0\0\x01\0\0\0\x10\0\0\0\0\0\0\0#00"sv;
constexpr std::string_view reply = "$OK\x01\0\0\0\x10\0\0\0\0\0\0\0#00"sv;

void bareRoundTrip(benchmark::State& state) {
    const auto link = ServerProcess::get().connect();
    for (auto unused : state) {
        std::uint32_t count = 0;
        std::array<char, 256> bytes{};
        if (link->send(request.data(), static_cast<std::uint32_t>(request.size()), count) != IoOk) {
            state.SkipWithError("nothing was sent");
        }
        for (std::size_t got = 0; got < reply.size(); got += count) {
            if (link->receive(bytes.data(), static_cast<std::uint32_t>(bytes.size()), count) != IoOk) {
                state.SkipWithError("nothing was received");
                break;
            }
        }
    }
    link->closeClient();
}

void registerRead(benchmark::State& state) {
    const auto client = ServerProcess::get().client();
    for (auto unused : state) {
        RegisterAccess access{1, 0x10, 0};
        client->read(&access, 1);
        if (access.kind != 1 || access.address != 0x10) {
            state.SkipWithError("another register was read");
        }
    }
}

BENCHMARK(bareRoundTrip)->UseRealTime();
BENCHMARK(registerRead)->UseRealTime();

} // namespace

void reportRoundTrip(benchmarks::Report& report) {
    using namespace benchmarks;
    report.ratio("register read, time against a bare send and recv", secondsOf("registerRead/real_time"),
                 secondsOf("bareRoundTrip/real_time"), atMost(1.3));
    report.figure("register read", secondsOf("registerRead/real_time"), "s");
}
