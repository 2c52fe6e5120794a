#include "host/session/RunFolder.h"
#include "tests/support/scratch/TemporaryFolder.h"
#include "tests/unit/toolkit/FailureOf.h"
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
using toolkit::codeOf;
using toolkit::ExitCode;
using toolkit::MadeFolders;
using toolkit::textOf;

/// The folder of a run, as a session makes it.
RunFolder runFolder(const std::string& wanted, bool force) {
    MadeFolders made;
    return RunFolder(wanted, "x", force, made);
}

TEST(RunFolderTest, AnEmptyFolderIsTakenWithoutForce) {
    const test_support::TemporaryFolder folder;
    EXPECT_EQ(codeOf([&] { runFolder(folder.path.string(), false); }), ExitCode::Done);
    EXPECT_TRUE(fs::is_empty(folder.path));
}

TEST(RunFolderTest, AFileOfTheUsersIsNoEarlierRunAndStays) {
    const test_support::TemporaryFolder folder;
    folder.write("mine.txt", "kept");
    EXPECT_EQ(codeOf([&] { runFolder(folder.path.string(), true); }), ExitCode::Done);
    EXPECT_EQ(toolkit::readText(folder.path / "mine.txt"), "kept");
}

TEST(RunFolderTest, AnEarlierRunIsRefusedAndStays) {
    const test_support::TemporaryFolder folder;
    fs::create_directories((folder.path / ".VX-trace") / "data");
    EXPECT_EQ(codeOf([&] { runFolder(folder.path.string(), false); }), ExitCode::OutputExists);
    EXPECT_TRUE(fs::exists((folder.path / ".VX-trace") / "data"));
}

TEST(RunFolderTest, WithForceAnEarlierRunStaysUntilItIsCleared) {
    const test_support::TemporaryFolder folder;
    fs::create_directories((folder.path / ".VX-trace") / "data");
    fs::create_directories(folder.path / "bench");
    const RunFolder run = runFolder(folder.path.string(), true);
    EXPECT_TRUE(fs::exists((folder.path / ".VX-trace") / "data"));
    EXPECT_TRUE(run.willClear((folder.path / ".VX-trace") / "data" / "x.bin"));
    EXPECT_TRUE(run.willClear((folder.path / "sub") / ".." / "bench" / "x.bin"));
    EXPECT_FALSE(run.willClear(folder.path / "x.bin"));
    run.clear();
    EXPECT_FALSE(fs::exists(folder.path / ".VX-trace"));
    EXPECT_FALSE(fs::exists(folder.path / "bench"));
}

TEST(RunFolderTest, AFileInItsPlaceIsUnwritable) {
    const test_support::TemporaryFolder folder;
    const fs::path file = folder.write("wall", "");
    EXPECT_EQ(codeOf([&] { runFolder(file.string(), true); }), ExitCode::OutputUnwritable);
    EXPECT_THAT(textOf([&] { runFolder(file.string(), true); }), HasSubstr(": it is a file; choose another"));
    EXPECT_THAT(textOf([&] { runFolder((file / "run").string(), true); }), HasSubstr(" is a file, not a folder;"));
}

TEST(RunFolderTest, OnlyItsLastPartIsMade) {
    const test_support::TemporaryFolder folder;
    const fs::path wanted = (folder.path / "a") / "run";
    EXPECT_EQ(codeOf([&] { runFolder(wanted.string(), false); }), ExitCode::OutputUnwritable);
    EXPECT_THAT(textOf([&] { runFolder(wanted.string(), false); }),
                HasSubstr("the folder " + (folder.path / "a").string() + " does not exist; make it or give another"));
    EXPECT_EQ(codeOf([&] { runFolder((folder.path / "b").string(), false); }), ExitCode::Done);
    EXPECT_TRUE(fs::is_directory(folder.path / "b"));
}

TEST(RunFolderTest, ASeparatorAtTheEndDoesNotMatter) {
    const test_support::TemporaryFolder folder;
    const RunFolder run = runFolder(folder.path.string() + "/", false);
    EXPECT_EQ(run.settingsFile("a"), runFolder(folder.path.string(), false).settingsFile("a"));
    EXPECT_TRUE(run.path().is_absolute());
}

} // namespace
} // namespace host
