#include "Host.h"

#include <thread>

// The receiver's operations and the target's events, through the loaded library.

namespace {

using namespace face;

using ReceiverFace = FaceTest;

TEST_F(ReceiverFace, IsOneAndCounted) {
    create();
    CReceiver* const second = createRcvr();
    EXPECT_EQ(second, receiver);
    destroyRcvr(second);
    EXPECT_EQ(receiver->GetNumAttachedCpus(), 0U) << "one user is left";
    int foreign = 0;
    destroyRcvr(reinterpret_cast<CReceiver*>(&foreign));
    EXPECT_EQ(receiver->GetNextAvailableChannelNum(), 1U);
    destroyRcvr(receiver);
    destroyRcvr(receiver); // no owner is left: no effect
    destroyRcvr(nullptr);
    receiver = nullptr;
    create();
    EXPECT_EQ(receiver->GetNumAttachedCpus(), 0U) << "a new life in the same process";
}

TEST_F(ReceiverFace, AnswersEveryOperationWithAndWithoutAChannel) {
    create();
    CTargetStateNotification& notification = *receiver;
    EXPECT_EQ(receiver->GetNumAttachedCpus(), 0U);
    EXPECT_EQ(receiver->GetNextAvailableChannelNum(), 1U);
    EXPECT_EQ(receiver->GetChannelDriverForCpuName("bench/app"), nullptr);
    EXPECT_EQ(receiver->GetTotalNumPins("bench/app"), 0U);
    EXPECT_EQ(receiver->GetNumChannels(), 1U);
    EXPECT_NE(receiver->GetFileDataSource(), nullptr) << "both libraries of file replay are installed";
    EXPECT_EQ(failureOf([&] { receiver->GetDataSourceForCpuName("bench/app"); }),
              "error(2): operation failed : cannot get data source");
    unsigned pins[2] = {7, 7};
    receiver->GetPinsForFunction("trace", pins);
    EXPECT_EQ(pins[0], 7U);
    receiver->GetAttachedCpuNames(nullptr);
    for (unsigned state = 0; state < 10; ++state) {
        notification.OnTargetStateChange("bench/app", state);
        notification.OnTraceSystemStateChange("bench/app", state);
        notification.OnTraceJobChange("bench/app", state);
    }

    allocate();
    EXPECT_EQ(receiver->GetNumAttachedCpus(), 1U);
    EXPECT_EQ(receiver->GetNextAvailableChannelNum(), 2U);
    EXPECT_EQ(receiver->GetChannelDriverForCpuName("any other"), channel);
    char name[32] = {};
    char* names[] = {name};
    receiver->GetAttachedCpuNames(names);
    EXPECT_STREQ(name, "bench/app");

    EXPECT_EQ(failureOf([&] { receiver->ReleaseChannel(reinterpret_cast<CChannelDriver*>(&name)); }),
              "error(2): operation failed : failed to release unknown channel driver");
    receiver->ReleaseChannel(nullptr);
    EXPECT_EQ(receiver->GetNumAttachedCpus(), 1U);
    receiver->ReleaseChannel(channel);
    EXPECT_EQ(receiver->GetNumAttachedCpus(), 0U);
}

TEST_F(ReceiverFace, RefusesAChannelForNoNameAndForACpuThatDoesNotAnswer) {
    create();
    EXPECT_EQ(failureOf([&] { receiver->AllocateChannel(nullptr, nullptr, 0, 0); }), "error(2): null parameter");
    EXPECT_EQ(failureOf([&] { receiver->AllocateChannel("bench/unreachable", nullptr, 0, 0); }),
              "(2): Internal error.  Failed to return CPU info from target adapter.");
    EXPECT_EQ(receiver->GetNumAttachedCpus(), 0U);
}

TEST_F(ReceiverFace, ReleasesAChannelThatRecords) {
    create();
    allocate();
    configure({{"is_stop_on_full", "false"}});
    channel->StartRecording(false);
    receiver->ReleaseChannel(channel);
    EXPECT_EQ(receiver->GetNumAttachedCpus(), 0U);
}

TEST_F(ReceiverFace, IsDestroyedWithAChannelThatRecords) {
    create();
    allocate();
    configure({{"is_stop_on_full", "false"}});
    channel->StartRecording(false);
    destroy();
    EXPECT_EQ(receiver, nullptr);
}

TEST_F(ReceiverFace, LetsTheRecordingFollowTheTarget) {
    create();
    allocate();
    configure({{"is_stop_on_full", "false"}, {"is_sync", "true"}});
    using State = CTargetStateNotification::TargetState;
    receiver->OnTargetStateChange("one", State::eRunning);
    waitFor("Recording");
    receiver->OnTargetStateChange("two", State::eRunningFree);
    receiver->OnTargetStateChange("one", State::eHalted);
    EXPECT_TRUE(status().stoppable) << "the other CPU runs on";
    receiver->OnTargetStateChange("two", State::eHaltedByEvent);
    waitFor("Stopped by user : upload complete");
    EXPECT_GT(channel->GetNumSamples(), 0U);

    receiver->OnTargetStateChange("one", State::eDisconnected);
    EXPECT_EQ(failureOf([&] { channel->StartRecording(false); }),
              "error(2): invalid target state : StartRecording bad state - disconnected");
    EXPECT_EQ(failureOf([&] { channel->StopRecording(); }),
              "error(2): invalid target state : StopRecording bad state - disconnected");
    ChannelStatus untouched;
    untouched.code = 77;
    untouched.text = "as it was";
    untouched.hasData = true;
    channel->GetChannelStatus(&untouched);
    EXPECT_EQ(untouched.code, 77U);
    EXPECT_EQ(untouched.text, "as it was");
    EXPECT_TRUE(untouched.hasData);
}

TEST_F(ReceiverFace, ARunBeforeAnyCalibrationEndsInTheStartsOwnFailure) {
    create();
    allocate();
    // The channel's own default is to follow the target.
    ASSERT_EQ(attribute("targetSync"), "true");
    const std::string failure =
        failureOf([&] { receiver->OnTargetStateChange("one", CTargetStateNotification::eRunning); });
    EXPECT_THAT(failure, testing::StartsWith("error(2): "));
    EXPECT_EQ(status().code, 1U);
}

TEST_F(ReceiverFace, AModifiedJobRestartsTheRecording) {
    create();
    allocate();
    configure({{"is_stop_on_full", "false"}});
    const auto count = [this](const char* text) {
        const std::string log = readBytes(space.log());
        int found = 0;
        for (std::size_t at = log.find(text); at != std::string::npos; at = log.find(text, at + 1)) {
            ++found;
        }
        return found;
    };
    constexpr const char* started = "starting collection thread";
    const int before = count(started);
    channel->StartRecording(false);
    EXPECT_EQ(count(started), before + 1);
    receiver->OnTraceSystemStateChange("bench/app", 0);
    EXPECT_EQ(count(started), before + 2);
    EXPECT_TRUE(status().stoppable);
    receiver->OnTraceSystemStateChange("bench/app", 1);
    EXPECT_EQ(count(started), before + 2);
    EXPECT_TRUE(status().stoppable);
    channel->StopRecording();
    waitFor("upload complete");
}

} // namespace
