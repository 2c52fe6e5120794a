#include "tests/support/scratch/TemporaryFolder.h"
#include "toolkit/ExitCode.h"
#include "toolkit/TextFile.h"

#include <gtest/gtest.h>

namespace toolkit {
namespace {

TEST(ReadText, CanBeginAtAnOffsetAndStopAtALimit) {
    const test_support::TemporaryFolder folder;
    folder.write("a.txt", "0123456789");
    EXPECT_EQ(readText(folder.path / "a.txt"), "0123456789");
    EXPECT_EQ(readText(folder.path / "a.txt", 4), "456789");
    EXPECT_EQ(readText(folder.path / "a.txt", 4, 3), "456");
    EXPECT_EQ(readText(folder.path / "a.txt", 20), "");
}

TEST(ReadText, AMissingFileAndAFolderAreNamed) {
    const test_support::TemporaryFolder folder;
    EXPECT_THROW(readText(folder.path / "none.txt"), Failure);
    EXPECT_THROW(readText(folder.path), Failure);
}

TEST(Damaged, NamesFileLineAndWhat) {
    const auto textOf = [](std::size_t line) {
        try {
            damaged("x.txt", line, "what");
        } catch (const Failure& failure) {
            return std::string(failure.what());
        }
    };
    EXPECT_EQ(textOf(3), "x.txt:3: what");
    EXPECT_EQ(textOf(0), "x.txt: what");
}

} // namespace
} // namespace toolkit
