#include "tests/unit/client/frontend/ChannelFixture.h"

#include <chrono>
#include <string>
#include <thread>
#include <vector>

// From one recording to the next: what a start, a calibration or new settings find of the last recording's thread.

namespace client_test {

using testing::Contains;
using testing::Throw;

namespace {

/// Fewer bytes than a block are requested as 0 bytes again and again: an upload that does not end by itself.
constexpr std::size_t endless = 100;

class HandoverTest : public ChannelTest {
protected:
    static std::vector<std::uint8_t> block(char fill) {
        return std::vector<std::uint8_t>(16384, static_cast<std::uint8_t>(fill));
    }
    static std::string text(char fill) { return std::string(16384, fill); }

    void record(char fill) {
        channel->start(false);
        model.setRecorded(block(fill)); // after the start, which may still have an upload to end
        channel->stop();
        waitUntilDone();
    }
    bool holds(char fill) { return readText(binPath()) == text(fill); }

    /// Leaves a stopped recording whose thread is uploading and has a block in its file.
    void leaveUploading() {
        std::vector<std::uint8_t> recorded = block('x');
        recorded.resize(recorded.size() + endless, 'x');
        model.setRecorded(recorded);
        model.clearLog();
        channel->start(false);
        channel->stop();
        while (model.count(Call::Request) < 2) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    }

