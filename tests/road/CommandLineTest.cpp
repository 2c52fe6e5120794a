#include <algorithm>

#include <gmock/gmock.h>

#include "tests/road/Orvtrace.h"

// What a user meets before and around a recording: usage, inputs, outputs.

namespace {

using testing::HasSubstr;
using testing::IsEmpty;

std::size_t lines(const std::string& text) {
    return static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
}

TEST(CommandLine, HelpFitsAScreenAndGoesToTheOutput) {
    const RunSpace space;
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{"--help"}, {"record", "--help"}, {"scenarios", "--help"}}) {
        const Outcome run = space.run(arguments);
        EXPECT_EQ(run.code, 0);
        EXPECT_THAT(run.output, HasSubstr("Usage: orvtrace"));
        EXPECT_THAT(run.errors, IsEmpty());
        EXPECT_LE(lines(run.output), 40U);
    }
    EXPECT_THAT(space.run({"--help"}).output, HasSubstr("Exit codes:"));
}

TEST(CommandLine, VersionNamesSystemAndCompiler) {
    const RunSpace space;
    const Outcome run = space.run({"--version"});
    EXPECT_EQ(run.code, 0);
    EXPECT_THAT(run.output, HasSubstr("orvtrace "));
    EXPECT_THAT(run.output, HasSubstr("compiled by "));
}

TEST(CommandLine, WrongUsageIsOneLineAndCodeTwo) {
    const RunSpace space;
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{},
          {"bogus"},
          {"record"},
          {"record", "--bogus"},
          {"record", "--cpu", "x"},
          {"record", "--scenario", "clean", "--seconds", "soon"},
          {"record", "--scenario", "clean", "--save", "x.bin"},
          {"record", "--scenario", "clean", "--buffer", "3M"},
          {"record", "--scenario", "clean", "--until-full", "--wrap"},
          {"record", "--scenario", "clean", "--settings", "x.xml", "--wrap"}}) {
        const Outcome run = space.run(arguments);
        EXPECT_EQ(run.code, 2) << run.errors;
        EXPECT_THAT(run.output, IsEmpty());
        EXPECT_EQ(lines(run.errors), 1U) << run.errors;
        EXPECT_THAT(run.errors, HasSubstr("--help"));
    }
}

TEST(Inputs, MissingAndDamagedFilesAreCodeThreeAndNamed) {
    const RunSpace space;
    const std::string damaged = space.write("damaged.toml", "name = \"x\ncpu = 1").string();
    for (const std::vector<std::string>& more : {std::vector<std::string>{"--scenario", "no-such"},
                                                 {"--scenario", damaged},
                                                 {"--scenario", "clean", "--settings", "no-such.xml"},
                                                 {"--scenario", "clean", "--play", "no-such.bin"}}) {
        std::vector<std::string> arguments{"record", "--out", space.file("run").string()};
        arguments.insert(arguments.end(), more.begin(), more.end());
        const Outcome run = space.run(arguments);
        EXPECT_EQ(run.code, 3) << run.errors;
        EXPECT_EQ(lines(run.errors), 1U) << run.errors;
        EXPECT_FALSE(std::filesystem::exists(space.file("run"))) << "nothing may be started";
    }
}

TEST(Inputs, SettingsThatTheReceiverRefusesAreCodeThreeAndTheFileStays) {
    const RunSpace space;
    const std::string text = "<CHANNEL-SETUP>\n\t<num_pins>3</num_pins>\n</CHANNEL-SETUP>\n";
    const auto file = space.write("mine.xml", text);
    const Outcome run = space.record("clean", {"--settings", file.string()});
    EXPECT_EQ(run.code, 3) << run.errors;
    EXPECT_THAT(run.errors, HasSubstr("cannot use these settings: "));
    EXPECT_EQ(readBytes(file), text);
    EXPECT_FALSE(run.json.contains("recording"));
}

TEST(Outputs, ExistingOnesAreCodeEightBeforeAnythingStarts) {
    const RunSpace space;
    const auto file = space.write("old.tdf", "kept");
    const Outcome run = space.record("clean", {"--save", file.string()});
    EXPECT_EQ(run.code, 8) << run.errors;
    EXPECT_THAT(run.errors, HasSubstr("--force"));
    EXPECT_EQ(readBytes(file), "kept");
    EXPECT_FALSE(std::filesystem::exists(space.file("run") / "bench"));
}

TEST(Outputs, UnwritableOnesAreCodeNineBeforeAnythingStarts) {
    const RunSpace space;
    const auto wall = space.write("wall", "");
    const Outcome run = space.record("clean", {"--raw", (wall / "x.bin").string()});
    EXPECT_EQ(run.code, 9) << run.errors;
    EXPECT_FALSE(std::filesystem::exists(space.file("run") / "bench"));
}

TEST(Outputs, ASecondRunIntoAFolderNeedsForce) {
    const RunSpace space;
    ASSERT_EQ(space.record("one-pin").code, 0);
    EXPECT_EQ(space.record("one-pin").code, 8);
    const Outcome again = space.record("one-pin", {"--force"});
    EXPECT_EQ(again.code, 0) << again.errors;
}

TEST(Outputs, TextTellsPinsRateAndFiles) {
    const RunSpace space;
    const Outcome run = space.run({"record", "--scenario", "two-pin", "--out", space.file("run").string()});
    EXPECT_EQ(run.code, 0) << run.errors;
    EXPECT_THAT(run.errors, IsEmpty());
    EXPECT_THAT(run.output, HasSubstr("calibrated at 50 MHz, setting 1 of 2"));
    EXPECT_THAT(run.output, HasSubstr("\nData 2 "));
    EXPECT_THAT(run.output, HasSubstr("recorded 256.00 kB"));
    EXPECT_THAT(run.output, HasSubstr("two-pin.bin"));
    // A carriage return may only be a part of the system's line end.
    for (std::size_t at = run.output.find('\r'); at != std::string::npos; at = run.output.find('\r', at + 1))
        EXPECT_EQ(run.output.substr(at, 2), "\r\n") << "no progress line when piped";
}

TEST(Outputs, NothingOfTheUsersProfileIsTouched) {
    const RunSpace space;
    const Outcome run = space.record("one-pin");
    ASSERT_EQ(run.code, 0) << run.errors;
    const std::string folder = space.file("run").string();
    for (const auto& [what, where] : run.json.at("files").items())
        EXPECT_EQ(where.get<std::string>().rfind(folder, 0), 0U) << what << " " << where;
}

} // namespace
