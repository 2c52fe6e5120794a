#include "host/scenario/ScenarioFile.h"
#include "tests/support/scratch/TemporaryFolder.h"
#include "toolkit/ExitCode.h"

#include <gmock/gmock.h>

namespace host {
namespace {

using testing::HasSubstr;

TEST(ScenarioFile, WhatTheHostNeedsIsRead) {
    const test_support::TemporaryFolder folder;
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
    } catch (const toolkit::Failure& failure) {
        EXPECT_EQ(failure.code, toolkit::ExitCode::BadInput);
        return failure.what();
    }
    return "no failure";
}

TEST(ScenarioFile, DamageIsToldWithItsLine) {
    const test_support::TemporaryFolder folder;
    const auto file = folder.write("bad.toml", "name = \"a\"\ncpu = \n");
    EXPECT_THAT(failureOf([&] { readScenario(file); }), HasSubstr("bad.toml:2: "));
}

TEST(ScenarioFile, AVariableThatIsNoneOfItsOwnIsRefusedWithLineAndKey) {
    const test_support::TemporaryFolder folder;
    const auto file = folder.write("bad.toml", "cpu = \"c\"\npin_map = \"$PATH\"\n[environment]\nPATH = \"/evil\"\n");
    EXPECT_EQ(failureOf([&] { readScenario(file); }),
              file + ":4: 'environment.PATH' must be the variable that pin_map names as \"$NAME\", with a comma "
                     "in it");
    const auto good = folder.write("good.toml", "cpu = \"c\"\npin_map = \"$A,1\"\nenvironment = {\"A,1\" = \"0,1\"}\n");
    EXPECT_EQ(readScenario(good).environment.at("A,1"), "0,1");
}

TEST(ScenarioFile, CharactersBeyondAsciiOutsideOfStringsAreRefusedWithTheirPlace) {
    const test_support::TemporaryFolder folder;
    const auto file = folder.write("bad.toml", "cpu = \"c\"\n\u00E4 = 1\n");
    EXPECT_EQ(failureOf([&] { readScenario(file); }),
              file + ":2:1: a character beyond ASCII must be in quotation marks or in a comment");
    EXPECT_EQ(readScenario(folder.write("bom.toml", "\xEF\xBB\xBF"
                                                    "cpu = \"\u00E4\"\n"))
                  .cpu,
              "\u00E4");
}

TEST(ScenarioFile, AScenarioWithoutCpuIsRefused) {
    const test_support::TemporaryFolder folder;
    const auto file = folder.write("bare.toml", "name = \"a\"\n");
    EXPECT_THAT(failureOf([&] { readScenario(file); }), HasSubstr("names no cpu"));
}

TEST(ScenarioFile, AnUnknownNameListsTheKnownOnes) {
    const test_support::TemporaryFolder folder;
    folder.write("one.toml", "name = \"one\"\ncpu = \"c\"\n");
    folder.write("two.toml", "name = \"two\"\ncpu = \"c\"\n");
    EXPECT_THAT(failureOf([&] { scenarioFile("three", folder.path); }), HasSubstr("there are: one, two"));
}

TEST(ScenarioFile, ANameIsFoundInTheFolderAndAPathAnywhere) {
    const test_support::TemporaryFolder folder;
    const auto file = folder.write("one.toml", "name = \"one\"\ncpu = \"c\"\n");
    EXPECT_EQ(scenarioFile("one", folder.path).filename(), "one.toml");
    EXPECT_EQ(scenarioFile(file, "nowhere").filename(), "one.toml");
}

TEST(ScenarioFile, AFolderThatIsNotThereHasNone) {
    EXPECT_TRUE(listScenarios("no-such-folder").empty());
}

TEST(ScenarioFile, ANameWithoutTheBenchSaysThatTheBenchIsMissing) {
    try {
        scenarioFile("clean", "no-such-folder");
        FAIL();
    } catch (const toolkit::Failure& failure) {
        EXPECT_EQ(failure.code, toolkit::ExitCode::NoSystem);
        EXPECT_THAT(failure.what(), testing::HasSubstr("the simulated bench is not installed"));
    }
}

TEST(ScenarioFile, WhatIsParticularAboutTheBenchIsTold) {
    const test_support::TemporaryFolder folder;
    const Scenario scenario = readScenario(folder.write(
        "a.toml", "cpu = \"x/y\"\n[transmitter]\nfrequencies = [12.5e6, 50e6]\n[wiring]\nalignment = \"edge\"\n"
                  "jitter = 0.3\n[[wiring.pin]]\nemu = 2\nskew = -1.5\nstuck = 1\n[[wiring.pin]]\nemu = 3\n"
                  "swapped_with = 4\ndrift = 2.0\nmemory = 4.0\ncoupling = 0.5\n[server]\nspeed = "
                  "10.0\n[[faults.at]]\naction = \"die\"\n"));
    EXPECT_THAT(scenario.traits,
                testing::ElementsAre(
                    "the target's clock can be 12.5 MHz, 50 MHz", "data change together with the clock",
                    "every edge jitters by 0.3 samples rms", "EMU pin 2 comes 1.5 samples early",
                    "EMU pin 2 is stuck at 1", "EMU pin 3 drifts later by 2 samples a second while trace is sent",
                    "EMU pin 3 settles with a time constant of 4 samples",
                    "EMU pin 3 is shifted by 0.5 samples by each edge on a pin beside it",
                    "EMU pin 3 and EMU pin 4 are swapped", "the buffer fills 10 times as fast as it really would",
                    "the data server misbehaves: 1 scripted fault"));
}

TEST(ScenarioFile, WithoutATargetTheGeneratorIsTold) {
    const test_support::TemporaryFolder folder;
    const Scenario scenario =
        readScenario(folder.write("a.toml", "cpu = \"fpga\"\n[unit]\ngenerator_frequency = 25e6\n"));
    EXPECT_THAT(scenario.traits, testing::ElementsAre("the unit's own generator at 25 MHz, no target",
                                                      "data change in the middle between clock edges"));
}

TEST(ScenarioFile, WhatTheUnitDoesWrongIsTold) {
    const test_support::TemporaryFolder folder;
    const Scenario scenario = readScenario(folder.write(
        "a.toml", "cpu = \"fpga\"\n[unit]\nerror_a = 0x8000\nerror_after = 0.5\nerror_from = 2\n"
                  "comms_stuck = true\nbridge_needs_reset = true\n[[unit.cell]]\nbyte = 0x100\nevery = 512\n"
                  "bit = 3\nstuck = 0\nfrom_recording = 4\n[[unit.cell]]\n"));
    EXPECT_THAT(scenario.traits,
                testing::ElementsAre("the unit's own generator at 50 MHz, no target",
                                     "data change in the middle between clock edges",
                                     "the unit reports an error 0.5 s into each recording from recording 2 on",
                                     "the unit's export port never comes to rest", "the unit's bridge asks for a reset",
                                     "bit 3 of byte 256 of the capture memory, and of every 512th after it, is stuck "
                                     "at 0 from recording 4 on",
                                     "bit 0 of byte 0 of the capture memory reads inverted"));
}

} // namespace
} // namespace host
