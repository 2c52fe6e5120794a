#include "tests/simulation/checks/Toys.h"
#include "tests/simulation/exploration/FirstFailures.h"
#include "tests/simulation/exploration/Search.h"

#include <gtest/gtest.h>

namespace simulation {
namespace {

SearchResult runAll(const char* scenario, unsigned preemptions) {
    addToys();
    ExhaustivePlan plan;
    plan.scenario = scenario;
    plan.preemptions = preemptions;
    return searchExhaustively(plan);
}

TEST(Exhaustive, AWindowNeedsTwoPreemptions) {
    for (const unsigned tooFew : {0U, 1U}) {
        EXPECT_TRUE(runAll("toy.window", tooFew).failures.empty()) << tooFew;
    }
    const SearchResult result = runAll("toy.window", 2);
    ASSERT_EQ(result.failures.size(), 1U);
    EXPECT_EQ(result.failures.front().rule, "window");
    EXPECT_EQ(tryRecipe(result.failures.front().recipe).rule, "window");
}

// Without preemptions a thread is only left when it blocks: here that leaves no choice.
TEST(Exhaustive, MorePreemptionsGiveMoreSchedules) {
    const std::uint64_t none = runAll("toy.correct", 0).schedules;
    const std::uint64_t one = runAll("toy.correct", 1).schedules;
    const std::uint64_t two = runAll("toy.correct", 2).schedules;
    EXPECT_EQ(none, 1U);
    EXPECT_GT(one, 10 * none);
    EXPECT_GT(two, 10 * one);
}

TEST(EveryFault, FailsEachOperationOnceAndFromThenOn) {
    addToys();
    const SearchResult result = searchEveryFault("toy.writes", 100);
    // One opening, two writes and a closing, each twice. Of the writes the second fails, by itself or after the first.
    EXPECT_EQ(result.faults, 8U);
    EXPECT_EQ(result.failures.size(), 3U);
    for (const Failure& failure : result.failures) {
        EXPECT_EQ(failure.rule, "not written");
    }
}

TEST(FirstFailures, AreCountedForEachSearch) {
    addToys();
    SearchPlan plan;
    plan.scenario = "toy.window";
    plan.schedules = 5000;
    const FirstFailures found = findFirstFailures(plan, 3);
    EXPECT_EQ(found.schedules.size(), 3U);
    EXPECT_EQ(found.missed, 0U);
    EXPECT_GT(found.median(), 0U);
    EXPECT_EQ(found.rules, std::vector<std::string>{"window"});
    plan.scenario = "toy.correct";
    plan.schedules = 10;
    EXPECT_EQ(findFirstFailures(plan, 2).missed, 2U);
}

} // namespace
} // namespace simulation
