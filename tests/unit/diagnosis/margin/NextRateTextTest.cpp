#include "diagnosis/margin/MarginScan.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

namespace diagnosis {
namespace {

using testing::HasSubstr;

faster::NextRate nextRate() {
    faster::NextRate next;
    next.hertz = 95e6;
    next.limit = "the calibration's vote is undecided";
    return next;
}

const std::vector<std::string> titles{"D3 (EMU4)", "D2 (EMU3)"};

TEST(NextRateText, NamesTheWireItsWayAndWhatItBuys) {
    faster::NextRate next = nextRate();
    next.move = faster::WireMove{1, -3, 95e6, 1.4e9, 1.12};
    EXPECT_EQ(faster::nextRateText(next, titles),
              "95 MHz fails: D2 (EMU3) comes 2.1 ns late; with it moved the next rate would have 0.8 ns");
    next.move->samples = 3;
    next.move->hertz = 100e6;
    EXPECT_EQ(faster::nextRateText(next, titles),
              "95 MHz fails: D2 (EMU3) comes 2.1 ns early; with it moved 100 MHz would have 0.8 ns");
}

TEST(NextRateText, WithoutASureMoveSaysWhatLimits) {
    faster::NextRate next = nextRate();
    EXPECT_EQ(faster::nextRateText(next, titles),
              "95 MHz fails: the calibration's vote is undecided; no single wire's move is sure to mend that");
    next.tuned = true;
    EXPECT_THAT(faster::nextRateText(next, titles), HasSubstr(", orvtrace tune finds values that do"));
}

TEST(NextRateText, IsPartOfTheAnswerAndOfTheJson) {
    RateScan rate;
    rate.hertz = 95e6;
    rate.sampleRate = 1.4e9;
    rate.refusal = "clock margin too low";
    rate.titles = titles;
    EXPECT_EQ(marginAnswer({rate}), "95 MHz is not scanned: clock margin too low\n");
    EXPECT_TRUE(marginJson({rate}).at(0).at("next").is_null());
    rate.next = nextRate();
    rate.next->move = faster::WireMove{1, -3, 95e6, 1.4e9, 1.12};
    EXPECT_THAT(marginAnswer({rate}), HasSubstr("95 MHz fails: D2 (EMU3) comes 2.1 ns late"));
    const nlohmann::json move = marginJson({rate}).at(0).at("next").at("move");
    EXPECT_EQ(move.at("lane"), 1);
    EXPECT_EQ(move.at("samples"), -3);
    EXPECT_NEAR(move.at("marginPicoseconds").get<double>(), 800.0, 0.1);
}

} // namespace
} // namespace diagnosis
