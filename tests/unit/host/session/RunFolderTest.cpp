#include "host/session/RunFolder.h"
#include "tests/unit/toolkit/TempFolder.h"
#include "toolkit/ExitCode.h"
#include "toolkit/FilePath.h"
#include "toolkit/OutputFiles.h"
#include "toolkit/TextFile.h"

#include <gmock/gmock.h>

#include <stdexcept>

namespace host {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using toolkit::ExitCode;
using toolkit::Failure;
using toolkit::MadeFolders;

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

template <class Work>
std::string textOf(Work&& work) {
    try {
        work();
    } catch (const Failure& failure) {
        return failure.what();
    }
    return "no failure";
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
    EXPECT_EQ(toolkit::readText(folder.file("mine.txt")), "kept");
}

TEST(RunFolderTest, AnEarlierRunIsRefusedAndStays) {
    const TempFolder folder;
    fs::create_directories(folder.file(".VX-trace") / "data");
    EXPECT_EQ(codeOf([&] { runFolder(folder.path().string(), false); }), ExitCode::OutputExists);
    EXPECT_TRUE(fs::exists(folder.file(".VX-trace") / "data"));
}

TEST(RunFolderTest, WithForceAnEarlierRunStaysUntilItIsCleared) {
    const TempFolder folder;
    fs::create_directories(folder.file(".VX-trace") / "data");
    fs::create_directories(folder.file("bench"));
    const RunFolder run = runFolder(folder.path().string(), true);
    EXPECT_TRUE(fs::exists(folder.file(".VX-trace") / "data"));
    EXPECT_TRUE(run.willClear(folder.file(".VX-trace") / "data" / "x.bin"));
    EXPECT_TRUE(run.willClear(folder.file("sub") / ".." / "bench" / "x.bin"));
    EXPECT_FALSE(run.willClear(folder.file("x.bin")));
    run.clear();
    EXPECT_FALSE(fs::exists(folder.file(".VX-trace")));
    EXPECT_FALSE(fs::exists(folder.file("bench")));
}

TEST(RunFolderTest, AFileInItsPlaceIsUnwritable) {
    const TempFolder folder;
    const fs::path file = folder.write("wall", "");
    EXPECT_EQ(codeOf([&] { runFolder(file.string(), true); }), ExitCode::OutputUnwritable);
    EXPECT_THAT(textOf([&] { runFolder(file.string(), true); }), HasSubstr(": it is a file; choose another"));
    EXPECT_THAT(textOf([&] { runFolder((file / "run").string(), true); }), HasSubstr(" is a file, not a folder;"));
}

TEST(RunFolderTest, OnlyItsLastPartIsMade) {
    const TempFolder folder;
    const fs::path wanted = folder.file("a") / "run";
    EXPECT_EQ(codeOf([&] { runFolder(wanted.string(), false); }), ExitCode::OutputUnwritable);
    EXPECT_THAT(textOf([&] { runFolder(wanted.string(), false); }),
                HasSubstr("the folder " + folder.file("a").string() + " does not exist; make it or give another"));
    EXPECT_EQ(codeOf([&] { runFolder(folder.file("b").string(), false); }), ExitCode::Done);
    EXPECT_TRUE(fs::is_directory(folder.file("b")));
}

TEST(RunFolderTest, ASeparatorAtTheEndDoesNotMatter) {
    const TempFolder folder;
    const RunFolder run = runFolder(folder.path().string() + "/", false);
    EXPECT_EQ(run.settingsFile("a"), runFolder(folder.path().string(), false).settingsFile("a"));
    EXPECT_TRUE(run.path().is_absolute());
}

} // namespace
} // namespace host
