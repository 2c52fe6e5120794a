#include "common/source/source_utilities/uEnvironment.h"
#include "tests/unit/client/frontend/ChannelFixture.h"

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <initializer_list>
#include <string>
#include <thread>
#include <vector>

// Recordings with the control thread at work.

namespace client_test {

using testing::Contains;

namespace {

class ThreadTest : public ChannelTest {
protected:
    std::string record(std::uint8_t fill) {
        model.setRecorded(std::vector<std::uint8_t>(16384, fill));
        channel->start(false);
        channel->stop();
        waitUntilDone();
        return readText(binPath());
    }
    static std::string block(std::uint8_t fill) { return std::string(16384, static_cast<char>(fill)); }
};

} // namespace

TEST_F(ThreadTest, RecordingGoesFromStartToFile) {
    openCalibrated();
    LogCapture log;
    EXPECT_TRUE(record('a') == block('a'));
    EXPECT_THAT(log.steps(), Contains("starting collection thread"));
    EXPECT_EQ(state(), Stopped);
    EXPECT_EQ(status().bytesTotal, 16384u);
    EXPECT_FALSE(status().hasError);
}

TEST_F(ThreadTest, ManyRecordingsFollowEachOther) {
    openCalibrated();
    for (std::uint8_t i = 0; i < 200; ++i) {
        ASSERT_TRUE(record(i) == block(i)) << static_cast<int>(i);
    }
    EXPECT_EQ(model.count(Call::Start), 200u);
    EXPECT_EQ(model.count(Call::Stop), 200u);
}

TEST_F(ThreadTest, StartIsPossibleFromEveryEndOfARecording) {
    openCalibrated();
    record('a');
    ASSERT_EQ(state(), Stopped);
    model.deliverBefore(Call::Status, [](auto& callback) { callback.onStatus(0); });
    model.setRecorded({});
    channel->start(false);
    waitUntilDone();
    ASSERT_EQ(state(), Idle);
    model.deliverBefore(Call::Status, [](auto& callback) { callback.onError(1, "x", ""); });
    channel->start(false);
    waitUntilDone();
    ASSERT_EQ(state(), Failed);
    EXPECT_TRUE(record('b') == block('b'));
    EXPECT_EQ(state(), Stopped);
    EXPECT_FALSE(status().hasError);
}

// ---- archives ----

TEST_F(ThreadTest, StartThatFailsLeavesNoThreadToWaitForAndCanBeRepeatedAfterAStop) {
    openCalibrated();
    EXPECT_CALL(transmitter, program)
        .WillOnce(testing::Throw(Exception("transmitter", 1, eXMTR, "failed enabling port")))
        .WillRepeatedly(testing::Return());
    EXPECT_THROW(channel->start(false), Exception);
    EXPECT_EQ(state(), Recording);
    EXPECT_TRUE(status().threadAbsent);
    channel->stop();
    EXPECT_EQ(state(), Stopped);
    channel->start(false);
    EXPECT_FALSE(status().threadDone);
    channel->stop();
    waitUntilDone();
}

TEST_F(ThreadTest, ArchiveIsABudgetThatIsSpent) {
    openCalibrated();
    channel->setProperty("archive", "3");
    record('a');
    EXPECT_EQ(get("archive"), "3") << "a fresh calibration has no recording to keep";
    for (const std::uint8_t fill : std::initializer_list<std::uint8_t>{'b', 'c', 'd'}) {
        record(fill);
    }
    EXPECT_EQ(get("archive"), "0");
    record('e');
    EXPECT_TRUE(readText(stem + ".3.bin") == block('a'));
    EXPECT_TRUE(readText(stem + ".2.bin") == block('b'));
    EXPECT_TRUE(readText(stem + ".1.bin") == block('c'));
    EXPECT_TRUE(readText(binPath()) == block('e'));
    EXPECT_FALSE(exists(stem + ".0.bin"));
}

TEST_F(ThreadTest, RotationWithoutAFileIsNoFailure) {
    openCalibrated();
    record('a');
    std::filesystem::remove(binPath());
    channel->setProperty("archive", "1");
    EXPECT_TRUE(record('b') == block('b'));
    EXPECT_FALSE(exists(stem + ".1.bin"));
    EXPECT_EQ(get("archive"), "0");
}

// ---- the lock ----

TEST_F(ThreadTest, SecondStartKeepsTheLockOneLevelDeeper) {
    openCalibrated();
    channel->start(false);
    LogCapture log;
    channel->start(false);
    EXPECT_THAT(log.steps(), Contains("already recording, call ignored"));
    EXPECT_EQ(model.count(Call::Start), 1u);
    EXPECT_TRUE(releaseLock());
    EXPECT_TRUE(lockIsFree());
    channel->stop();
    waitUntilDone();
    EXPECT_EQ(state(), Stopped);
}

/// In a process of its own, since nothing brings such a channel to its end.
class SecondStart : public ThreadTest {
protected:
    void standStill() {
        openCalibrated();
        channel->start(false);
        channel->start(false);
        channel->stop();
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
        std::_Exit(status().threadDone || model.count(Call::Stop) != 0 ? 1 : 42);
    }
};

TEST_F(SecondStart, MakesTheRecordingStandStill) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    VX_QRS::uEnvironment::set("ORV_TEST_TEMP", folder.path.string().c_str());
    EXPECT_EXIT(standStill(), testing::ExitedWithCode(42), "");
    VX_QRS::uEnvironment::set("ORV_TEST_TEMP", "");
}