    void refuseProgram() {
        EXPECT_CALL(transmitter, program)
            .WillOnce(Throw(Exception("transmitter", 1, eXMTR, "failed enabling port")))
            .WillRepeatedly(testing::Return());
    }
};

} // namespace

// ---- the earlier recording's file ----

TEST_F(HandoverTest, DataFileIsEmptyAsSoonAsStartHasReturned) {
    openCalibrated();
    for (unsigned i = 0; i < 20; ++i) {
        record('a');
        ASSERT_TRUE(holds('a'));
        channel->start(false);
        ASSERT_EQ(readText(binPath()), "") << i;
        channel->stop();
        waitUntilDone();
    }
}

TEST_F(HandoverTest, SecondStartDoesNotKeepTheOldFileInPlace) {
    openCalibrated();
    record('a');
    channel->start(false);
    channel->start(false);
    EXPECT_EQ(readText(binPath()), "");
    EXPECT_TRUE(releaseLock());
    channel->stop();
    waitUntilDone();
}

TEST_F(HandoverTest, ThreadOpensItsFileWhileAnotherHoldsTheLock) {
    openCalibrated();
    writeText(binPath(), "old");
    beginRecording();
    VX_QRS::uMutex& mutex = inside().mutex();
    mutex.lock();
    std::thread body([this] { channel->run(); });
    while (!readText(binPath()).empty()) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    mutex.unlock();
    channel->stop();
    body.join();
}

TEST_F(HandoverTest, FileThatCannotBeOpenedIsReportedOnceAndByTheStart) {
    openCalibrated();
    record('a');
    const std::string path = (folder.path / "taken").string();
    std::filesystem::create_directory(path + ".bin");
    channel->setProperty("file", path.c_str());
    LogCapture log;
    channel->start(false);
    EXPECT_EQ(state(), Failed);
    EXPECT_EQ(status().errorText, "failed to open " + path + ".bin");
    waitUntilDone();
    EXPECT_THAT(log.errorSteps(), testing::ElementsAre("channel error : failed to open " + path + ".bin",
                                                       "failed to open thread data file " + path + ".bin"));
    channel->setProperty("file", stem.c_str());
    record('b');
    EXPECT_TRUE(holds('b'));
    EXPECT_FALSE(status().hasError);
}

// ---- an upload that is still running ----

TEST_F(HandoverTest, StartEndsAnUploadAndRecordsAnew) {
    openCalibrated();
    record('a');
    leaveUploading();
    EXPECT_FALSE(status().threadDone);
    record('b');
    EXPECT_TRUE(holds('b'));
    EXPECT_EQ(status().bytesTotal, 16384u);
    EXPECT_FALSE(status().hasError);
}

TEST_F(HandoverTest, CalibrationThatFailsDuringAnUploadLeavesNoThreadToWaitFor) {
    openCalibrated();
    leaveUploading();
    refuseProgram();
    EXPECT_THROW(channel->calibrate(), Exception);
    EXPECT_TRUE(status().threadDone);
    EXPECT_TRUE(status().threadAbsent);
    EXPECT_EQ(state(), Stopped);
    record('b');
    EXPECT_TRUE(holds('b'));
}

TEST_F(HandoverTest, CalibrationDuringAnUploadEndsItAndItsFileIsClosed) {
    openCalibrated("calMode=manual\n");
    leaveUploading();
    LogCapture log;
    channel->calibrate();
    EXPECT_THAT(log.steps(), Contains("calling ds_cancel, 100 bytes on orv, 0 bytes pending"));
    EXPECT_THAT(log.steps(), Contains("closed data file"));
    EXPECT_EQ(state(), Calibrated);
    EXPECT_TRUE(status().threadAbsent);
    record('b');
    EXPECT_TRUE(holds('b'));
}

TEST_F(HandoverTest, CalibrationThatIsRefusedWhileRecordingLeavesTheRecordingAlone) {
    openCalibrated();
    model.setRecorded(block('a'));
    channel->start(false);
    expectFailure([&] { channel->calibrate(); }, eSEQUENCE, "cannot calibrate while recording, stop recording first");
    EXPECT_FALSE(status().threadDone);
    EXPECT_EQ(state(), Recording);
    channel->stop();
    waitUntilDone();
    EXPECT_TRUE(holds('a'));
}

TEST_F(HandoverTest, StartThatFailsDuringAnUploadCanBeRepeated) {
    openCalibrated();
    leaveUploading();
    refuseProgram();
    EXPECT_THROW(channel->start(false), Exception);
    EXPECT_TRUE(status().threadDone) << "the earlier thread's";
    EXPECT_TRUE(status().threadAbsent);
    channel->stop();
    record('b');
    EXPECT_TRUE(holds('b'));
}

TEST_F(HandoverTest, CallerThatHoldsTheLockDeeperIsNotMadeToWait) {
    openCalibrated();
    model.setRecorded(std::vector<std::uint8_t>(endless, 'x'));
    channel->start(false);
    channel->start(false); // keeps a level: the control thread stalls
    channel->stop();
    channel->start(false); // would wait for it for ever
    EXPECT_EQ(state(), Recording);
    EXPECT_FALSE(status().threadDone);
    EXPECT_TRUE(releaseLock());
    channel->stop();
    model.setRecorded({});
    waitUntilDone();
}

// ---- the word that the thread is done ----

TEST_F(HandoverTest, ChannelThatNeverRanAThreadDoesNotReportItDone) {
    openCalibrated();
    EXPECT_FALSE(status().threadDone);
    EXPECT_TRUE(status().threadAbsent);
    refuseProgram();
    EXPECT_THROW(channel->calibrate(), Exception);
    EXPECT_FALSE(status().threadDone);
    refuseProgram();
    EXPECT_THROW(channel->start(false), Exception);
    EXPECT_FALSE(status().threadDone);
    EXPECT_TRUE(status().threadAbsent);
}

TEST_F(HandoverTest, ThreadIsPresentFromStartToItsEnd) {
    openCalibrated();
    channel->start(false);
    EXPECT_FALSE(status().threadAbsent);
    channel->stop();
    waitUntilDone();
    EXPECT_TRUE(status().threadAbsent);
}

TEST_F(HandoverTest, FailedCalibrationKeepsTheWordOfAThreadThatHasEnded) {
    openCalibrated();
    record('a');
    refuseProgram();
    EXPECT_THROW(channel->calibrate(), Exception);
    EXPECT_TRUE(status().threadDone);
}

// ---- counts during an upload ----

TEST_F(HandoverTest, NoByteIsCountedTwiceDuringAnUpload) {
    openCalibrated();
    const std::uint32_t recorded = 10 * 16384;
    model.setRecorded(std::vector<std::uint8_t>(recorded, 'a'));
    model.setPieceSize(1000);
    beginRecording();
    unsigned passes = 0;
    waits.hook = [&](std::uint32_t) {
        ASSERT_LT(++passes, 1000u);
        if (passes == 2) {
            channel->stop();
        }
        const ChannelMetrics now = status();
        if (passes > 1) {
            EXPECT_EQ(now.bytesReady + now.bytesTotal, recorded) << passes;
        }
    };
    channel->run();
    waits.hook = {};
    EXPECT_EQ(status().bytesReady, 0u);
    EXPECT_EQ(status().bytesTotal, recorded);
}

TEST_F(HandoverTest, UnitIsAskedWithWhatItSaidLastWhateverHasArrivedSince) {
    openCalibrated();
    model.setRecorded(block('a'));
    beginRecording();
    waits.hook = [&](std::uint32_t) { channel->stop(); };
    std::vector<std::uint32_t> ready;
    model.onNext(Call::Status, [&] { ready.push_back(inside().counters().bytesReady); }, 4);
    channel->run();
    waits.hook = {};
    EXPECT_THAT(ready, testing::Each(16384u));
}

} // namespace client_test
