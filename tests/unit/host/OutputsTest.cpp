#include <gtest/gtest.h>

#include "host/basics/ExitCode.h"
#include "host/basics/OutputFiles.h"
#include "host/basics/TextFile.h"
#include "host/session/RunFolder.h"
#include "tests/unit/host/TempFolder.h"

namespace host {
namespace {

namespace fs = std::filesystem;

/// The folder of a run, as a session makes it.
RunFolder runFolder(const std::string& wanted, bool force) {
    MadeFolders made;
    return RunFolder(wanted, "x", force, made);
}

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

TEST(MadeFoldersTest, WhatWasMadeGoesAgainUnlessItHoldsSomething) {
    const TempFolder folder;
    MadeFolders made;
    EXPECT_TRUE(made.make(folder.file("a") / "b" / "c"));
    EXPECT_TRUE(made.make(folder.file("a") / "d"));
    EXPECT_TRUE(made.make(folder.path())) << "it is there already";
    folder.write("a/d/kept.txt", "");
    made.removeEmpty();
    EXPECT_FALSE(fs::exists(folder.file("a") / "b"));
    EXPECT_TRUE(fs::exists(folder.file("a") / "d" / "kept.txt"));
    EXPECT_TRUE(fs::exists(folder.path()));
}

TEST(MadeFoldersTest, AFileInTheWayIsTold) {
    const TempFolder folder;
    folder.write("wall", "");
    MadeFolders made;
    EXPECT_FALSE(made.make(folder.file("wall") / "a"));
    EXPECT_FALSE(made.make(folder.file("wall")));
}

TEST(RunFolderTest, AnEmptyFolderIsTakenWithoutForce) {
    const TempFolder folder;
    EXPECT_EQ(codeOf([&] { runFolder(folder.path().string(), false); }), ExitCode::Done);
    EXPECT_TRUE(fs::is_empty(folder.path()));
}

TEST(RunFolderTest, AFileOfTheUsersIsNoEarlierRunAndStays) {
    const TempFolder folder;
    folder.write("mine.txt", "kept");
    EXPECT_EQ(codeOf([&] { runFolder(folder.path().string(), true); }), ExitCode::Done);
    EXPECT_EQ(readText(folder.file("mine.txt")), "kept");
}

TEST(RunFolderTest, AnEarlierRunIsRefusedAndStays) {
    const TempFolder folder;
    fs::create_directories(folder.file(".VX-trace") / "data");
    EXPECT_EQ(codeOf([&] { runFolder(folder.path().string(), false); }), ExitCode::OutputExists);
    EXPECT_TRUE(fs::exists(folder.file(".VX-trace") / "data"));
}

TEST(RunFolderTest, ForceRemovesAnEarlierRun) {
    const TempFolder folder;
    fs::create_directories(folder.file(".VX-trace") / "data");
    fs::create_directories(folder.file("bench"));
    runFolder(folder.path().string(), true);
    EXPECT_FALSE(fs::exists(folder.file(".VX-trace")));
    EXPECT_FALSE(fs::exists(folder.file("bench")));
}

TEST(RunFolderTest, AFileInItsPlaceIsUnwritable) {
    const TempFolder folder;
    const fs::path file = folder.write("wall", "");
    EXPECT_EQ(codeOf([&] { runFolder(file.string(), true); }), ExitCode::OutputUnwritable);
}

TEST(RunFolderTest, ASeparatorAtTheEndDoesNotMatter) {
    const TempFolder folder;
    const RunFolder run = runFolder(folder.path().string() + "/", false);
    EXPECT_EQ(run.settingsFile("a"), runFolder(folder.path().string(), false).settingsFile("a"));
    EXPECT_TRUE(run.path().is_absolute());
}

} // namespace
} // namespace host