// ---- other threads ----

TEST_F(ThreadTest, StatusIsPolledFromTwoThreadsWhileRecordingsComeAndGo) {
    openCalibrated();
    std::atomic<bool> ending{false};
    std::atomic<unsigned> polls{0};
    const auto poll = [&] {
        while (!ending) {
            ChannelMetrics metrics;
            channel->status(metrics);
            if (metrics.hasError) {
                EXPECT_STREQ(metrics.errorText, "data server error (5) : reason");
            }
            EXPECT_GE(metrics.state, static_cast<std::int32_t>(Calibrated));
            ++polls;
        }
    };
    std::thread first(poll);
    std::thread second(poll);
    for (unsigned i = 0; i < 50; ++i) {
        if (i % 3 == 2) {
            model.deliverBefore(Call::Status, [](auto& callback) { callback.onError(5, "reason", ""); }, 2);
        }
        record(static_cast<std::uint8_t>(i));
    }
    while (polls < 100) {
        std::this_thread::yield();
    }
    ending = true;
    first.join();
    second.join();
}

TEST_F(ThreadTest, StopMayComeFromAnyThread) {
    openCalibrated();
    for (unsigned i = 0; i < 20; ++i) {
        channel->start(false);
        std::thread first([this] { channel->stop(); });
        std::thread second([this] { channel->stop(); });
        waitUntilDone();
        first.join();
        second.join();
        ASSERT_EQ(state(), Stopped);
    }
}

TEST_F(ThreadTest, ChannelCanBeDeletedInTheMiddleOfARecording) {
    openCalibrated();
    model.setRecorded(std::vector<std::uint8_t>(100, 1));
    channel->start(false);
    while (status().bytesReady == 0) {
        std::this_thread::yield();
    }
    channel.reset();
    EXPECT_EQ(model.count(Call::Stop), 0u);
    EXPECT_EQ(model.count(Call::Cancel), 2u) << "one before the recording and one for what is left";
    EXPECT_FALSE(model.isOpen());
    EXPECT_FALSE(exists(binPath())) << "deleted with the object";
    remakeChannel();
}

TEST_F(ThreadTest, FilesOutliveALoggedChannel) {
    VX_QRS::uEnvironment::set("VX_TRACE_LOGGING", "1");
    remakeChannel();
    VX_QRS::uEnvironment::set("VX_TRACE_LOGGING", "");
    openCalibrated();
    record('a');
    channel.reset();
    EXPECT_TRUE(readText(binPath()) == block('a'));
    remakeChannel();
}

TEST_F(ThreadTest, EndIsRequestedAgainWhenAStartHasTakenTheRequestBack) {
    openCalibrated();
    std::atomic<bool> takenBack{false};
    // As a start on another thread, which prepares its recording between the request and the wait.
    waits.hook = [&](std::uint32_t) {
        if (inside().control().exitThread && !takenBack.exchange(true)) {
            inside().control().exitThread = false;
        }
    };
    channel->start(false);
    inside().terminateThread();
    EXPECT_TRUE(status().threadAbsent);
    waits.hook = {};
}

TEST_F(ThreadTest, TerminateWithoutAThreadReturnsAtOnce) {
    inside().terminateThread();
    inside().terminateThread();
    EXPECT_TRUE(inside().control().exitThread);
}

} // namespace client_test
