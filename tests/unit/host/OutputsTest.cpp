#include <gtest/gtest.h>

#include "host/basics/ExitCode.h"
#include "host/basics/OutputFiles.h"
#include "host/basics/TextFile.h"
#include "host/session/RunFolder.h"
#include "tests/unit/host/TempFolder.h"

namespace host {
namespace {

namespace fs = std::filesystem;

template <class Work>
ExitCode codeOf(Work&& work) {
    try {
        work();
    } catch (const Failure& failure) {
        return failure.code;
    }
    return ExitCode::Done;
}

TEST(OutputFile, ANewOneIsAcceptedAndNotLeftBehind) {
    const TempFolder folder;
    EXPECT_EQ(codeOf([&] { testOutputFile(folder.file("new.tdf"), false); }), ExitCode::Done);
    EXPECT_FALSE(fs::exists(folder.file("new.tdf")));
}

TEST(OutputFile, ItsFolderIsCreated) {
    const TempFolder folder;
    testOutputFile(folder.file("sub") / "new.tdf", false);
    EXPECT_TRUE(fs::is_directory(folder.file("sub")));
}

TEST(OutputFile, AnExistingOneIsRefusedAndStays) {
    const TempFolder folder;
    const fs::path file = folder.write("old.bin", "kept");
    EXPECT_EQ(codeOf([&] { testOutputFile(file, false); }), ExitCode::OutputExists);
    EXPECT_EQ(readText(file), "kept");
}

TEST(OutputFile, ForceAcceptsAnExistingOneAndLeavesItForNow) {
    const TempFolder folder;
    const fs::path file = folder.write("old.bin", "kept");
    EXPECT_EQ(codeOf([&] { testOutputFile(file, true); }), ExitCode::Done);
    EXPECT_EQ(readText(file), "kept");
}

TEST(OutputFile, AFolderIsNoFile) {
    const TempFolder folder;
    EXPECT_EQ(codeOf([&] { testOutputFile(folder.path(), true); }), ExitCode::OutputUnwritable);
}

TEST(OutputFile, AFileInTheWayOfItsFolderIsUnwritable) {
    const TempFolder folder;
    folder.write("wall", "");
    EXPECT_EQ(codeOf([&] { testOutputFile(folder.file("wall") / "x.bin", false); }), ExitCode::OutputUnwritable);
}

TEST(RunFolderTest, AnEmptyFolderIsTakenWithoutForce) {
    const TempFolder folder;
    EXPECT_EQ(codeOf([&] { RunFolder(folder.path().string(), "x", false); }), ExitCode::Done);
    EXPECT_TRUE(fs::is_empty(folder.path()));
}

TEST(RunFolderTest, AFileOfTheUsersIsNoEarlierRunAndStays) {
    const TempFolder folder;
    folder.write("mine.txt", "kept");
    EXPECT_EQ(codeOf([&] { RunFolder(folder.path().string(), "x", true); }), ExitCode::Done);
    EXPECT_EQ(readText(folder.file("mine.txt")), "kept");
}

TEST(RunFolderTest, AnEarlierRunIsRefusedAndStays) {
    const TempFolder folder;
    fs::create_directories(folder.file(".VX-trace") / "data");
    EXPECT_EQ(codeOf([&] { RunFolder(folder.path().string(), "x", false); }), ExitCode::OutputExists);
    EXPECT_TRUE(fs::exists(folder.file(".VX-trace") / "data"));
}

TEST(RunFolderTest, ForceRemovesAnEarlierRun) {
    const TempFolder folder;
    fs::create_directories(folder.file(".VX-trace") / "data");
    fs::create_directories(folder.file("bench"));
    RunFolder(folder.path().string(), "x", true);
    EXPECT_FALSE(fs::exists(folder.file(".VX-trace")));
    EXPECT_FALSE(fs::exists(folder.file("bench")));
}

TEST(RunFolderTest, AFileInItsPlaceIsUnwritable) {
    const TempFolder folder;
    const fs::path file = folder.write("wall", "");
    EXPECT_EQ(codeOf([&] { RunFolder(file.string(), "x", true); }), ExitCode::OutputUnwritable);
}

TEST(RunFolderTest, ASeparatorAtTheEndDoesNotMatter) {
    const TempFolder folder;
    const RunFolder run(folder.path().string() + "/", "x", false);
    EXPECT_EQ(run.settingsFile("a"), RunFolder(folder.path().string(), "x", false).settingsFile("a"));
    EXPECT_TRUE(run.path().is_absolute());
}

} // namespace
} // namespace host
