#include "bench/faults/FaultScript.h"

#include <gtest/gtest.h>

namespace bench {
namespace {

FaultStep stepAt(const std::string& command, unsigned nth, const std::string& action) {
    FaultStep step;
    step.command = command;
    step.nth = nth;
    step.action = action;
    return step;
}

TEST(FaultScript, AStepAffectsTheNthRequestOfItsCommand) {
    FaultSettings settings;
    settings.steps = {stepAt("m", 2, "hang")};
    FaultScript script(settings);
    EXPECT_EQ(script.onRequest('m'), nullptr);
    EXPECT_EQ(script.onRequest('v'), nullptr);
    const FaultStep* step = script.onRequest('m');
    ASSERT_NE(step, nullptr);
    EXPECT_EQ(step->action, "hang");
    EXPECT_EQ(script.onRequest('m'), nullptr);
}

TEST(FaultScript, AStepWithoutACommandCountsAllRequests) {
    FaultSettings settings;
    settings.steps = {stepAt("", 3, "die")};
    FaultScript script(settings);
    EXPECT_EQ(script.onRequest('v'), nullptr);
    EXPECT_EQ(script.onRequest('c'), nullptr);
    EXPECT_NE(script.onRequest('m'), nullptr);
}

TEST(FaultScript, TheFirstMatchingStepWins) {
    FaultSettings settings;
    settings.steps = {stepAt("v", 1, "late"), stepAt("", 1, "die")};
    FaultScript script(settings);
    EXPECT_EQ(script.onRequest('v')->action, "late");
}

} // namespace
} // namespace bench
