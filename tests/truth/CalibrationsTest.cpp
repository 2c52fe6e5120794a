#include "bench/wiring/ContentShift.h"
#include "tests/support/bench_client/BenchRig.h"
#include "tests/support/scratch/TemporaryFolder.h"
#include "tests/truth/TruthTable.h"
#include "tests/truth/Wirings.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <set>
#include <string>

// Whole calibrations over the bench's unit, compared with the bench's truth about the wiring.

namespace truth {
namespace {

std::filesystem::path baseline(const std::string& name) {
    return std::filesystem::path(ORV_TRUTH_BASELINES) / name;
}

TEST(RandomWirings, CoverTheirWholeRanges) {
    double lowestRate = 1e12;
    double highestRate = 0;
    double skew[2] = {9, -9};
    double duty[2] = {9, -9};
    double jitter[2] = {9, -9};
    std::set<unsigned> pins;
    std::set<std::size_t> settings;
    unsigned edges = 0;
    constexpr unsigned drawn = 500;
    for (unsigned seed = 1; seed <= drawn; ++seed) {
        const bench::Scenario scenario = drawScenario(seed, bench::ExportKind::Pti);
        pins.insert(scenario.pins);
        settings.insert(scenario.transmitter.frequencies.size());
        edges += scenario.wiring.alignment == bench::Alignment::Edge ? 1 : 0;
        lowestRate = std::min(lowestRate, scenario.transmitter.frequencies.front());
        highestRate = std::max(highestRate, scenario.transmitter.frequencies.back());
        EXPECT_TRUE(std::ranges::is_sorted(scenario.transmitter.frequencies)) << seed;
        jitter[0] = std::min(jitter[0], scenario.wiring.jitter);
        jitter[1] = std::max(jitter[1], scenario.wiring.jitter);
        ASSERT_EQ(scenario.wiring.pins.size(), scenario.pins + 1);
        for (const bench::PinWiring& pin : scenario.wiring.pins) {
            skew[0] = std::min(skew[0], pin.skew);
            skew[1] = std::max(skew[1], pin.skew);
            duty[0] = std::min(duty[0], pin.lateFall);
            duty[1] = std::max(duty[1], pin.lateFall);
        }
    }
    const auto covers = [](const double(&seen)[2], double low, double high) {
        const double slack = 0.02 * (high - low);
        EXPECT_GE(seen[0], low);
        EXPECT_LE(seen[0], low + slack);
        EXPECT_GE(seen[1], high - slack);
        EXPECT_LE(seen[1], high);
    };
    covers(skew, 0.0, 3.0);
    covers(duty, 0.0, 1.0);
    covers(jitter, 0.0, 0.4);
    covers({lowestRate, highestRate}, 8e6, 130e6);
    EXPECT_THAT(pins, testing::ElementsAre(1U, 2U, 4U));
    EXPECT_THAT(settings, testing::ElementsAre(1U, 2U, 3U, 4U, 5U, 6U));
    EXPECT_GT(edges, drawn * 2 / 5);
    EXPECT_LT(edges, drawn * 3 / 5);
}

TEST(Judging, RequiresTheMiddleSeventyPercentOfEveryEyeInOneSlot) {
    const auto of = [](EyePosition a, EyePosition b) { return positionOf(std::vector{a, b}); };
    const EyePosition good{3, 12.0, 0.15, 0.85};
    EXPECT_TRUE(of(good, good).right());
    EXPECT_FALSE(of(good, {3, 12.0, 0.149, 0.5}).central);
    EXPECT_FALSE(of(good, {3, 12.0, 0.5, 0.851}).central);
    EXPECT_TRUE(of(good, {3, 12.0, 0.5, 0.851}).sameSlot);
    EXPECT_FALSE(of(good, {2, 12.0, 0.5, 0.5}).sameSlot);
    EXPECT_FALSE(of({3, 0.0, 0.5, 0.5}, good).sameSlot); // a closed eye
}

/// Compares the first wirings with a baseline, and then as many as this build judges.
TruthTable judgeAndCompare(const std::string& kindText, bench::ExportKind kind, std::uint64_t firstSeed,
                           std::initializer_list<unsigned> counts, unsigned mostWirings,
                           const Board& board = kindBoard) {
    TruthTable table;
    for (const unsigned count : counts) {
        if (count <= mostWirings) {
            judgeUpTo(count, table, firstSeed, kind, board);
            const std::string text = table.text(kindText + ", " + std::to_string(count) + " wirings");
            std::printf("%s\n", text.c_str());
            EXPECT_EQ(differenceFrom(baseline(kindText + "-" + std::to_string(count) + ".txt"), text), "");
        }
    }
    EXPECT_EQ(table.total(), mostWirings);
    return table;
}

TEST(RandomWirings, OfPtiHaveTheOutcomesOfTheBaseline) {
    const TruthTable table = judgeAndCompare("pti", bench::ExportKind::Pti, 1, {100, 500}, ORV_TRUTH_PTI_WIRINGS);
    for (const TruthTable::Case& wrong : table.wrong) {
        std::printf("wrong: %s\n", wrong.report.c_str());
        EXPECT_TRUE(wrong.sameSlot) << "words were sampled from different slots and verified: " << wrong.report;
    }
}

TEST(RandomWirings, OfTpiuHaveTheOutcomesOfTheBaseline) {
    judgeAndCompare("tpiu", bench::ExportKind::Tpiu, 100001, {50, 200}, ORV_TRUTH_TPIU_WIRINGS);
}

// How many of these wirings calibrate and are wrong is what "f0" does not show.
TEST(RandomWirings, OfUnkindBoardsHaveTheOutcomesOfTheBaseline) {
    judgeAndCompare("unkind", bench::ExportKind::Pti, 1, {100}, 100, unkindBoard);
}

TEST(RandomWirings, OfUnkindBoardsAreTheKindOnesWithMemoryAndCoupling) {
    double memory[2] = {9, -9};
    double coupling[2] = {9, -9};
    for (unsigned seed = 1; seed <= 500; ++seed) {
        bench::Scenario scenario = drawScenario(seed, bench::ExportKind::Pti, unkindBoard);
        for (bench::PinWiring& pin : scenario.wiring.pins) {
            memory[0] = std::min(memory[0], pin.memory);
            memory[1] = std::max(memory[1], pin.memory);
            coupling[0] = std::min(coupling[0], pin.coupling);
            coupling[1] = std::max(coupling[1], pin.coupling);
            pin.memory = 0.0;
            pin.coupling = 0.0;
        }
        EXPECT_EQ(scenarioText(scenario), scenarioText(drawScenario(seed, bench::ExportKind::Pti))) << seed;
    }
    EXPECT_LT(coupling[0], 0.01);
    EXPECT_GT(coupling[1], 0.59);
    EXPECT_LT(coupling[1], 0.6);
    // At 100 MHz half a period has 7 samples.
    EXPECT_LT(bench::LineMemory(memory[0], 7.0).latest(), 0.01);
    EXPECT_NEAR(bench::LineMemory(memory[1], 7.0).latest(), 0.6, 0.01);
    EXPECT_NEAR(memory[1], 3.9, 0.05);
}

TEST(Baselines, AreComparedSeedBySeed) {
    const test_support::TemporaryFolder folder;
    const auto tableOf = [](std::initializer_list<Outcome> outcomes) {
        TruthTable table;
        std::uint64_t seed = 7;
        for (const Outcome outcome : outcomes) {
            Verdict verdict;
            verdict.outcome = outcome;
            verdict.megahertz = 55;
            table.add(seed++, verdict);
        }
        return table.text("some");
    };
    const std::string before = tableOf({Outcome::right, Outcome::refused, Outcome::thin});
    std::ofstream(folder.path / "before.txt") << before;
    EXPECT_EQ(differenceFrom(folder.path / "before.txt", before), "");
    const std::string said =
        differenceFrom(folder.path / "before.txt", tableOf({Outcome::right, Outcome::wrong, Outcome::thin}));
    EXPECT_THAT(said, testing::HasSubstr("seed 8 was refused and is wrong"));
    EXPECT_THAT(said, testing::HasSubstr("ORV_TRUTH_RENEW=1"));
    EXPECT_THAT(said, testing::Not(testing::HasSubstr("seed 7")));
    EXPECT_THAT(differenceFrom(folder.path / "none.txt", before),
                testing::HasSubstr("seed 7 was nothing and is right"));
}

} // namespace
} // namespace truth
