#include "diagnosis/verdict/RunVerdict.h"
#include "tests/support/scratch/TemporaryFolder.h"
#include "tests/truth/VerdictTable.h"

#include <gtest/gtest.h>

// What the bench knows of a run, which the verdict is compared with; and runs that were once called a fault without one.

namespace truth {
namespace {

using Kind = diagnosis::RunVerdict::Kind;

struct Judged {
    Verdict known;
    diagnosis::RunVerdict said;
};

Judged judged(std::uint64_t seed, bench::ExportKind kind) {
    const test_support::TemporaryFolder folder;
    diagnosis::DiagnosticSet set;
    Judged judged;
    judged.known = calibrateAndJudge(drawScenario(seed, kind), folder.path, 20000, Judging::ByPattern,
                                     [&] { set = diagnosis::readDiagnostics(folder.path); });
    judged.said = diagnosis::judgeRun(set, diagnosis::diagnose(set));
    return judged;
}

TEST(SoundWirings, OfOneDataPinAtASlowClockAreNotAccused) {
    // A synchronisation sequence, in which the pin hardly changes, is longer than these bursts.
    for (const std::uint64_t seed : {664U, 820U, 2801U, 3079U, 6329U}) {
        const Judged run = judged(seed, bench::ExportKind::Pti);
        EXPECT_EQ(run.known.outcome, Outcome::right) << seed;
        EXPECT_NE(run.said.kind, Kind::Fault) << seed << ": " << verdictLine(run.said);
    }
}

TEST(SoundWirings, AtTheSlowestAnalysedClockAreNotAccused) {
    for (const std::uint64_t seed : {646U, 5961U, 7275U}) {
        const Judged run = judged(seed, bench::ExportKind::Pti);
        EXPECT_EQ(run.known.outcome, Outcome::right) << seed;
        EXPECT_NE(run.said.kind, Kind::Fault) << seed << ": " << verdictLine(run.said);
    }
}

TEST(Knowledge, AClockThatLosesPulsesIsUnsafeHoweverItsEdgesAreInTheEyes) {
    for (const std::uint64_t seed : {164U, 628U, 653U, 897U, 1406U, 1418U}) {
        const Judged run = judged(seed, bench::ExportKind::Tpiu);
        EXPECT_TRUE(run.known.position.right()) << seed;
        EXPECT_GT(run.known.clockLoss, diagnosis::usualErrorRate) << seed;
        EXPECT_EQ(knowledgeOf(run.known, std::nullopt), Knowledge::unsafe) << seed;
    }
}

TEST(Knowledge, AComparisonThatMeetsAWrongBitMakesTheFaultTrue) {
    Verdict known;
    known.outcome = Outcome::right;
    known.lanes = {{0, 1e-10}};
    diagnosis::WordCheck words;
    EXPECT_EQ(knowledgeOf(known, words), Knowledge::right);
    words.errors = 1;
    EXPECT_EQ(knowledgeOf(known, words), Knowledge::hit);
    known.lanes = {{0, 1e-8}};
    EXPECT_EQ(knowledgeOf(known, words), Knowledge::unsafe) << "which says more";
}

} // namespace
} // namespace truth
