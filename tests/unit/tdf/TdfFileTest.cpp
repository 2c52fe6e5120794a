#include "TdfTestSupport.h"

namespace {

using namespace tdf_test;

using TdfFileTest = TdfTest;

TEST_F(TdfFileTest, TwoSavesFollowEachOtherByteForByte) {
    writeBytes(path, "TDF1");
    const std::uint32_t first = begin();
    EXPECT_EQ(first, 4U);
    EXPECT_EQ(append(first, "abcdefgh"), 32U);
    EXPECT_EQ(append(first, "ABCDEFGHIJKLMNOP"), 48U);
    const std::uint32_t second = begin();
    EXPECT_EQ(second, 52U);
    EXPECT_EQ(append(second, "12345678"), 32U);
    EXPECT_EQ(readBytes(path), "TDF1"
                               "\x30\0\0\0\x01\0\0\0\x0c\0\0\0BinTraceData"
                               "abcdefghABCDEFGHIJKLMNOP"
                               "\x20\0\0\0\x01\0\0\0\x0c\0\0\0BinTraceData"
                               "12345678"s);
}

TEST_F(TdfFileTest, AnEmptyFileTakesAHeaderButNoData) {
    writeBytes(path, "");
    EXPECT_EQ(begin(), 0U);
    EXPECT_EQ(textOfFailure([&] { append(0, "abcdefgh"); }), "Section header offset to save data is not valid.");
    EXPECT_EQ(readBytes(path), "\x18\0\0\0\x01\0\0\0\x0c\0\0\0BinTraceData"s);
}

TEST_F(TdfFileTest, OffsetsBelowTheIdentifierAreRefused) {
    writeBytes(path, "TDF1TDF1");
    for (const std::uint32_t offset : {0U, 1U, 3U}) {
        EXPECT_EQ(textOfFailure([&] { append(offset, "abcdefgh"); }),
                  "Section header offset to save data is not valid.");
    }
}

TEST_F(TdfFileTest, NoElementsWriteNothingAndKeepTheSize) {
    writeBytes(path, "TDF1");
    const std::uint32_t offset = begin();
    append(offset, "abcdefgh");
    const std::string before = readBytes(path);
    std::uint32_t size = 0;
    TdfFile::appendSectionData(path.c_str(), "BinTraceData", offset, "x", 8, 0, &size);
    EXPECT_EQ(size, 32U);
    EXPECT_EQ(readBytes(path), before);
}

TEST_F(TdfFileTest, AnEmptyOrNullSectionNameGivesASizeOfTwelve) {
    writeBytes(path, "TDF1");
    begin("", 7);
    begin(nullptr, 0x01020304);
    EXPECT_EQ(readBytes(path), "TDF1"
                               "\x0c\0\0\0\x07\0\0\0\0\0\0\0"
                               "\x0c\0\0\0\x04\x03\x02\x01\0\0\0\0"s);
}

TEST_F(TdfFileTest, DataOfAnyElementSizeIsWrittenUnchanged) {
    writeBytes(path, "TDF1");
    const std::uint32_t offset = begin("A");
    EXPECT_EQ(append(offset, "\0\r\n\x1a\xff"s, 1), 18U);
    EXPECT_EQ(readBytes(path).substr(17), "\0\r\n\x1a\xff"s);
}

TEST_F(TdfFileTest, ABadFileNameIsReportedByBothOperations) {
    const std::string text = "File name passed to save file is not valid.";
    std::uint32_t out = 77;
    for (const char* name : {static_cast<const char*>(nullptr), "", "no/such/folder/file.tdf"}) {
        EXPECT_EQ(textOfFailure([&] { TdfFile::beginSection(name, "N", 1, &out); }), text);
        EXPECT_EQ(out, 0U);
        out = 77;
        EXPECT_EQ(textOfFailure([&] { TdfFile::appendSectionData(name, "N", 4, "x", 1, 1, &out); }), text);
        EXPECT_EQ(out, 0U);
        out = 77;
    }
}

TEST_F(TdfFileTest, NullDataIsRefused) {
    writeBytes(path, "TDF1");
    std::uint32_t size = 77;
    EXPECT_EQ(textOfFailure([&] { TdfFile::appendSectionData(path.c_str(), "N", 4, nullptr, 8, 1, &size); }),
              "No data to write TDF.");
    EXPECT_EQ(size, 0U);
    EXPECT_EQ(textOfFailure([&] { TdfFile::appendSectionData(path.c_str(), "N", 3, nullptr, 8, 1, &size); }),
              "Section header offset to save data is not valid.");
}

TEST_F(TdfFileTest, ASectionSizeThatCannotBeReadIsReported) {
    writeBytes(path, "TDF1ab");
    EXPECT_EQ(textOfFailure([&] { append(4, "abcdefgh"); }), "Write I/O error - unable to determine section length.");
    EXPECT_EQ(textOfFailure([&] { append(4000, "abcdefgh"); }),
              "Write I/O error - unable to determine section length.");
    EXPECT_EQ(readBytes(path), "TDF1ab");
}

TEST_F(TdfFileTest, AFileThatCannotBeUpdatedIsReported) {
    // A folder can be opened for reading on one system only, and written on neither.
    const std::string text = textOfFailure([&] {
        std::uint32_t offset = 0;
        TdfFile::beginSection(folder.path.string().c_str(), "N", 1, &offset);
    });
    EXPECT_TRUE(text == "Could not open TDF file as specified." ||
                text == "File name passed to save file is not valid.")
        << text;
}

TEST_F(TdfFileTest, ASizeBeyondThirtyTwoBitsIsRefused) {
    // The header claims a section that almost fills the format's range; the data would exceed it.
    writeBytes(path, "TDF1\xfa\xff\xff\xff"s);
    EXPECT_EQ(textOfFailure([&] { append(4, "abcdefgh"); }), "TDF file would be longer than 4 GiB.");
    EXPECT_EQ(readBytes(path), "TDF1\xfa\xff\xff\xff"s);
}

TEST_F(TdfFileTest, AFullDiskIsReportedAtTheFirstField) {
    if (!std::filesystem::exists("/dev/full")) {
        GTEST_SKIP() << "this system has no device that is always full";
    }
    std::uint32_t offset = 0;
    EXPECT_EQ(textOfFailure([&] { TdfFile::beginSection("/dev/full", "N", 1, &offset); }),
              "Write error -  TDF section header size.");
}

} // namespace
