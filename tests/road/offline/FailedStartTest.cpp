#include "tests/road/Orvtrace.h"

#include <gmock/gmock.h>

// A run that fails before the receiver reports anything leaves no files.

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
namespace fs = std::filesystem;

/// What lies in the test's folder, beside what the run said.
std::vector<std::string> leftIn(const RunSpace& space) {
    std::vector<std::string> names;
    for (const auto& entry : fs::recursive_directory_iterator(space.file(""))) {
        const std::string name = fs::relative(entry.path(), space.file("")).generic_string();
        if (name != "stdout.txt" && name != "stderr.txt") {
            names.push_back(name);
        }
    }
    std::sort(names.begin(), names.end());
    return names;
}

Outcome withoutLibrary(const RunSpace& space, const std::string& command, std::vector<std::string> more) {
    std::vector<std::string> arguments{command, "--json", "--scenario", "clean", "--library", "NoSuchLibrary"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return space.run(arguments);
}

TEST(FailedStart, NoFolderStays) {
    const RunSpace space;
    for (const char* command : {"record", "calibrate", "soak"}) {
        const Outcome run = withoutLibrary(space, command, {"--out", space.file("run").string()});
        EXPECT_EQ(run.code, 4) << run.errors;
        EXPECT_THAT(leftIn(space), IsEmpty()) << command;
        EXPECT_THAT(run.json.at("files"), IsEmpty()) << "nothing is named that is not there";
    }
}

TEST(FailedStart, NorDoesItWithOutputsInIt) {
    const RunSpace space;
    const fs::path folder = space.file("run");
    const Outcome run = withoutLibrary(
        space, "record",
        {"--out", folder.string(), "--save", (folder / "x.tdf").string(), "--raw", (folder / "x.bin").string()});
    EXPECT_EQ(run.code, 4) << run.errors;
    EXPECT_THAT(leftIn(space), IsEmpty());
}

TEST(FailedStart, WhatWasThereBeforeStays) {
    const RunSpace space;
    fs::create_directories(space.file("run") / "empty");
    space.write("run/mine.txt", "kept");
    space.write("run/clean.xml", "of an earlier run");
    const Outcome run = withoutLibrary(space, "record", {"--out", space.file("run").string()});
    EXPECT_EQ(run.code, 4) << run.errors;
    EXPECT_THAT(leftIn(space), ElementsAre("run", "run/clean.xml", "run/empty", "run/mine.txt"));
    EXPECT_EQ(readBytes(space.file("run") / "mine.txt"), "kept");
}

TEST(FailedStart, ARefusedOutputLeavesNoFolderOfAnother) {
    const RunSpace space;
    space.write("old.bin", "kept");
    const Outcome run = space.record(
        "clean", {"--save", (space.file("run") / "x.tdf").string(), "--raw", space.file("old.bin").string()});
    EXPECT_EQ(run.code, 8) << run.errors;
    EXPECT_THAT(leftIn(space), ElementsAre("old.bin"));
}

TEST(FailedStart, AnEarlierRunThatIsRefusedStays) {
    const RunSpace space;
    fs::create_directories(space.file("run") / ".VX-trace");
    space.write("run/.VX-trace/log.txt", "earlier");
    const Outcome run = withoutLibrary(space, "record", {"--out", space.file("run").string()});
    EXPECT_EQ(run.code, 8) << run.errors;
    EXPECT_THAT(run.errors, HasSubstr("holds an earlier run"));
    const Outcome refused = space.record("clean", {"--force", "--raw", (space.file("no") / "x.bin").string()});
    EXPECT_EQ(refused.code, 9) << refused.errors;
    EXPECT_THAT(leftIn(space), ElementsAre("run", "run/.VX-trace", "run/.VX-trace/log.txt"));
}

} // namespace
