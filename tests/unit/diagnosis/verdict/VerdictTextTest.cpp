#include "diagnosis/verdict/RunVerdict.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace diagnosis {
namespace {

RunVerdict thin() {
    RunVerdict verdict;
    verdict.kind = RunVerdict::Kind::Thin;
    verdict.reasons = {{"margin-thin", "D1 (EMU2) is close to the edge"}, {"words-few", "too few"}};
    verdict.evidence = {{"margins", true, "measured"}};
    verdict.hertz = 50e6;
    verdict.bitsPerSecond = 400e6;
    verdict.worstMargin = WorstMargin{3, "D1 (EMU2)", false, 1.234, 0.881, 8.81, 3.3};
    verdict.errorRate = ErrorRate{2'080'000, 0, 1.44e-6};
    return verdict;
}

TEST(VerdictText, OneLineHasRateMarginLimitAndTheFirstReason) {
    EXPECT_EQ(verdictLine(thin()), "verdict: thin, 50 MHz, 400 Mbit/s, hold margin of D1 (EMU2) 1.2 samples "
                                   "(0.9 ns, 9 % of the bit), limit 3.3, below 1.4e-6 errors per bit: D1 (EMU2) "
                                   "is close to the edge");
    EXPECT_EQ(verdictLine({}), "verdict: unknown");
}

TEST(VerdictText, RatesAreWrittenTheSameOnEverySystem) {
    EXPECT_EQ(rateText(1e-9), "1e-9");
    EXPECT_EQ(rateText(1.44e-6), "1.4e-6");
    EXPECT_EQ(rateText(9.99e-10), "1e-9");
    EXPECT_EQ(rateText(0.0), "0");
    EXPECT_EQ(rateText(1.0), "1e0");
}

TEST(VerdictText, JsonHasAllOfIt) {
    const nlohmann::json json = verdictJson(thin());
    EXPECT_EQ(json.at("kind"), "thin");
    EXPECT_EQ(json.at("reasons").at(1).at("slug"), "words-few");
    EXPECT_EQ(json.at("worstMargin").at("pin"), "data3");
    EXPECT_EQ(json.at("worstMargin").at("side"), "hold");
    EXPECT_EQ(json.at("errorRate").at("bits"), 2'080'000);
    EXPECT_TRUE(verdictJson({}).at("worstMargin").is_null());
    EXPECT_TRUE(verdictJson({}).at("errorRate").is_null());
}

} // namespace
} // namespace diagnosis
