#include "common/source/source_utilities/InputFile.h"
#include "tests/support/scratch/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <fstream>
#include <string>

using VX_QRS::InputFile;

namespace {

class InputFileTest : public testing::Test {
protected:
    std::string read(std::uint64_t position, std::size_t size) const {
        std::string bytes(size, '.');
        bytes.resize(file.readAt(position, bytes.data(), size));
        return bytes;
    }

    const test_support::TemporaryFolder folder;
    const std::string path = folder.file("file");
    InputFile file;
};

TEST_F(InputFileTest, AMissingFileIsNotOpenAndHasNothing) {
    EXPECT_FALSE(file.open(path));
    EXPECT_FALSE(file.isOpen());
    EXPECT_EQ(file.length(), 0U);
    EXPECT_EQ(read(0, 1), "");
    EXPECT_FALSE(file.open(""));
}

TEST_F(InputFileTest, AnyPlaceIsReadUpToTheEnd) {
    folder.write("file", "0123456789");
    ASSERT_TRUE(file.open(path));
    EXPECT_EQ(file.length(), 10U);
    EXPECT_EQ(read(8, 5), "89");
    EXPECT_EQ(read(0, 3), "012");
    EXPECT_EQ(read(10, 1), "");
    EXPECT_EQ(read(0xFFFFFFFF, 1), "");
}

TEST_F(InputFileTest, WhatAnotherWritesMeanwhileIsThere) {
    std::ofstream writer(path, std::ios::binary);
    ASSERT_TRUE(file.open(path));
    EXPECT_EQ(file.length(), 0U);
    writer << "a\r\n\x1A" << std::flush;
    EXPECT_EQ(file.length(), 4U);
    EXPECT_EQ(read(0, 9), "a\r\n\x1A");
    writer << "b" << std::flush;
    EXPECT_EQ(read(0, 9), "a\r\n\x1A\x62");
}

TEST_F(InputFileTest, AfterClosingAnotherFileCanBeOpened) {
    folder.write("file", "first");
    folder.write("other", "second");
    ASSERT_TRUE(file.open(path));
    file.close();
    file.close();
    EXPECT_EQ(file.length(), 0U);
    ASSERT_TRUE(file.open(folder.file("other")));
    EXPECT_EQ(read(0, 9), "second");
}

} // namespace
