#include "toolkit/Suggestion.h"

#include <gtest/gtest.h>

namespace toolkit {
namespace {

const std::vector<std::string> commands{"record", "calibrate", "soak", "report", "scenarios"};

TEST(Suggestion, ASlipOfAFingerIsUnderstood) {
    EXPECT_EQ(nearestWord("recrod", commands), "record") << "neighbours swapped";
    EXPECT_EQ(nearestWord("reord", commands), "record") << "a letter missing";
    EXPECT_EQ(nearestWord("calibratte", commands), "calibrate") << "a letter too many";
    EXPECT_EQ(nearestWord("soap", commands), "soak") << "a wrong letter";
}

TEST(Suggestion, ABeginningIsCompleted) {
    EXPECT_EQ(nearestWord("scen", commands), "scenarios");
    EXPECT_EQ(nearestWord("cal", commands), "calibrate");
}

TEST(Suggestion, NothingNearGivesNone) {
    EXPECT_EQ(nearestWord("bogus", commands), "");
    EXPECT_EQ(nearestWord("x", commands), "");
    EXPECT_EQ(nearestWord("", commands), "");
}

} // namespace
} // namespace toolkit
