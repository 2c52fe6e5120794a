#include "tests/truth/MarginTruth.h"

#include <gtest/gtest.h>

#include <cstdio>

// A small part of what truth_margins does with many wirings.

namespace truth {
namespace {

TEST(MarginScans, OfRandomWiringsFindTheWallsThatTheBenchKnows) {
    const MarginTable table = judgeMargins(705001, 60);
    std::printf("%s", table.text().c_str());
    EXPECT_GT(table.lanes, 60U);
    EXPECT_GE(table.lanesWithin1 * 100, table.lanes * 97);
    EXPECT_EQ(table.lanesWithin2, table.lanes);
    EXPECT_EQ(table.boundsBroken, 0U);
    EXPECT_LE(table.others * 100, (table.walls + table.clipped) * 5);
    for (const std::string& miss : table.misses) {
        std::printf("%s\n", miss.c_str());
    }
}

TEST(MarginScans, JitterThatReachesTheKeptValuesMovesNoWall) {
    // Their setup walls still spoil bits at the kept values; in the hold walls that was once taken for the next slot.
    for (const std::uint64_t seed : {720564U, 720706U}) {
        const MarginTable table = judgeMargins(seed, 1, 3.0);
        EXPECT_EQ(table.walls, table.within1) << seed << '\n' << table.text();
        EXPECT_GE(table.walls, 4U) << seed;
        EXPECT_EQ(table.boundsBroken, 0U) << seed;
        EXPECT_EQ(table.others, 0U) << seed;
    }
}

TEST(MarginScans, OfAScanAfterAScanHaveTheSameTruth) {
    const bench::Scenario scenario = drawScenario(705003, bench::ExportKind::Pti);
    const auto first = scanWiring(scenario, 1);
    const auto second = scanWiring(scenario, 1);
    ASSERT_EQ(first.has_value(), second.has_value());
    for (std::size_t lane = 0; first && lane < first->walls.size(); ++lane) {
        EXPECT_EQ(first->walls[lane].setup, second->walls[lane].setup);
        EXPECT_EQ(first->rate.eyes[lane].setup.margin, second->rate.eyes[lane].setup.margin);
    }
}

} // namespace
} // namespace truth
