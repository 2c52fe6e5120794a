#include "common/source/source_utilities/uFile.h"
#include "tests/support/scratch/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <sstream>
#include <thread>
#include <vector>

namespace VX_QRS {
namespace {

class uFileTest : public testing::Test {
protected:
    test_support::TemporaryFolder folder;
    std::string path = folder.file("file");
};

TEST_F(uFileTest, ConstructorOpensNothing) {
    uFile file(path.c_str(), "w+");
    EXPECT_FALSE(file.isOpen());
    EXPECT_FALSE(folder.has("file"));
    EXPECT_EQ(file.write("a", 1), 0U);
    EXPECT_FALSE(file.flush());
    file.close();
}

TEST_F(uFileTest, WritesToTheStoredPath) {
    uFile file(path.c_str(), "r");
    ASSERT_TRUE(file.open(nullptr, "w+"));
    EXPECT_EQ(file.write("one\n", 4), 4U);
    EXPECT_TRUE(file.flush());
    EXPECT_EQ(folder.read("file"), "one\n") << "read while it is open for writing";
    EXPECT_EQ(file.getPath(), path);
}

TEST_F(uFileTest, OpeningWithAPathStoresIt) {
    uFile file;
    EXPECT_FALSE(file.open(nullptr, "w+"));
    ASSERT_TRUE(file.open(path.c_str(), "w+"));
    EXPECT_EQ(file.getPath(), path);
}

TEST_F(uFileTest, AppendingKeepsWhatIsThere) {
    folder.write("file", "old\n");
    uFile file;
    ASSERT_TRUE(file.open(path.c_str(), "a+"));
    file.write("new\n", 4);
    file.close();
    EXPECT_FALSE(file.isOpen());
    EXPECT_EQ(folder.read("file"), "old\nnew\n");
    ASSERT_TRUE(file.open(nullptr, "w+"));
    file.close();
    EXPECT_EQ(folder.read("file"), "");
}

TEST_F(uFileTest, MissingFolderFails) {
    uFile file;
    EXPECT_FALSE(file.open((folder.file("none") + "/file").c_str(), "w+"));
    EXPECT_FALSE(file.isOpen());
}

TEST_F(uFileTest, OthersMayWriteAtTheSameTime) {
    uFile first;
    uFile second;
    ASSERT_TRUE(first.open(path.c_str(), "a+"));
    ASSERT_TRUE(second.open(path.c_str(), "a+"));
    first.write("1\n", 2);
    first.flush();
    second.write("2\n", 2);
    second.flush();
    EXPECT_EQ(folder.read("file"), "1\n2\n");
}

TEST_F(uFileTest, OpeningAgainClosesTheFileBefore) {
    uFile file;
    ASSERT_TRUE(file.open(path.c_str(), "w+"));
    file.write("kept", 4);
    ASSERT_TRUE(file.open(folder.file("other").c_str(), "w+"));
    EXPECT_EQ(folder.read("file"), "kept");
}

TEST_F(uFileTest, WritesOfSeveralThreadsStayWhole) {
    uFile file;
    ASSERT_TRUE(file.open(path.c_str(), "w+"));
    std::vector<std::thread> threads;
    for (char c = 'a'; c < 'e'; ++c) {
        threads.emplace_back([&file, c] {
            const std::string line = std::string(50, c) + "\n";
            for (int i = 0; i < 200; ++i) {
                file.write(line.data(), line.size());
                file.flush();
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    file.close();
    std::istringstream text(folder.read("file"));
    int lines = 0;
    for (std::string line; std::getline(text, line); ++lines) {
        ASSERT_EQ(line, std::string(50, line.front()));
    }
    EXPECT_EQ(lines, 800);
}

} // namespace
} // namespace VX_QRS
