#include "diagnosis/comparison/Comparison.h"

#include <gmock/gmock.h>

namespace {

using namespace diagnosis;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

/// Clock and data pins, each with 6 samples before and 5 after the clock edge.
KeptCalibration kept(std::size_t dataPins) {
    KeptCalibration calibration;
    calibration.calibrated = true;
    calibration.hertz = 50e6;
    calibration.exportKind = "pti";
    for (std::size_t proc = 0; proc <= dataPins; ++proc) {
        KeptPin pin;
        pin.title = proc == 0 ? "CLK" : "D" + std::to_string(dataPins - proc);
        if (proc != 0) {
            pin.margins = LaneMargins{6.0, 5.0, 0.2, 0.1, 0.3, 14.0, 0.0, 500};
            pin.arrival = 3.0;
            pin.lateFall = 0.0;
        }
        calibration.pins.push_back(pin);
    }
    return calibration;
}

std::string textOf(const Comparison& comparison) {
    return comparisonText(comparison, 80);
}

TEST(ComparisonTest, AMarginMayShrinkByWhatIsAllowed) {
    KeptCalibration after = kept(4);
    after.pins[2].margins->hold = 3.0;
    const Comparison found = compare(kept(4), after);
    EXPECT_FALSE(isWorse(found, 2.0));
    EXPECT_TRUE(isWorse(found, 1.9));
    EXPECT_THAT(textOf(found), HasSubstr("the hold margin of D2 shrank most, by 2.0 samples (1.4 ns)\n"));
    EXPECT_FALSE(isWorse(compare(after, kept(4)), 0.0));
}

TEST(ComparisonTest, APinThatIsGoneIsWorse) {
    EXPECT_TRUE(isWorse(compare(kept(4), kept(2)), 100.0));
    EXPECT_FALSE(isWorse(compare(kept(2), kept(4)), 100.0));
    EXPECT_THAT(textOf(compare(kept(4), kept(2))), Not(HasSubstr("no margin shrank")));
}

TEST(ComparisonTest, MarginsThatAreGoneAreWorse) {
    KeptCalibration after = kept(1);
    after.pins[1].margins.reset();
    EXPECT_TRUE(isWorse(compare(kept(1), after), 100.0));
    EXPECT_FALSE(isWorse(compare(after, after), 100.0)) << "a slow clock has none, before and after";
}

TEST(ComparisonTest, ARefusedCalibrationIsWorseAndItsLanesAreNotCompared) {
    KeptCalibration after = kept(1);
    after.calibrated = false;
    after.pins[1].lateFall = 40.0;
    after.pins[1].margins->setup = 1.0;
    const Comparison found = compare(kept(1), after);
    EXPECT_TRUE(isWorse(found, 100.0));
    EXPECT_THAT(found.differences, testing::ElementsAre("B is not calibrated"));
    EXPECT_FALSE(found.shrink.has_value());
    EXPECT_THAT(textOf(found), Not(HasSubstr("shrank")));
}

TEST(ComparisonTest, TheSameCalibrationIsEqual) {
    const Comparison found = compare(kept(4), kept(4));
    EXPECT_TRUE(found.equal);
    EXPECT_THAT(found.differences, IsEmpty());
    EXPECT_THAT(textOf(found), HasSubstr("no margin shrank\n"));
}

} // namespace
