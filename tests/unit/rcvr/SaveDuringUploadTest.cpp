#include "DataFixture.h"

#include <atomic>
#include <chrono>
#include <thread>

// A save that is asked for before everything has come from the unit.

namespace {

using namespace rcvr_test;
using testing::Contains;
using testing::HasSubstr;
using testing::Not;

class SaveDuringUpload : public Data {
protected:
    static constexpr std::uint64_t total = 20000;

    // At each question for the status the file has grown, until the thread has ended.
    void growAtEachQuestion(int state) {
        writeBytes(uploadFile, "");
        EXPECT_CALL(channel, status).WillRepeatedly([this, state](client::ChannelMetrics& out) {
            const std::uint64_t more = std::min<std::uint64_t>(total - come, 5000);
            if (asked++ % 2 == 1 && more != 0) {
                grow(samples(come, come + more));
                come += more;
            } else if (more == 0) {
                done = true;
            }
            out.state = done ? client::Stopped : state;
            out.threadDone = done;
            out.bytesTotal = static_cast<std::uint32_t>(come * 8);
            out.bytesReady = come < total ? stale : 0;
        });
    }

    // How often the channel was asked for its status by a save in a state in which the thread never ends.
    int questionsWhileSaving(const client::ChannelMetrics& metrics) {
        int questions = 0;
        EXPECT_CALL(channel, status).WillRepeatedly([&](client::ChannelMetrics& out) {
            out = metrics;
            out.threadDone = ++questions > 40; // so that a wait ends
        });
        driver->SaveFile(target, 2);
        testing::Mock::VerifyAndClearExpectations(&channel);
        return questions;
    }

    // What the unit holds is known as of the last look, which may be of long before the capture was closed.
    static constexpr std::uint32_t stale = 8;

