#include "tests/support/scratch/TemporaryFolder.h"
#include "tests/truth/ReuseTruth.h"
#include "tests/truth/Wirings.h"

#include <gtest/gtest.h>

// Values that the host chooses, on random wirings: a few of those that truth_tune and truth_reuse judge in numbers.

namespace truth {
namespace {

using bench_client::BenchRig;

TEST(Search, FindsSoundValuesWhereTheReceiverDoesNotAndKeepsNoneThatAreWrong) {
    unsigned found = 0;
    unsigned others = 0;
    for (std::uint64_t seed = 400001; others < 20; ++seed) {
        const test_support::TemporaryFolder folder;
        BenchRig rig(drawScenario(seed, bench::ExportKind::Pti), folder.path);
        const Calibrated before = calibrate(rig);
        if ((!before.refused && before.known == Known::sound) || usableSettings(rig.scenario) == 0) {
            continue;
        }
        ++others;
        const Tuned tuned = tuneAll(rig);
        found += tuned.sound() ? 1U : 0U;
        EXPECT_FALSE(tuned.setting && tuned.known == Known::wrong) << "seed " << seed;
    }
    EXPECT_GE(found, 18U);
}

TEST(Search, FindsTheSlotsOfAnExportWithoutSynchronisation) {
    unsigned found = 0;
    unsigned others = 0;
    for (std::uint64_t seed = 410001; others < 12; ++seed) {
        const test_support::TemporaryFolder folder;
        BenchRig rig(drawScenario(seed, bench::ExportKind::Tpiu), folder.path);
        const Calibrated before = calibrate(rig);
        if ((!before.refused && before.known == Known::sound) || usableSettings(rig.scenario) == 0) {
            continue;
        }
        ++others;
        const Tuned tuned = tuneAll(rig);
        found += tuned.sound() ? 1U : 0U;
        EXPECT_FALSE(tuned.setting && tuned.known == Known::wrong) << "seed " << seed;
    }
    EXPECT_GE(found, 10U);
}

TEST(Reuse, OfABoardThatHasNotMovedIsMadeAndItsCalibrationsAreEqual) {
    const ReuseCounts counts = judgeReuse(420001, 40, 0.0);
    EXPECT_GE(counts.reused + counts.notReusable, 39U) << counts.text();
    EXPECT_GE(counts.reused, 30U) << counts.text();
    EXPECT_EQ(counts.reusedWrong, 0U) << counts.text();
    EXPECT_EQ(counts.unequal, 0U) << counts.text();
}

TEST(Reuse, OfABoardThatHasDriftedIsNeverMadeWithWrongWords) {
    for (const double drift : {2.0, 8.0}) {
        const ReuseCounts counts = judgeReuse(430001, 25, drift);
        EXPECT_EQ(counts.reusedWrong, 0U) << counts.text();
        EXPECT_LT(counts.reused, 25U) << counts.text();
    }
}

} // namespace
} // namespace truth
