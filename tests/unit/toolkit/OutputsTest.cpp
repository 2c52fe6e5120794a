#include "tests/support/scratch/TemporaryFolder.h"
#include "tests/unit/toolkit/FailureOf.h"
#include "toolkit/ExitCode.h"
#include "toolkit/FilePath.h"
#include "toolkit/OutputFiles.h"
#include "toolkit/TextFile.h"

#include <gmock/gmock.h>

#include <stdexcept>

namespace toolkit {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

std::size_t entriesIn(const test_support::TemporaryFolder& folder) {
    return static_cast<std::size_t>(std::distance(fs::directory_iterator(folder.path), fs::directory_iterator()));
}

TEST(OutputFile, ANewOneIsAcceptedAndNotLeftBehind) {
    const test_support::TemporaryFolder folder;
    EXPECT_EQ(codeOf([&] { testOutputFile(folder.path / "new.tdf", false); }), ExitCode::Done);
    EXPECT_FALSE(fs::exists(folder.path / "new.tdf"));
}

TEST(OutputFile, ItsFolderHasToBeThere) {
    const test_support::TemporaryFolder folder;
    const fs::path file = (folder.path / "sub") / "new.tdf";
    EXPECT_EQ(codeOf([&] { testOutputFile(file, true); }), ExitCode::OutputUnwritable);
    EXPECT_THAT(textOf([&] { testOutputFile(file, true); }),
                HasSubstr("the folder " + (folder.path / "sub").string() + " does not exist; make it or give another"));
    EXPECT_EQ(entriesIn(folder), 0U);
}

TEST(OutputFile, AnExistingOneIsRefusedAndStays) {
    const test_support::TemporaryFolder folder;
    const fs::path file = folder.write("old.bin", "kept");
    EXPECT_EQ(codeOf([&] { testOutputFile(file, false); }), ExitCode::OutputExists);
    EXPECT_EQ(readText(file), "kept");
}

TEST(OutputFile, ForceAcceptsAnExistingOneAndLeavesItForNow) {
    const test_support::TemporaryFolder folder;
    const fs::path file = folder.write("old.bin", "kept");
    EXPECT_EQ(codeOf([&] { testOutputFile(file, true); }), ExitCode::Done);
    EXPECT_EQ(readText(file), "kept");
}

TEST(OutputFile, AFolderIsNoFile) {
    const test_support::TemporaryFolder folder;
    for (const bool force : {false, true}) {
        EXPECT_EQ(codeOf([&] { testOutputFile(folder.path, force); }), ExitCode::OutputUnwritable);
        EXPECT_THAT(textOf([&] { testOutputFile(folder.path, force); }), HasSubstr(" is a folder; give the name"));
    }
}

TEST(OutputFile, AFileInTheWayOfItsFolderIsUnwritable) {
    const test_support::TemporaryFolder folder;
    folder.write("wall", "");
    EXPECT_EQ(codeOf([&] { testOutputFile((folder.path / "wall") / "x.bin", false); }), ExitCode::OutputUnwritable);
    EXPECT_THAT(textOf([&] { testOutputFile((folder.path / "wall") / "x.bin", false); }),
                HasSubstr(" is a file, not a"));
}

TEST(OutputFile, AWriterThatFailsLeavesTheOldFileAndNothingElse) {
    const test_support::TemporaryFolder folder;
    const fs::path file = folder.write("old.bin", "kept");
    EXPECT_EQ(codeOf([&] {
                  writeOutputFile(file, [](std::ostream& out) {
                      out << "half of it";
                      out.setstate(std::ios::badbit); // as of a full disk
                  });
              }),
              ExitCode::OutputUnwritable);
    EXPECT_THROW(writeOutputFile(file, [](std::ostream&) { throw std::runtime_error("input lost"); }),
                 std::runtime_error);
    EXPECT_EQ(readText(file), "kept");
    EXPECT_EQ(entriesIn(folder), 1U);
}

TEST(OutputFile, ACompleteOneTakesTheOldOnesPlaceAndItsPermissions) {
    const test_support::TemporaryFolder folder;
    const fs::path file = folder.write("old.bin", "old");
    fs::permissions(file, fs::perms::group_all | fs::perms::others_all, fs::perm_options::remove);
    const fs::perms before = fs::status(file).permissions();
    writeOutputFile(file, [&](std::ostream& out) {
        out << "new";
        out.flush();
        EXPECT_EQ(readText(file), "old") << "until it is complete";
    });
    EXPECT_EQ(readText(file), "new");
    EXPECT_EQ(fs::status(file).permissions(), before);
    EXPECT_EQ(entriesIn(folder), 1U);
}

TEST(OutputFile, AFileOfTheTemporaryNameIsNotTouched) {
    const test_support::TemporaryFolder folder;
    folder.write("x.part1.bin", "kept");
    writeOutputFile(folder.path / "x.bin", [](std::ostream& out) { out << "new"; });
    EXPECT_EQ(readText(folder.path / "x.part1.bin"), "kept");
    EXPECT_EQ(readText(folder.path / "x.bin"), "new");
}

TEST(OutputFile, BehindALinkTheFileItselfIsReplaced) {
    const test_support::TemporaryFolder folder;
    const fs::path file = folder.write("real.bin", "old");
    std::error_code failed;
    fs::create_symlink("real.bin", folder.path / "link.bin", failed);
    if (failed) {
        GTEST_SKIP() << "this system has no symbolic links for everybody: " << failed.message();
    }
    writeOutputFile(folder.path / "link.bin", [](std::ostream& out) { out << "new"; });
    EXPECT_TRUE(fs::is_symlink(folder.path / "link.bin"));
    EXPECT_EQ(readText(file), "new");
}

TEST(OutputFile, NamesMayHaveLettersOfAllKinds) {
    const test_support::TemporaryFolder folder;
    const fs::path place = folder.path / filePath("mein Gerät Ω");
    fs::create_directory(place);
    const fs::path file = place / filePath("Größe ₂.vcd");
    testOutputFile(file, false);
    writeOutputFile(file, [](std::ostream& out) { out << "new"; });
    EXPECT_EQ(readText(file), "new");
    EXPECT_EQ(fs::directory_iterator(place)->path().filename().u8string(), u8"Größe ₂.vcd");
    EXPECT_EQ(file.filename().string(), "Größe ₂.vcd");
}

/// The code of naming `output`, with force, of a command that reads `input`.
ExitCode codeOfOver(const fs::path& input, const fs::path& output) {
    return codeOf([&] {
        CommandFiles files(true);
        files.read(input);
        files.write(output);
    });
}

TEST(CommandFilesTest, AnInputIsNoOutputWhateverItIsCalled) {
    const test_support::TemporaryFolder folder;
    const fs::path file = folder.write("in.bin", "kept");
    fs::create_directory(folder.path / "sub");
    fs::create_hard_link(file, folder.path / "hard.bin");
    std::vector<fs::path> names{file, folder.path / "." / "in.bin", (folder.path / "sub") / ".." / "in.bin",
                                (folder.path / "hard.bin")};
    std::error_code failed;
    fs::create_symlink(file, folder.path / "soft.bin", failed);
    if (!failed) { // not on every system for everybody
        names.push_back(folder.path / "soft.bin");
    }
    for (const fs::path& name : names) {
        EXPECT_EQ(codeOfOver(file, name), ExitCode::Usage) << name;
    }
    EXPECT_EQ(readText(file), "kept");
    EXPECT_THAT(textOf([&] {
                    CommandFiles files(false);
                    files.read(file);
                    files.write(file);
                }),
                file.string() + " is read by this command; give another name");
}

TEST(CommandFilesTest, AnotherFileAndAnInputThatIsNotThereDoNoHarm) {
    const test_support::TemporaryFolder folder;
    EXPECT_EQ(codeOfOver(folder.write("in.bin", ""), folder.path / "out.bin"), ExitCode::Done);
    EXPECT_EQ(codeOfOver(folder.path / "missing.bin", folder.path / "out.bin"), ExitCode::Done);
    EXPECT_EQ(codeOfOver({}, folder.write("old.bin", "")), ExitCode::Done);
}

TEST(CommandFilesTest, TwoOutputsOfOneFileAreRefusedBeforeAndAfterItExists) {
    const test_support::TemporaryFolder folder;
    fs::create_directory(folder.path / "sub");
    for (const char* kind : {"new", "old"}) {
        CommandFiles files(true);
        files.write(folder.path / "x.bin");
        files.write(folder.path / "y.bin");
        EXPECT_EQ(codeOf([&] { files.write(folder.path / "x.bin"); }), ExitCode::Usage) << kind;
        EXPECT_EQ(codeOf([&] { files.write((folder.path / "sub") / ".." / "y.bin"); }), ExitCode::Usage) << kind;
        folder.write("x.bin", "");
        folder.write("y.bin", "");
    }
}

TEST(CommandFilesTest, OnlyWhatTheCommandMayOverwriteNeedsNoForce) {
    const test_support::TemporaryFolder folder;
    const fs::path file = folder.write("old.bin", "");
    CommandFiles files(false);
    EXPECT_EQ(codeOf([&] { files.write(file); }), ExitCode::OutputExists);
    EXPECT_EQ(codeOf([&] { files.overwrite(file); }), ExitCode::Done);
}

TEST(DiskIsFullTest, AFolderWithRoomIsNotFullAndIsLeftAsItWas) {
    const test_support::TemporaryFolder folder;
    EXPECT_FALSE(diskIsFull(folder.path));
    EXPECT_FALSE(diskIsFull(folder.path / "missing"));
    EXPECT_EQ(entriesIn(folder), 0U);
}

TEST(MadeFoldersTest, WhatWasMadeGoesAgainUnlessItHoldsSomething) {
    const test_support::TemporaryFolder folder;
    MadeFolders made;
    EXPECT_TRUE(made.make(folder.path / "a"));
    EXPECT_TRUE(made.make((folder.path / "a") / "b"));
    EXPECT_TRUE(made.make((folder.path / "a") / "b" / "c"));
    EXPECT_TRUE(made.make((folder.path / "a") / "d"));
    EXPECT_TRUE(made.make(folder.path)) << "it is there already";
    folder.write("a/d/kept.txt", "");
    made.removeEmpty();
    EXPECT_FALSE(fs::exists((folder.path / "a") / "b"));
    EXPECT_TRUE(fs::exists((folder.path / "a") / "d" / "kept.txt"));
    EXPECT_TRUE(fs::exists(folder.path));
}

TEST(MadeFoldersTest, NoneIsMadeAboveTheOneThatIsWanted) {
    const test_support::TemporaryFolder folder;
    MadeFolders made;
    EXPECT_FALSE(made.make((folder.path / "a") / "b"));
    EXPECT_FALSE(fs::exists(folder.path / "a"));
}

TEST(MadeFoldersTest, AFileInTheWayIsTold) {
    const test_support::TemporaryFolder folder;
    folder.write("wall", "");
    MadeFolders made;
    EXPECT_FALSE(made.make((folder.path / "wall") / "a"));
    EXPECT_FALSE(made.make(folder.path / "wall"));
}

} // namespace
} // namespace toolkit
