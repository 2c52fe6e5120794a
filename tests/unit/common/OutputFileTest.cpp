#include "common/source/source_utilities/OutputFile.h"
#include "tests/support/scratch/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <utility>

namespace VX_QRS {
namespace {

using Mode = OutputFile::Mode;

class OutputFileTest : public testing::Test {
protected:
    test_support::TemporaryFolder folder;
    const std::string path = folder.file("file");
};

TEST_F(OutputFileTest, TextReplacesTheContent) {
    folder.write("file", "a longer old text");
    OutputFile file(path, Mode::text);
    EXPECT_TRUE(file.isOpen());
    EXPECT_TRUE(file.write("one\n"));
    EXPECT_TRUE(file.write("two\n"));
    EXPECT_TRUE(file.close());
    EXPECT_FALSE(file.isOpen());
    EXPECT_EQ(folder.read("file"), "one\ntwo\n");
}

TEST_F(OutputFileTest, AppendedTextFollowsTheContent) {
    folder.write("file", "old,");
    OutputFile file(path, Mode::appendedText);
    EXPECT_TRUE(file.write("new"));
    EXPECT_TRUE(file.close());
    EXPECT_EQ(folder.read("file"), "old,new");
}

TEST_F(OutputFileTest, BinaryBytesAreWrittenUnchanged) {
    const std::string bytes("a\r\nb\nc\0\x1A", 8);
    OutputFile file(path, Mode::binary);
    EXPECT_TRUE(file.write(bytes.data(), bytes.size()));
    EXPECT_TRUE(file.close());
    EXPECT_EQ(test_support::readText(path), bytes);
}

TEST_F(OutputFileTest, FlushedTextIsInTheFileBeforeTheClosing) {
    OutputFile file(path, Mode::text);
    EXPECT_TRUE(file.write("text"));
    EXPECT_TRUE(file.flush());
    EXPECT_EQ(folder.read("file"), "text");
}

TEST_F(OutputFileTest, TheDestructorCloses) {
    {
        OutputFile(path, Mode::text).write("text");
    }
    EXPECT_EQ(folder.read("file"), "text");
    EXPECT_EQ(std::remove(path.c_str()), 0) << "Windows refuses to remove an open file";
}

TEST_F(OutputFileTest, AFileThatCannotBeOpenedFailsInEachCall) {
    OutputFile file(folder.file("missing/file"), Mode::text);
    EXPECT_FALSE(file.isOpen());
    EXPECT_FALSE(file.write("text"));
    EXPECT_FALSE(file.flush());
    EXPECT_FALSE(file.close());
}

TEST_F(OutputFileTest, AMoveLeavesNoFileAndAnAssignmentClosesTheEarlierOne) {
    OutputFile file(path, Mode::text);
    file.write("first");
    OutputFile other(std::move(file));
    EXPECT_FALSE(file.isOpen()); // NOLINT(bugprone-use-after-move)
    other = OutputFile(folder.file("second"), Mode::text);
    EXPECT_EQ(folder.read("file"), "first");
    EXPECT_TRUE(other.close());
}

TEST_F(OutputFileTest, ATakenOverStreamIsClosed) {
    OutputFile file(std::fopen(path.c_str(), "w"));
    EXPECT_TRUE(file.write("text"));
    EXPECT_TRUE(file.close());
    EXPECT_EQ(folder.read("file"), "text");
    EXPECT_FALSE(OutputFile(nullptr).isOpen());
}

TEST_F(OutputFileTest, AFailedWriteIsReportedByTheClosing) {
    folder.write("file", "");
    OutputFile file(std::fopen(path.c_str(), "r")); // a stream that accepts no byte
    ASSERT_TRUE(file.isOpen());
    EXPECT_FALSE(file.write("text"));
    EXPECT_FALSE(file.close());
}

} // namespace
} // namespace VX_QRS
