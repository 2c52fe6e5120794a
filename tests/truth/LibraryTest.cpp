#include "tests/road/Orvtrace.h"
#include "tests/support/scratch/TemporaryFolder.h"
#include "tests/truth/Judgement.h"
#include "tests/truth/Wirings.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

// The same wirings through the shared library and the server process, in real time: the outcome is that of the channel
// in one process.

namespace truth {
namespace {

using nlohmann::json;

constexpr int calibrationRefused = 5; // the program's exit code

/// Wirings whose outcome does not depend on the noise in their bursts: it is the same at a hundred request durations
/// (`truth_many steady` searches them). In real time no two runs have the same noise.
constexpr std::uint64_t steadySeeds[] = {3, 4, 5, 7, 8, 9, 10, 11, 13, 14, 16, 17, 18, 21, 23, 24, 27, 28, 67, 193};

std::vector<EyePosition> eyesOf(const json& truth) {
    std::vector<EyePosition> eyes;
    for (const json& pin : truth.at("pins")) {
        eyes.push_back({pin.at("slot").get<std::int64_t>(), pin.at("eye").get<double>(),
                        pin.at("fraction_min").get<double>(), pin.at("fraction_max").get<double>()});
    }
    return eyes;
}

class ThroughTheLibrary : public testing::TestWithParam<std::uint64_t> {};

TEST_P(ThroughTheLibrary, AWiringHasTheOutcomeThatItHasInOneProcess) {
    const bench::Scenario scenario = drawScenario(GetParam(), bench::ExportKind::Pti);
    const test_support::TemporaryFolder folder;
    const Verdict expected = calibrateAndJudge(scenario, folder.path);

    const RunSpace space;
    const ::Outcome run = space.record(space.write("wiring.toml", scenarioText(scenario)).string(), {"--until-full"});
    ASSERT_TRUE(run.json.is_object()) << run.output << run.errors;
    if (expected.outcome == Outcome::refused) {
        EXPECT_EQ(run.code, calibrationRefused) << run.errors;
        EXPECT_THAT(run.json.at("error").at("text").get<std::string>(), testing::HasSubstr(expected.reason));
        return;
    }
    ASSERT_EQ(run.code, 0) << run.errors << "\nin one process: " << expected.description;
    EXPECT_EQ(run.json.at("calibration").at("setting").get<std::uint32_t>(), expected.setting);
    const std::vector<json> recordings = truthOf(run);
    ASSERT_FALSE(recordings.empty());
    const Position position = positionOf(eyesOf(recordings.back()));
    EXPECT_TRUE(position.sameSlot) << recordings.back();
    if (expected.outcome == Outcome::thin) {
        for (const json& pin : recordings.back().at("pins")) {
            EXPECT_LT(pin.at("error_rate").get<double>(), 1e-8) << pin; // none in ten verifications
        }
    }
    EXPECT_EQ(position.central, expected.position.central) << recordings.back() << "\n" << expected.description;
}

INSTANTIATE_TEST_SUITE_P(Seeds, ThroughTheLibrary, testing::ValuesIn(steadySeeds));

} // namespace
} // namespace truth