    std::uint64_t come = 0;
    int asked = 0;
    bool done = false;
};

TEST_F(SaveDuringUpload, ARawCopyHoldsAllThatTheUnitSent) {
    growAtEachQuestion(client::Stopped);
    driver->SaveFile(target, 2);
    EXPECT_TRUE(readBytes(target) == samples(0, total));
}

TEST_F(SaveDuringUpload, ASectionHoldsAllThatTheUnitSent) {
    growAtEachQuestion(client::Idle);
    writeBytes(target, "TDF1");
    driver->SaveFile(target, 0);
    EXPECT_TRUE(readBytes(target).substr(4 + 24) == samples(0, total));
}

TEST_F(SaveDuringUpload, ARunningRecordingIsWaitedFor) {
    growAtEachQuestion(client::Recording);
    driver->SaveFile(target, 2);
    EXPECT_TRUE(readBytes(target) == samples(0, total));
}

TEST_F(SaveDuringUpload, ARecordingThatEndsInAnErrorIsWaitedForToo) {
    growAtEachQuestion(client::Failed);
    driver->SaveFile(target, 2);
    EXPECT_TRUE(readBytes(target) == samples(0, total));
}

TEST_F(SaveDuringUpload, FromASecondThreadLeavesTheChannelFreeForOthers) {
    writeBytes(uploadFile, "");
    std::atomic<std::uint64_t> arrived{0};
    std::atomic<bool> ended{false};
    std::atomic<int> questions{0};
    EXPECT_CALL(channel, status).WillRepeatedly([&](client::ChannelMetrics& out) {
        ++questions;
        out.state = client::Stopped;
        out.threadDone = ended;
        out.bytesTotal = static_cast<std::uint32_t>(arrived * 8);
        out.bytesReady = arrived < total ? stale : 0;
    });
    std::thread saving([&] { EXPECT_EQ(failureOf([&] { driver->SaveFile(target, 2); }), ""); });
    while (questions < 3) {
        std::this_thread::yield();
    }
    for (; arrived < total; arrived += 1000) {
        grow(samples(arrived, arrived + 1000));
        ChannelStatus status;
        driver->GetChannelStatus(&status);
        EXPECT_THAT(status.text, HasSubstr("uploading data"));
    }
    ended = true;
    saving.join();
    EXPECT_TRUE(readBytes(target) == samples(0, total));
}

TEST_F(SaveDuringUpload, BeforeARecordingNothingIsWaitedFor) {
    writeBytes(uploadFile, "");
    for (const int state : {client::Uncalibrated, client::Calibrating, client::Calibrated}) {
        client::ChannelMetrics metrics;
        metrics.state = state;
        EXPECT_EQ(questionsWhileSaving(metrics), 2) << state;
    }
}

TEST_F(SaveDuringUpload, AThreadThatIsAbsentIsNotWaitedFor) {
    writeBytes(uploadFile, samples(0, 100));
    for (const int state : {client::Recording, client::Failed, client::Idle, client::Stopped}) {
        client::ChannelMetrics metrics;
        metrics.state = state;
        metrics.threadAbsent = true;
        metrics.bytesTotal = 800;
        const LogCapture log(folder, "1");
        EXPECT_LE(questionsWhileSaving(metrics), 5) << state;
        EXPECT_THAT(log.lines(), Not(Contains(HasSubstr("seek read timeout"))));
        EXPECT_EQ(readBytes(target), samples(0, 100));
    }
}

TEST_F(SaveDuringUpload, AReadDoesNotWaitForAThreadThatIsAbsent) {
    upload(samples(0, 10));
    channel.metrics.state = client::Stopped;
    channel.metrics.threadDone = false;
    channel.metrics.threadAbsent = true;
    const LogCapture log(folder, "1");
    EXPECT_EQ(read(0, 20).size(), 10U);
    EXPECT_THAT(log.lines(), Not(Contains(HasSubstr("seek read timeout"))));
}

TEST_F(SaveDuringUpload, ARefusedTargetIsReportedWithoutAWait) {
    EXPECT_CALL(channel, status).Times(0);
    EXPECT_THAT(failureOf([&] { driver->SaveFile(folder.file("none") + "/x", 2); }), HasSubstr("Could not open file"));
    EXPECT_NE(failureOf([&] { driver->SaveFile("", 2); }), "");
    EXPECT_NE(failureOf([&] { driver->SaveFile(target, 1); }), "");
}

TEST_F(SaveDuringUpload, AFailedQuestionDuringTheWaitLeavesTheTargetAsItWas) {
    writeBytes(target, "what was there");
    EXPECT_CALL(channel, status)
        .WillOnce([](client::ChannelMetrics& out) { out.state = client::Stopped; })
        .WillOnce(testing::Throw(failure()));
    EXPECT_EQ(failureOf([&] { driver->SaveFile(target, 2); }), "Error 1: data server failure : no answer");
    EXPECT_EQ(readBytes(target), "what was there");
}

TEST_F(SaveDuringUpload, SamplesThatNeverCameAreReportedInTheLog) {
    // A full disk has cut the upload file short, and what was sent counts all the same.
    upload(samples(0, 8192 + 2000));
    channel.metrics.bytesTotal = (8192 + 3000) * 8;
    const LogCapture log(folder, "1");
    driver->SaveFile(target, 2);
    EXPECT_THAT(log.lines(), Contains("E ORV Receiver : SaveFile saved only 10192 of 11192 samples"));
    EXPECT_EQ(log.lines().back(), "M ORV Receiver : SaveFile success");
    EXPECT_EQ(readBytes(target), samples(0, 10192));
}

TEST_F(SaveDuringUpload, AStartDoesNotWaitForAThreadThatIsAbsent) {
    int questions = 0;
    EXPECT_CALL(channel, status).WillRepeatedly([&](client::ChannelMetrics& out) {
        out.state = client::Stopped;
        out.threadAbsent = true;
        out.threadDone = ++questions > 40;
    });
    EXPECT_CALL(channel, start(false)).Times(2);
    driver->StartRecording(false);
    driver->NotifySystemStateChange(0);
    EXPECT_LE(questions, 5);
}

} // namespace
