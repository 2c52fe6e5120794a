#include "host/session/RecordingOutputs.h"
#include "tdf/TdfFile.h"
#include "tests/support/scratch/TemporaryFolder.h"
#include "tests/unit/host/session/ScriptedChannel.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

namespace host {
namespace {

using Vx::Qrs::Trace::OrvRcvr::TdfFile;
using Vx::Qrs::Trace::OrvRcvr::TdfSection;

class RecordingOutputsTest : public testing::Test {
protected:
    RecordingOutputsTest() { channel.samples.assign(10, 1); }

    void write(unsigned number) {
        outputs.write(channel, number, ReadBack{channel.announced, channel.samples.size()}, result);
    }
    std::vector<std::uint32_t> sectionSizes() const {
        std::vector<TdfSection> sections;
        TdfFile::listSections((folder.path / "x.tdf").string().c_str(), &sections);
        std::vector<std::uint32_t> sizes;
        for (const TdfSection& section : sections) {
            sizes.push_back(section.dataSize);
        }
        return sizes;
    }

    test_support::TemporaryFolder folder;
    ScriptedChannel channel;
    SessionResult result;
    RecordingOutputs outputs{(folder.path / "x.tdf").string(), (folder.path / "x.bin").string(), 2};
};

TEST_F(RecordingOutputsTest, WhatCameBeforeAnErrorIsKept) {
    channel.announced = 10;
    write(1);
    channel.announced = 20; // the receiver gives the copy up after ten
    write(2);
    EXPECT_EQ(sectionSizes(), (std::vector<std::uint32_t>{80, 80}));
    EXPECT_EQ(std::filesystem::file_size(folder.path / "x-2.bin"), 80U);
    EXPECT_EQ(result.files.size(), 3U);
}

TEST_F(RecordingOutputsTest, ACopyThatFailedForItselfIsNotKept) {
    channel.announced = 10;
    channel.saveFails = true;
    EXPECT_THROW(write(1), toolkit::Failure);
    EXPECT_FALSE(std::filesystem::exists(folder.path / "x.tdf"));
    EXPECT_TRUE(result.files.empty());
}

TEST_F(RecordingOutputsTest, ACopyThatLacksSamplesIsNotKept) {
    channel.announced = 20;
    EXPECT_THROW(outputs.write(channel, 1, ReadBack{20, 11}, result), toolkit::Failure);
    EXPECT_FALSE(std::filesystem::exists(folder.path / "x.tdf"));
    EXPECT_FALSE(std::filesystem::exists(folder.path / "x-1.bin"));
}

TEST_F(RecordingOutputsTest, WhereNothingCameNothingIsMade) {
    channel.announced = 20;
    channel.samples.clear();
    write(1);
    EXPECT_FALSE(std::filesystem::exists(folder.path / "x.tdf"));
    EXPECT_TRUE(result.files.empty());
}

TEST_F(RecordingOutputsTest, NamesEveryFileThatItWillMake) {
    const auto files = outputs.files();
    ASSERT_EQ(files.size(), 3U);
    EXPECT_EQ(files[2].filename(), "x-2.bin");
    EXPECT_TRUE(RecordingOutputs("", "", 3).files().empty());
}

} // namespace
} // namespace host
