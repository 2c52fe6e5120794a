#include "diagnosis/margin/MarginScan.h"
#include "tests/unit/diagnosis/margin/SimulatedLanes.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <string>
#include <vector>

namespace diagnosis {
namespace {

using testing::HasSubstr;
using testing::Not;

/// A scanned rate with a clock delay of 27: the second lane's delay reaches further than the first one's.
RateScan scannedRate(double hertz, const std::vector<SimulatedLane>& lanes) {
    RateScan rate;
    rate.hertz = hertz;
    rate.sampleRate = 1.4e9;
    rate.pattern = "walk";
    rate.plan = planFor(lanes, {27, {0, 2}});
    rate.stretches = {0, 0, 0};
    SimulatedLanes target(rate.plan, lanes, 9);
    rate.scan = scanEyes(rate.plan, [&](const Delays& delays, std::uint64_t bits) -> std::optional<TapCount> {
        return target.measure(delays, bits);
    });
    for (unsigned lane = 0; lane < lanes.size(); ++lane) {
        rate.titles.push_back("data " + std::to_string(lane + 1));
        LaneMargins burst;
        burst.setup = lanes[lane].setup;
        burst.hold = lanes[lane].hold;
        burst.jitter = lanes[lane].jitter;
        rate.bursts.emplace_back(burst);
        rate.eyes.push_back(eyeOf(lane, rate.scan.lanes[lane], rate.plan));
    }
    return rate;
}

RateScan refusedRate(double hertz, const std::string& reason) {
    RateScan rate;
    rate.hertz = hertz;
    rate.sampleRate = 1.4e9;
    rate.refusal = reason;
    return rate;
}

const std::vector<SimulatedLane> wide{{5.0, 9.0, 0.3}, {6.0, 9.0, 0.3}};

TEST(MarginAnswer, NamesTheFastestSoundRateItsLeastMarginAndWhyFasterOnesWereNotScanned) {
    const MarginScan scan{scannedRate(50e6, wide), refusedRate(95e6, "clock margin too low")};
    const std::string answer = marginAnswer(scan);
    EXPECT_THAT(answer, HasSubstr("50 MHz is sound with "));
    EXPECT_THAT(answer, HasSubstr("the least margin is the setup margin of data 1, "));
    EXPECT_THAT(answer, HasSubstr("95 MHz is not scanned: clock margin too low\n"));
}

TEST(MarginAnswer, AWallOutOfRangeCountsByTheBurst) {
    const auto least = leastMarginOf(scannedRate(50e6, {{9.0, 7.0, 0.3}, {9.0, 9.0, 0.3}}));
    ASSERT_TRUE(least);
    EXPECT_TRUE(least->byBurst);
    EXPECT_FALSE(least->isSetup);
    EXPECT_NEAR(least->samples, 7.0 - 3.09 * 0.3, 0.01); // the delays show 4 samples of it
}

TEST(MarginAnswer, ErrorsAtTheKeptValuesAreWrong) {
    const std::string answer = marginAnswer({scannedRate(50e6, {{6.0, 0.4, 0.4}, {6.0, 6.0, 0.3}})});
    EXPECT_THAT(answer, HasSubstr("50 MHz is wrong: data 1 has "));
    EXPECT_THAT(answer, Not(HasSubstr("sound")));
}

TEST(MarginText, ShowsAPictureOfEachLaneAndFourMarksOverTheRates) {
    const MarginScan scan{scannedRate(25e6, wide), scannedRate(50e6, {{3.0, 3.0, 0.3}, {3.0, 3.0, 0.3}}),
                          refusedRate(95e6, "clock margin too low")};
    const std::string text = marginText(scan, 100);
    EXPECT_THAT(text, HasSubstr("data 1: cut off by the range of delays, not closed"));
    EXPECT_THAT(text, HasSubstr("95 MHz      not scanned: clock margin too low"));
    const std::string rates = text.substr(text.find("Rates against offsets"));
    for (const char* mark : {"-", "x", ".", "/"}) {
        EXPECT_THAT(rates.substr(0, rates.find("The worst lane")), HasSubstr(mark));
    }
}

TEST(MarginText, SaysWhereWallsAndBurstDisagree) {
    RateScan rate = scannedRate(50e6, wide);
    EXPECT_EQ(disagreementOf(rate, 0), "");
    rate.bursts[0]->setup += 2.5;
    EXPECT_THAT(disagreementOf(rate, 0), HasSubstr("setup margin 4."));
    EXPECT_THAT(disagreementOf(rate, 0), HasSubstr("by the calibration's burst 7.5"));
}

TEST(MarginJson, HasTheCountsOfEveryPoint) {
    const RateScan rate = scannedRate(50e6, wide);
    const nlohmann::json json = marginJson({rate}).at(0);
    const nlohmann::json lane = json.at("lanes").at(0);
    ASSERT_EQ(lane.at("points").size(), rate.scan.lanes[0].taps.size());
    std::uint64_t bits = 0;
    for (const nlohmann::json& point : lane.at("points")) {
        bits += point.at("bits").get<std::uint64_t>();
    }
    EXPECT_GT(bits, rate.plan.wallBits);
    EXPECT_EQ(lane.at("hold").at("state"), "clipped");
    EXPECT_EQ(lane.at("hold").at("marginSamples"), 4.0);
    EXPECT_TRUE(lane.at("widthAt1e-9").is_null());
}

TEST(MarginPage, IsOneFileWithAPictureOfEachLane) {
    const std::string page = marginPage({scannedRate(25e6, wide), scannedRate(50e6, wide)}, "bench/app");
    EXPECT_THAT(page, HasSubstr("range ends"));
    EXPECT_THAT(page, HasSubstr("Rates against the sampling point"));
    EXPECT_THAT(page, Not(HasSubstr("<script")));
    EXPECT_THAT(page, Not(HasSubstr("http://")));
}

} // namespace
} // namespace diagnosis
