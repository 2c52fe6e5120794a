#include "host/files/ScenarioFile.h"

#include <gmock/gmock.h>

#include "host/basics/ExitCode.h"
#include "tests/unit/host/TempFolder.h"

namespace host {
namespace {

using testing::HasSubstr;

TEST(ScenarioFile, WhatTheHostNeedsIsRead) {
    const TempFolder folder;
    const Scenario scenario = readScenario(folder.write("a.toml", "name = \"a\"\nabout = \"one\"\ncpu = \"x/y\"\n"
                                                                  "kind = \"tpiu\"\npins = 2\npin_map = \"5,2,3\"\n"
                                                                  "[settings]\nbuffer = 4\nstop_on_full = true\n"
                                                                  "[expect]\nmessage = \"m\"\nsettings = [1, 2]\n"));
    EXPECT_EQ(scenario.name, "a");
    EXPECT_EQ(scenario.cpu, "x/y");
    EXPECT_EQ(scenario.settings.exportKind, "tpiu");
    EXPECT_EQ(scenario.settings.dataPins, 2U);
    EXPECT_EQ(scenario.settings.pinMap, "5,2,3");
    EXPECT_EQ(scenario.settings.bufferIndex, 4U);
    EXPECT_TRUE(scenario.settings.stopOnFull);
    EXPECT_FALSE(scenario.settings.followTarget);
    EXPECT_EQ(scenario.expect.at("message"), "m");
    EXPECT_EQ(scenario.expect.at("settings"), "1,2");
    EXPECT_TRUE(scenario.file.is_absolute());
}

std::string failureOf(const std::function<void()>& work) {
    try {
        work();
    } catch (const Failure& failure) {
        EXPECT_EQ(failure.code, ExitCode::BadInput);
        return failure.what();
    }
    return "no failure";
}

TEST(ScenarioFile, DamageIsToldWithItsLine) {
    const TempFolder folder;
    const auto file = folder.write("bad.toml", "name = \"a\"\ncpu = \n");
    EXPECT_THAT(failureOf([&] { readScenario(file); }), HasSubstr("bad.toml:2: "));
}

TEST(ScenarioFile, AScenarioWithoutCpuIsRefused) {
    const TempFolder folder;
    const auto file = folder.write("bare.toml", "name = \"a\"\n");
    EXPECT_THAT(failureOf([&] { readScenario(file); }), HasSubstr("names no cpu"));
}

TEST(ScenarioFile, AnUnknownNameListsTheKnownOnes) {
    const TempFolder folder;
    folder.write("one.toml", "name = \"one\"\ncpu = \"c\"\n");
    folder.write("two.toml", "name = \"two\"\ncpu = \"c\"\n");
    EXPECT_THAT(failureOf([&] { findScenario("three", folder.path()); }), HasSubstr("there are: one, two"));
}

TEST(ScenarioFile, ANameIsFoundInTheFolderAndAPathAnywhere) {
    const TempFolder folder;
    const auto file = folder.write("one.toml", "name = \"one\"\ncpu = \"c\"\n");
    EXPECT_EQ(findScenario("one", folder.path()).name, "one");
    EXPECT_EQ(findScenario(file.string(), "nowhere").name, "one");
}

TEST(ScenarioFile, AFolderThatIsNotThereHasNone) {
    EXPECT_TRUE(listScenarios("no-such-folder").empty());
}

} // namespace
} // namespace host
