#include "diagnosis/analysis/LaneMargins.h"
#include "tests/unit/diagnosis/files/DrawnFiles.h"

#include <gtest/gtest.h>

namespace diagnosis {
namespace {

using drawn::samples;

constexpr std::size_t half = 14; ///< samples in half a clock period
constexpr std::size_t firstEdge = 3;

/// Changes with every clock edge, at distances from it that alternate between three values around `mean`.
std::optional<LaneMargins> measuredAround(int mean) {
    std::string data(samples, '0');
    char level = '0';
    std::size_t number = 0;
    std::size_t at = 0;
    for (std::size_t clock = firstEdge + half; clock + 2 * half < samples; clock += half) {
        constexpr int jitter[] = {0, -1, 0, 1};
        const std::size_t change = clock + static_cast<std::size_t>(mean + jitter[number++ / 2 % 4]);
        for (; at < change; ++at) {
            data[at] = level;
        }
        level = level == '0' ? '1' : '0';
    }
    for (; at < samples; ++at) {
        data[at] = level;
    }
    return measureLane(parseBurst(drawn::burst({drawn::square(samples, half, firstEdge), data}, drawn::head()), "x"),
                       1);
}

TEST(LaneMargins, AreMeanDistances) {
    const auto lane = measuredAround(8);
    ASSERT_TRUE(lane);
    EXPECT_NEAR(lane->setup, 6.0, 0.1);
    EXPECT_NEAR(lane->hold, 7.0, 0.1);
    EXPECT_LT(lane->mostJitter, 1.0);
}

TEST(LaneMargins, ChangesThatJitterPastAClockEdgeCountToTheirOwn) {
    const auto late = measuredAround(13); // a quarter of them with the next clock edge
    ASSERT_TRUE(late);
    EXPECT_NEAR(late->setup, 1.0, 0.1);
    EXPECT_NEAR(late->hold, 12.0, 0.1);
    EXPECT_LT(late->mostJitter, 1.0);
}

} // namespace
} // namespace diagnosis
