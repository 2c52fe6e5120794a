#include "bench/scenarios/Environment.h"
#include "bench/scenarios/Scenario.h"
#include "tests/unit/bench/scenarios/FailureOf.h"

#include <gtest/gtest.h>

// Scenarios come from other people: they must not set variables that start programs.

namespace bench {
namespace {

TEST(ScenarioEnvironment, TheVariableThatTheMapNamesIsKept) {
    const Scenario scenario =
        parseScenario("pin_map = \"$WIDE,1,2\"\n[environment]\n\"WIDE,1,2\" = \"0,1,2,3\"\n", "f");
    EXPECT_EQ(scenario.environment.at("WIDE,1,2"), "0,1,2,3");
}

TEST(ScenarioEnvironment, AnyOtherIsRefusedWithLineAndKey) {
    for (const std::string name : {"PATH", "LD_PRELOAD", "LD_LIBRARY_PATH", "COMMON_HELIX", "USERPROFILE", "HOME",
                                   "VX_TRACE_LOGGING_DIR", "ORV_BENCH_SCENARIO", "WINEPREFIX", "TMPDIR", "X"}) {
        const std::string rule = ": 'environment." + name +
                                 "' must be the variable that pin_map names as \"$NAME\", "
                                 "with a comma in it";
        EXPECT_EQ(failureOf("cpu = \"c\"\n[environment]\n" + name + " = \"/evil\"\n"), "file.toml:3" + rule);
        EXPECT_EQ(failureOf("pin_map = \"$" + name + "\"\n[environment]\n" + name + " = \"/evil\"\n"),
                  "file.toml:3" + rule)
            << "naming it does not help";
        EXPECT_EQ(failureOf("pin_map = \"0,1,$" + name + "\"\nenvironment = {" + name + " = \"/evil\"}\n"),
                  "file.toml:2" + rule);
    }
}

TEST(ScenarioEnvironment, ASecondVariableBesideTheNamedOneIsRefused) {
    EXPECT_EQ(
        failureOf("pin_map = \"$A,1\"\n[environment]\n\"A,1\" = \"0,1\"\n\"B,1\" = \"0,1\"\n"),
        "file.toml:4: 'environment.B,1' must be the variable that pin_map names as \"$NAME\", with a comma in it");
}

// On one system "PATH=/evil,1" would set PATH, and so would a name with a NUL after PATH.
TEST(ScenarioEnvironment, NamesOfOtherCharactersAreRefused) {
    for (const std::string_view name :
         {std::string_view("PATH=/evil,1"), std::string_view("PATH\0,1", 7), std::string_view("PATH ,1")}) {
        EXPECT_FALSE(scenarioMaySet(name, "$" + std::string(name))) << name;
    }
    EXPECT_FALSE(scenarioMaySet("", "$"));
    EXPECT_FALSE(scenarioMaySet("", ""));
    EXPECT_FALSE(scenarioMaySet("A,1", "A,1"));
    EXPECT_TRUE(scenarioMaySet("A,1", "$A,1"));
}

} // namespace
} // namespace bench
