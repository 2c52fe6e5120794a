#include "../DataFixture.h"
#include "tdf/TdfFile.h"

// Saves at the end of the range that 32 bits address. The files are sparse, which costs nothing on this system; elsewhere
// they would take their whole size on the disk.

namespace {

using namespace rcvr_test;
using OrvRcvr::TdfFile;

constexpr std::uint64_t limit = 0xFFFFFFFF;
constexpr std::uint64_t headerWithName = 24;
constexpr std::uint64_t recorded = 10;

class FourGibibytes : public Data {
protected:
    FourGibibytes() { upload(samples(0, recorded)); }

    void makeTarget(std::uint64_t size) const {
        writeBytes(target, "TDF1");
        std::filesystem::resize_file(target, size);
    }
    std::string tailOf(std::uint64_t from) const {
        std::ifstream file(target, std::ios::binary);
        file.seekg(static_cast<std::streamoff>(from));
        return {std::istreambuf_iterator<char>(file), {}};
    }
};

TEST_F(FourGibibytes, ASaveThatWouldCrossThemIsRefusedAndTheFileStays) {
    for (const std::uint64_t size :
         {limit - headerWithName - recorded * 8 + 1, limit - 1, limit, limit + 1, 2 * limit}) {
        makeTarget(size);
        const auto written = std::filesystem::last_write_time(target);
        EXPECT_EQ(failureOf([&] { driver->SaveFile(target, 0); }),
                  "Error 6: invalid file : TDF file would be longer than 4 GiB.")
            << size;
        EXPECT_EQ(std::filesystem::file_size(target), size);
        EXPECT_EQ(std::filesystem::last_write_time(target), written);
    }
}

TEST_F(FourGibibytes, ASaveThatEndsAtTheLastByteIsWritten) {
    const std::uint64_t size = limit - headerWithName - recorded * 8;
    makeTarget(size);
    driver->SaveFile(target, 0);
    EXPECT_EQ(std::filesystem::file_size(target), limit);
    EXPECT_EQ(tailOf(size + headerWithName), samples(0, recorded));
}

TEST_F(FourGibibytes, ASectionWhoseHeaderWouldCrossThemIsNotBegun) {
    for (const std::uint64_t size : {limit - headerWithName + 1, limit, limit + 4}) {
        makeTarget(size);
        std::uint32_t offset = 77;
        EXPECT_EQ(failureOf([&] { TdfFile::beginSection(target.c_str(), "BinTraceData", 1, &offset); }),
                  "cZarnError: TDF file would be longer than 4 GiB.");
        EXPECT_EQ(offset, 0U);
        EXPECT_EQ(std::filesystem::file_size(target), size);
    }
}

TEST_F(FourGibibytes, DataThatWouldCrossThemAreNotAppended) {
    makeTarget(limit - headerWithName - 7);
    std::uint32_t offset = 0;
    TdfFile::beginSection(target.c_str(), "BinTraceData", 1, &offset);
    std::uint32_t size = 77;
    EXPECT_EQ(failureOf([&] { TdfFile::appendSectionData(target.c_str(), "", offset, "12345678", 8, 1, &size); }),
              "cZarnError: TDF file would be longer than 4 GiB.");
    EXPECT_EQ(size, 0U);
    EXPECT_EQ(std::filesystem::file_size(target), limit - 7);
    TdfFile::appendSectionData(target.c_str(), "", offset, "1234567", 1, 7, &size);
    EXPECT_EQ(size, headerWithName + 7);
    EXPECT_EQ(std::filesystem::file_size(target), limit);
}

TEST_F(FourGibibytes, ARawCopyTakesNoNoticeOfWhatWasThere) {
    makeTarget(limit + 1);
    driver->SaveFile(target, 2);
    EXPECT_EQ(readBytes(target), samples(0, recorded));
}

} // namespace
