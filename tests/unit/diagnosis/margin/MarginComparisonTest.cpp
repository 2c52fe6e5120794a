#include "diagnosis/comparison/MarginComparison.h"
#include "diagnosis/margin/MarginScan.h"
#include "tests/unit/diagnosis/margin/SimulatedLanes.h"
#include "toolkit/ExitCode.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <string>
#include <vector>

namespace diagnosis {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

/// What `margin` writes about one rate.
nlohmann::json scanResult(double hertz, const std::vector<SimulatedLane>& lanes) {
    RateScan rate;
    rate.hertz = hertz;
    rate.sampleRate = 1.4e9;
    rate.plan = planFor(lanes, {27, {0, 2}});
    SimulatedLanes target(rate.plan, lanes, 9);
    rate.scan = scanEyes(rate.plan, [&](const Delays& delays, std::uint64_t bits) -> std::optional<TapCount> {
        return target.measure(delays, bits);
    });
    for (unsigned lane = 0; lane < lanes.size(); ++lane) {
        rate.titles.push_back("data " + std::to_string(lane + 1));
        rate.bursts.emplace_back();
        rate.eyes.push_back(eyeOf(lane, rate.scan.lanes[lane], rate.plan));
    }
    return {{"rates", marginJson({rate})}};
}

ScannedMargins read(const nlohmann::json& result) {
    return parseScannedMargins(result.dump(), "result.json");
}

const std::vector<SimulatedLane> board{{5.0, 3.0, 0.3}, {6.0, 9.0, 0.3}};

TEST(MarginComparison, OfOneScanWithItselfShowsNoChange) {
    const ScannedMargins margins = read(scanResult(50e6, board));
    const MarginComparison same = compareMargins(margins, margins);
    ASSERT_EQ(same.rates.size(), 1U);
    EXPECT_FALSE(same.shrink);
    EXPECT_EQ(same.rates[0].lanes[0].setup.change, 0.0);
    EXPECT_EQ(same.rates[0].lanes[1].hold.change, std::nullopt) << "both are cut off";
    EXPECT_FALSE(isWorse(same, 0.0));
    EXPECT_THAT(marginComparisonText(same, 100), HasSubstr("no margin shrank"));
}

TEST(MarginComparison, NamesTheWallThatCameNearer) {
    const ScannedMargins before = read(scanResult(50e6, board));
    const ScannedMargins after = read(scanResult(50.1e6, {{5.0, 3.0, 0.3}, {3.5, 9.0, 0.3}}));
    const MarginComparison moved = compareMargins(before, after);
    ASSERT_TRUE(moved.shrink);
    EXPECT_EQ(moved.shrink->title, "data 2");
    EXPECT_TRUE(moved.shrink->isSetup);
    EXPECT_NEAR(moved.shrink->samples, 2.5, 0.6);
    EXPECT_TRUE(isWorse(moved, 1.0));
    EXPECT_FALSE(isWorse(moved, 4.0));
    const nlohmann::json object = marginComparisonJson(moved);
    EXPECT_EQ(object.at("shrink").at("side"), "setup");
    EXPECT_LT(object.at("rates").at(0).at("lanes").at(1).at("setup").at("change").get<double>(), -1.0);
    EXPECT_THAT(marginComparisonPage(moved), HasSubstr("data 2 shrank most"));
}

TEST(MarginComparison, AWallThatIsCutOffBoundsTheChange) {
    const ScannedWall cut{"clipped", 3.0};
    const auto measured = [](double margin) { return ScannedWall{"bound-only", margin}; };
    EXPECT_EQ(wallChange(cut, measured(2.0)).change, -1.0) << "it was 3 at least";
    EXPECT_TRUE(wallChange(cut, measured(2.0)).isBound);
    EXPECT_EQ(wallChange(cut, measured(4.0)).change, std::nullopt);
    EXPECT_EQ(wallChange(measured(2.0), cut).change, 1.0);
    EXPECT_EQ(wallChange(measured(4.0), cut).change, std::nullopt);
    EXPECT_EQ(wallChange({"not-measured", std::nullopt}, measured(4.0)).change, std::nullopt);
}

TEST(MarginComparison, ARateThatIsNoLongerSoundIsLost) {
    const ScannedMargins before = read(scanResult(50e6, board));
    ScannedMargins after = before;
    after[0].lanes.clear();
    after[0].refusal = "clock margin too low";
    const MarginComparison refused = compareMargins(before, after);
    EXPECT_THAT(refused.lost, ElementsAre(50e6));
    EXPECT_TRUE(isWorse(refused, 100.0));
    after = before;
    after[0].hasErrors = true;
    EXPECT_THAT(compareMargins(before, after).lost, ElementsAre(50e6));
    EXPECT_TRUE(compareMargins(after, before).lost.empty());
}

TEST(MarginComparison, RatesOfOneScanOnlyAreNamed) {
    const MarginComparison other = compareMargins(read(scanResult(50e6, board)), read(scanResult(25e6, board)));
    EXPECT_THAT(other.onlyInOne, ElementsAre("50 MHz is only in A", "25 MHz is only in B"));
    EXPECT_TRUE(other.rates.empty());
}

TEST(MarginComparison, RejectsWhatIsNoResult) {
    for (const char* text : {"", "[]", "{}", R"({"rates":[1]})", R"({"rates":[{"hertz":"x"}]})",
                             R"({"rates":[{"hertz":1,"sampleRate":1,"refusal":null,"lanes":[{}]}]})"}) {
        try {
            parseScannedMargins(text, "some.json");
            ADD_FAILURE() << text;
        } catch (const toolkit::Failure& failure) {
            EXPECT_EQ(failure.code, toolkit::ExitCode::BadInput);
            EXPECT_THAT(failure.what(), HasSubstr("some.json: no result of orvtrace margin --json: "));
        }
    }
}

} // namespace
} // namespace diagnosis
