#include "tests/simulation/checks/Toys.h"
#include "tests/simulation/exploration/Schedule.h"
#include "tests/simulation/exploration/Search.h"

#include <gtest/gtest.h>

namespace simulation {
namespace {

Failure firstFailure(const char* scenario, bool faults = true) {
    addToys();
    SearchPlan plan;
    plan.scenario = scenario;
    plan.schedules = 5000;
    plan.faults = faults;
    const SearchResult result = search(plan);
    return result.failures.empty() ? Failure{} : result.failures.front();
}

TEST(Replay, FollowsADrawnScheduleStepByStep) {
    addToys();
    const Usual usual = measureUsual("toy.correct");
    for (const std::string& strategy : strategyNames()) {
        Recipe recipe = usualRecipe("toy.correct");
        recipe.strategy = strategy;
        recipe.seed = 7;
        const Outcome drawn = runSchedule(recipe, usual.length);
        Recipe followed = usualRecipe("toy.correct");
        followed.departures = departuresOf(textOf(drawn.departures));
        const Outcome again = runSchedule(followed, usual.length);
        EXPECT_EQ(again.hash, drawn.hash) << strategy;
        EXPECT_EQ(textOf(again.departures), textOf(drawn.departures)) << strategy;
    }
}

TEST(Replay, SchedulesOfTwoSeedsDiffer) {
    addToys();
    const Usual usual = measureUsual("toy.correct");
    Recipe recipe = usualRecipe("toy.correct");
    recipe.strategy = "walk";
    recipe.seed = 1;
    const Outcome first = runSchedule(recipe, usual.length);
    recipe.seed = 2;
    EXPECT_NE(runSchedule(recipe, usual.length).hash, first.hash);
}

TEST(Replay, ARecipeBreaksTheSameRuleAgain) {
    const Failure failure = firstFailure("toy.window");
    ASSERT_EQ(failure.rule, "window");
    EXPECT_EQ(tryRecipe(recipeOf(textOf(failure.recipe))).rule, "window");
}

// Thread 1 has to be left once, in the step after the first write: one departure from the default is enough.
TEST(Shorten, LeavesTheOneDepartureThatMatters) {
    const Failure failure = firstFailure("toy.window", false);
    ASSERT_EQ(failure.rule, "window");
    const Failure shortened = shorten(failure);
    EXPECT_EQ(shortened.rule, "window");
    EXPECT_LE(shortened.recipe.departures.size(), 2U) << textOf(shortened);
    EXPECT_GE(shortened.recipe.departures.size(), 1U) << textOf(shortened);
    EXPECT_EQ(tryRecipe(shortened.recipe).rule, "window");
}

TEST(Shorten, KeepsAFaultThatMattersAndRemovesTheDepartures) {
    const Failure failure = firstFailure("toy.writes");
    ASSERT_EQ(failure.rule, "not written");
    const Failure shortened = shorten(failure);
    EXPECT_TRUE(shortened.recipe.departures.empty());
    ASSERT_TRUE(shortened.recipe.fault.has_value());
    EXPECT_EQ(shortened.recipe.fault->fault, failure.recipe.fault->fault);
}

TEST(Shorten, RemovesAFaultThatDoesNotMatter) {
    Failure failure = firstFailure("toy.window", false);
    failure.recipe.fault = faultPlanOf("memory:0:0");
    EXPECT_FALSE(shorten(failure).recipe.fault.has_value());
}

} // namespace
} // namespace simulation
