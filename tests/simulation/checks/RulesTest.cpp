#include "tests/simulation/checks/Toys.h"
#include "tests/simulation/exploration/Schedule.h"
#include "tests/simulation/exploration/Search.h"

#include <gtest/gtest.h>

namespace simulation {
namespace {

class Rules : public testing::Test {
protected:
    void SetUp() override { addToys(); }

    static SearchResult searchFor(const char* scenario, const char* strategy = "", std::uint64_t schedules = 500) {
        SearchPlan plan;
        plan.scenario = scenario;
        plan.schedules = schedules;
        plan.strategy = strategy;
        return search(plan);
    }

    static std::string ruleOf(const SearchResult& result) {
        return result.failures.empty() ? "none" : result.failures.front().rule;
    }
};

TEST_F(Rules, WhatIsCorrectBreaksNone) {
    const SearchResult result = searchFor("toy.correct");
    EXPECT_EQ(ruleOf(result), "none");
    EXPECT_EQ(result.schedules, 500U);
    EXPECT_GT(result.switches, result.schedules);
}

TEST_F(Rules, ADeadlockIsFoundWithWhatEachThreadWaitsFor) {
    const SearchResult result = searchFor("toy.deadlock");
    ASSERT_EQ(ruleOf(result), "deadlock");
    EXPECT_NE(result.failures.front().text.find("waits for the end of thread 1"), std::string::npos);
    EXPECT_NE(result.failures.front().text.find("waits for the lock that thread 0 holds"), std::string::npos);
}

TEST_F(Rules, LocksInTwoOrdersAreFoundWithoutADeadlock) {
    EXPECT_EQ(ruleOf(searchFor("toy.lockOrder", "walk")), "lock order");
}

TEST_F(Rules, AnEndlessPollIsFound) {
    EXPECT_EQ(ruleOf(searchFor("toy.endless", "", 1)), "endless");
}

TEST_F(Rules, AFailureThatOneOperationCausesIsFound) {
    const SearchResult result = searchFor("toy.writes");
    ASSERT_EQ(ruleOf(result), "not written");
    EXPECT_TRUE(result.failures.front().recipe.fault.has_value());
}

TEST_F(Rules, EveryStrategyHitsAWindow) {
    for (const std::string& strategy : strategyNames()) {
        EXPECT_EQ(ruleOf(searchFor("toy.window", strategy.c_str(), 5000)), "window") << strategy;
    }
}

// With strict time a sleeper never comes before a thread that has work to do.
TEST_F(Rules, AThreadThatIsSlowerThanASleepIsFoundByStallsAndEarlyWakeUps) {
    EXPECT_EQ(ruleOf(searchFor("toy.slow", "walk", 1000)), "none");
    for (const char* strategy : {"early", "stalls", "pct3", "pct5"}) {
        EXPECT_EQ(ruleOf(searchFor("toy.slow", strategy, 5000)), "slow") << strategy;
    }
}

} // namespace
} // namespace simulation
