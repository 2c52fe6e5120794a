#include "common/source/source_utilities/KeptFile.h"
#include "tests/support/scratch/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace VX_QRS {
namespace {

using Names = std::vector<std::string>;

class KeptFileTest : public testing::Test {
protected:
    // Replaces the file as a writer does, and returns the path of the old content.
    std::string replace(const std::string& content) {
        KeptFile kept(path, ".old", content);
        std::filesystem::remove(path);
        folder.write("file", content);
        kept.settle();
        return kept.path();
    }

    test_support::TemporaryFolder folder;
    const std::string path = folder.file("file");
};

TEST_F(KeptFileTest, AMissingFileIsNotKept) {
    EXPECT_EQ(replace("new"), "");
    EXPECT_EQ(folder.names(), Names{"file"});
}

TEST_F(KeptFileTest, AFileWithTheContentOfItsReplacementIsNotKept) {
    folder.write("file", "a\r\nb\n");
    EXPECT_EQ(replace("a\nb\n"), "");
    EXPECT_EQ(folder.names(), Names{"file"});
}

TEST_F(KeptFileTest, TheOldContentIsKeptByteForByte) {
    const std::string old("a\r\n\x1A\0b", 7);
    folder.write("file", old);
    EXPECT_EQ(replace("new"), folder.file("file.old"));
    std::ifstream copy(folder.file("file.old"), std::ios_base::binary);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(copy), {}), old);
    EXPECT_EQ(folder.read("file"), "new");
}

TEST_F(KeptFileTest, EarlierCopiesAreNeverReplaced) {
    folder.write("file", "first");
    EXPECT_EQ(replace("second"), folder.file("file.old"));
    EXPECT_EQ(replace("third"), folder.file("file.old.2"));
    EXPECT_EQ(replace("fourth"), folder.file("file.old.3"));
    EXPECT_EQ(folder.read("file.old"), "first");
    EXPECT_EQ(folder.read("file.old.2"), "second");
    EXPECT_EQ(folder.read("file.old.3"), "third");
}

TEST_F(KeptFileTest, AnEarlierCopyOfTheSameContentServesAgain) {
    folder.write("file", "first");
    replace("second");
    replace("first");
    EXPECT_EQ(replace("second"), folder.file("file.old"));
    EXPECT_EQ(replace("first"), folder.file("file.old.2"));
    EXPECT_EQ(folder.names(), (Names{"file", "file.old", "file.old.2"}));
}

TEST_F(KeptFileTest, AFolderOfThatNameIsLeftAlone) {
    folder.write("file", "first");
    std::filesystem::create_directory(folder.file("file.old"));
    EXPECT_EQ(replace("second"), folder.file("file.old.2"));
    EXPECT_EQ(folder.read("file.old.2"), "first");
}

TEST_F(KeptFileTest, UnlessItIsSettledEverythingIsPutBack) {
    folder.write("file", "first");
    {
        const KeptFile kept(path, ".old", "second");
        EXPECT_EQ(kept.path(), folder.file("file.old"));
    }
    EXPECT_EQ(folder.names(), Names{"file"});
    EXPECT_EQ(folder.read("file"), "first");
}

TEST_F(KeptFileTest, TheOnlyCopyOfWhatAnotherProcessReplacedIsNotPutBack) {
    folder.write("file", "first");
    {
        const KeptFile kept(path, ".old", "second");
        std::filesystem::remove(path);
        folder.write("file", "of another process");
    }
    EXPECT_EQ(folder.read("file.old"), "first");
    EXPECT_EQ(folder.read("file"), "of another process");
}

TEST_F(KeptFileTest, AnEarlierCopyStaysWhenNothingIsSettled) {
    folder.write("file", "first");
    folder.write("file.old", "first");
    {
        const KeptFile kept(path, ".old", "second");
    }
    EXPECT_EQ(folder.names(), (Names{"file", "file.old"}));
}

} // namespace
} // namespace VX_QRS
