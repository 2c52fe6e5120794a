#include "bench/signal/WordStream.h"
#include "tests/road/Orvtrace.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <sstream>
#include <vector>

// Wirings whose edges depend on the content: calibration and its verification look at patterns without the worst
// edges, so they pass, and trace comes back wrong. Nothing in the run says so.

namespace {

using nlohmann::json;

constexpr std::uint64_t seed = 7; // of both scenarios: it selects the generated trace

struct Compared {
    std::uint64_t words = 0;
    std::uint64_t wrong = 0;
};

/// The recorded packets against the words that the target sent.
Compared compare(const RunSpace& space, const std::string& recorded, unsigned syncEvery) {
    std::istringstream lines(readBytes(space.file("run") / "bench" / "contents.jsonl"));
    json contents;
    for (std::string line; std::getline(lines, line);) {
        contents = json::parse(line);
    }
    EXPECT_EQ(contents.at("framing"), "packets");
    const json& run = contents.at("runs").at(0);
    const bench::WordStream sent(bench::makeGeneratedTrace(seed), syncEvery);
    const auto first = run.at("first_word").get<std::uint64_t>();
    const auto count = run.at("words").get<std::uint64_t>();
    Compared compared;
    for (std::uint64_t word = 0; word < count; ++word, ++compared.words) {
        const std::size_t at = word / 255 * 512 + word % 255 * 2;
        const unsigned low = static_cast<unsigned char>(recorded.at(at));
        const unsigned high = static_cast<unsigned char>(recorded.at(at + 1));
        compared.wrong += sent.at(first + word) != (low | (high << 8)) ? 1U : 0U;
    }
    return compared;
}

void expectCalibratedAndWrong(const std::string& scenario, unsigned syncEvery, unsigned atLeast) {
    const RunSpace space;
    const Outcome run = space.record(scenario, {"--raw", space.file("raw.bin").string()});
    ASSERT_EQ(run.code, 0) << run.errors;
    EXPECT_EQ(run.json.at("outcome"), "done");
    EXPECT_TRUE(run.json.at("calibration").at("calibrated").get<bool>());
    const Compared compared = compare(space, readBytes(space.file("raw.bin")), syncEvery);
    EXPECT_EQ(compared.words, 1024U * 255U);
    EXPECT_GT(compared.wrong, atLeast);
    EXPECT_LT(compared.wrong, compared.words / 20) << "single bits, not another slot";
    // The bench knows.
    double worst = 0.0;
    const std::vector<json> truth = truthOf(run);
    ASSERT_FALSE(truth.empty());
    for (const json& pin : truth.back().at("pins")) {
        EXPECT_EQ(pin.at("slot"), 0);
        worst = std::max(worst, pin.at("error_rate").get<double>());
    }
    EXPECT_GT(worst, 1e-4);
}

TEST(UnkindBoard, AWireWithMemoryCalibratesAndItsTraceIsWrong) {
    expectCalibratedAndWrong("memory", 64, 300);
}

TEST(UnkindBoard, CoupledWiresCalibrateAndTheirTraceIsWrong) {
    expectCalibratedAndWrong("coupling", 0, 50);
}

// The same board without the two keys is sound.
TEST(UnkindBoard, WithoutMemoryTheSameWireIsSound) {
    const RunSpace space;
    const auto scenario = space.write("kind.toml", "cpu = \"bench/app\"\npins = 4\n[settings]\nbuffer = 1\n"
                                                   "stop_on_full = true\n[transmitter]\nfrequencies = [118e6]\n"
                                                   "[wiring]\njitter = 0.05\nseed = 7\n");
    const Outcome run = space.record(scenario.string(), {"--raw", space.file("raw.bin").string()});
    ASSERT_EQ(run.code, 0) << run.errors;
    EXPECT_EQ(compare(space, readBytes(space.file("raw.bin")), 64).wrong, 0U);
}

} // namespace
