#include "tests/unit/client/frontend/ChannelFixture.h"

#include <atomic>
#include <chrono>
#include <future>
#include <stdexcept>
#include <string>
#include <thread>

// What an opening starts from and what a failed closing leaves, who holds the lock meanwhile, and the parser that front
// ends and channels share.

namespace client_test {

using testing::_;

namespace {

class ReopeningTest : public ChannelTest {
protected:
    /// An answer for the transmitter that checks whether its caller holds the channel's lock.
    auto calledUnderTheLock(bool expected) {
        return [this, expected] {
            VX_QRS::uMutex& mutex = inside().mutex();
            const bool held = mutex.unlock();
            EXPECT_EQ(held, expected);
            if (held) {
                mutex.lock();
            }
        };
    }
};

/// The path that the shared parser holds; empty for one that was only just made.
std::string pathOfTheParser() {
    PropertyParser* parser = createPropertyParser();
    const char* path = parser->getFileName();
    const std::string text = path == nullptr ? "" : path;
    destroyPropertyParser(parser);
    return text;
}

} // namespace

// ---- opening and closing ----

TEST_F(ReopeningTest, EveryOpeningBeginsWithAFreshCalibration) {
    openChannel("delays=1\n");
    auto& calibration = inside().calibration();
    calibration.cal.proc[0].delay = 9;
    calibration.cal.proc[7].debounce = 9;
    calibration.metrics.proc[2].edges = 9;
    calibration.metrics.proc[7].marginBefore = 9;
    channel->applySettings();
    EXPECT_EQ(calibration.cal.proc[0].delay, 1u);
    EXPECT_EQ(calibration.cal.proc[7].debounce, notSet);
    EXPECT_EQ(calibration.metrics.proc[2].edges, 0u);
    EXPECT_EQ(calibration.metrics.proc[7].marginBefore, notSet);
}

TEST_F(ReopeningTest, AClosingThatFailsIsNotRepeated) {
    openChannel();
    model.failNext(Call::CloseChannel, "disconnected from server");
    EXPECT_THROW(channel->applySettings(), std::runtime_error);
    EXPECT_TRUE(lockIsFree());
    EXPECT_NO_THROW(channel->applySettings());
    EXPECT_EQ(model.count(Call::CloseChannel), 1u);
    EXPECT_EQ(model.count(Call::Connect), 1u);
    EXPECT_TRUE(wasOpen());
}

// ---- the lock ----

TEST_F(ReopeningTest, OperationsCallTheTransmitterUnderTheLockAndStatusWithoutIt) {
    configure("pinMap=0,1\n");
    EXPECT_CALL(transmitter, applySettings).WillOnce(calledUnderTheLock(true));
    channel->applySettings();
    channel->setProperty("calMode", "manual");
    channel->calibrate();
    EXPECT_CALL(transmitter, reset).WillOnce(calledUnderTheLock(true));
    EXPECT_CALL(transmitter, flush).WillOnce(calledUnderTheLock(true)); // by the control thread
    EXPECT_CALL(transmitter, end(false)).WillOnce(calledUnderTheLock(true));
    EXPECT_CALL(transmitter, end(true)).Times(1);
    EXPECT_CALL(transmitter, hasTriggered).WillRepeatedly([this] {
        calledUnderTheLock(false)();
        return false;
    });
    channel->start(false);
    status();
    channel->endTransmission(false);
    channel->stop();
    waitUntilDone();
}

TEST_F(ReopeningTest, StatusIsAnsweredWhileAnotherThreadHoldsTheLock) {
    openCalibrated();
    beginRecording();
    VX_QRS::uMutex& mutex = inside().mutex();
    mutex.lock();
    std::future<ChannelMetrics> other = std::async(std::launch::async, [this] { return status(); });
    EXPECT_EQ(other.wait_for(std::chrono::seconds(60)), std::future_status::ready);
    mutex.unlock();
    EXPECT_EQ(other.get().state, Recording);
}

TEST_F(ReopeningTest, AStopWaitsForTheHolderOfTheLock) {
    openCalibrated();
    beginRecording();
    VX_QRS::uMutex& mutex = inside().mutex();
    mutex.lock();
    std::atomic<bool> returned{false};
    std::thread other([&] {
        channel->stop();
        returned = true;
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_FALSE(returned);
    EXPECT_EQ(state(), Recording);
    mutex.unlock();
    other.join();
    EXPECT_EQ(state(), Stopped);
}

// ---- the shared parser ----

TEST(SharedParser, DiesWithTheLastOfFrontEndsAndChannels) {
    const TemporaryFolder folder;
    const std::string path = folder.file("props.txt");
    writeText(path, "[Global]\norv=1\n");
    RegisterModel model;
    CountingWaits waits;
    {
        FrontEnd_1 made(modelFactory(model), waits);
        made.setProperty("propsFile", path.c_str());
        FrontEndChannel* one = made.alloc("external", nullptr, 0, 0, 0, nullptr);
        made.alloc("external", nullptr, 0, 0, 0, nullptr);
        made.release(one);
        EXPECT_EQ(pathOfTheParser(), path);
    }
    EXPECT_EQ(pathOfTheParser(), "");
}

TEST(SharedParser, IsGivenBackByAFrontEndThatFindsNoServer) {
    const TemporaryFolder folder;
    const std::string path = folder.file("props.txt");
    writeText(path, "[Global]\norv=1\n");
    PropertyParser* parser = createPropertyParser();
    parser->readFile(path.c_str());
    CountingWaits waits;
    const DataClientFactory noServer{[](std::uint32_t) -> VX_QRS::ORV::DataClient* { return nullptr; },
                                     [](VX_QRS::ORV::DataClient*) {}};
    expectFailure([&] { FrontEnd_1 made(noServer, waits); }, eDATASERVER, "failed to connect to data server");
    EXPECT_EQ(pathOfTheParser(), path);
    destroyPropertyParser(parser);
    EXPECT_EQ(pathOfTheParser(), "");
}

} // namespace client_test
