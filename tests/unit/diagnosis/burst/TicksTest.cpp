#include "diagnosis/burst/Ticks.h"

#include <gmock/gmock.h>

#include <limits>

namespace {

using diagnosis::page::roundStep;
using diagnosis::page::roundTicks;
using testing::DoubleNear;
using testing::ElementsAre;
using testing::IsEmpty;

TEST(Ticks, AreAtRoundNumbers) {
    EXPECT_DOUBLE_EQ(roundStep(10.0, 10), 1.0);
    EXPECT_DOUBLE_EQ(roundStep(11.0, 10), 2.0);
    EXPECT_DOUBLE_EQ(roundStep(0.3, 10), 0.05);
    EXPECT_DOUBLE_EQ(roundStep(8192.0, 10), 1000.0);
    EXPECT_THAT(roundTicks(-5.6, 5.6, 8), ElementsAre(-4.0, -2.0, 0.0, 2.0, 4.0));
    EXPECT_THAT(roundTicks(3725.0, 3890.0, 9), ElementsAre(3740, 3760, 3780, 3800, 3820, 3840, 3860, 3880));
    EXPECT_THAT(roundTicks(0.0, 0.3, 3),
                ElementsAre(0.0, DoubleNear(0.1, 1e-12), DoubleNear(0.2, 1e-12), DoubleNear(0.3, 1e-12)));
}

TEST(Ticks, WithoutARangeThereAreNone) {
    EXPECT_THAT(roundTicks(1.0, 1.0, 5), IsEmpty());
    EXPECT_THAT(roundTicks(0.0, std::numeric_limits<double>::infinity(), 5), IsEmpty());
    EXPECT_THAT(roundTicks(0.0, std::numeric_limits<double>::quiet_NaN(), 5), IsEmpty());
}

} // namespace
