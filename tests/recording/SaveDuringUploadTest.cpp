#include "tests/recording/LibrarySession.h"

#include <gmock/gmock.h>

#include <atomic>
#include <thread>

// Saves requested before the end of the upload, compared byte by byte with what the unit sent.

namespace recording_test {

namespace {

constexpr std::uint32_t recordedBytes = 4 * 1024 * 1024;
constexpr std::size_t sectionHeader = 4 + 24; // including the file's identifier

class SaveDuringUpload : public testing::Test {
protected:
    SaveDuringUpload() { session.configure(9); }

    std::string save(unsigned format) {
        test_support::writeText(saved, "TDF1");
        return LibrarySession::errorOf([&] { session.channel->SaveFile(saved, format); });
    }

    void expectWhole(unsigned format) {
        const std::string bytes = test_support::readText(saved);
        const std::string samples = format == 0 ? bytes.substr(std::min(sectionHeader, bytes.size())) : bytes;
        EXPECT_GE(samples.size(), recordedBytes);
        EXPECT_EQ(samples.size(), session.file().size());
        EXPECT_TRUE(samples == session.file());
        EXPECT_EQ(session.differenceFromSent(), "");
    }

    LibrarySession session{Target{}};
    const std::string saved = session.bench.folder.file("saved");
};

} // namespace

TEST_F(SaveDuringUpload, RightAfterTheStopHoldsEveryByte) {
    for (const unsigned format : {0u, 2u, 0u, 2u}) {
        session.start();
        session.waitForBytes(recordedBytes);
        session.stop();
        EXPECT_EQ(save(format), "");
        expectWhole(format);
        EXPECT_EQ(session.finish(), "Stopped by user : upload complete");
    }
}

TEST_F(SaveDuringUpload, FromASecondThreadHoldsEveryByte) {
    for (const unsigned format : {0u, 2u}) {
        session.start();
        session.waitForBytes(recordedBytes);
        session.stop();
        std::atomic<bool> ended{false};
        std::thread saving([&] {
            EXPECT_EQ(save(format), "");
            ended = true;
        });
        while (!ended) {
            EXPECT_NE(session.status().text, "");
        }
        saving.join();
        expectWhole(format);
    }
}

TEST_F(SaveDuringUpload, BegunDuringTheRecordingHoldsEveryByte) {
    session.start();
    std::thread saving([&] { EXPECT_EQ(save(2), ""); });
    session.waitForBytes(recordedBytes);
    session.stop();
    saving.join();
    expectWhole(2);
}

} // namespace recording_test
