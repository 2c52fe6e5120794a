#include "DriverFixture.h"

#include <atomic>
#include <chrono>
#include <thread>

// Notifications of the target beside what other threads ask of the channel.

namespace {

using namespace rcvr_test;

class Notification : public DriverFixture {
protected:
    Notification() {
        makeDriver();
        channel.metrics.state = client::Calibrated;
    }

    std::string ask(const char* name) {
        TraceAttribute attribute;
        driver->GetAttribute(name, &attribute);
        return attribute.value;
    }

    // Whether a notification waits while another thread is inside of StartRecording.
    template <class Notify>
    void expectWaitsForStart(Notify notify) {
        std::atomic<bool> started{false};
        std::atomic<bool> answered{false};
        std::thread notification;
        EXPECT_CALL(channel, start).WillOnce([&](bool) {
            notification = std::thread([&] {
                notify();
                answered = true;
            });
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
            EXPECT_FALSE(answered);
            channel.metrics.state = client::Recording;
            channel.metrics.threadDone = false;
            started = true;
        });
        driver->StartRecording(false);
        notification.join();
        EXPECT_TRUE(started && answered);
    }
};

TEST_F(Notification, LeavesTheTextThatTheHostWasGiven) {
    TraceAttribute attribute;
    driver->GetAttribute("file", &attribute);
    const std::string before = attribute.value;
    receiver->OnTargetStateChange("cpu", 7);
    EXPECT_EQ(attribute.value, before);
}

TEST_F(Notification, LogsTheQuestionForTheAttributeAsBefore) {
    testing::internal::CaptureStdout(); // this level goes there, too
    const LogCapture log(folder, "6");
    receiver->OnTargetStateChange("cpu", 0);
    testing::internal::GetCapturedStdout();
    std::vector<std::string> functions;
    for (const std::string& line : log.lines()) {
        if (line[0] == 'F') {
            functions.push_back(line.substr(line.rfind(':') + 1));
        }
    }
    EXPECT_THAT(functions, testing::ElementsAre("OnTargetStateChange(...)", "ChannelDriverForCpu(...)",
                                                "GetChannelDriverForCpuName(...)", "GetAttribute(...)",
                                                "SetTargetState(...)", "GetChannelStatus(...)"));
}

TEST_F(Notification, AndQuestionsFromAnotherThreadRunSideBySide) {
    constexpr int rounds = 300;
    channel.properties["orvBufSizes"] = std::string(300, '1');
    std::atomic<bool> ending{false};
    std::thread asking([&] {
        while (!ending) {
            driver->CopyOfAttribute("orvBufSizes");
        }
    });
    std::thread asking2([&] {
        while (!ending) {
            ask("orvBufSize");
        }
    });
    EXPECT_CALL(channel, start(false)).Times(rounds);
    for (int i = 0; i < rounds; ++i) {
        EXPECT_EQ(failureOf([&] { receiver->OnTargetStateChange("cpu", i % 2 == 0 ? 5 : 6); }), "");
    }
    ending = true;
    asking.join();
    asking2.join();
}

TEST_F(Notification, OfTheTargetWaitsForAStart) {
    expectWaitsForStart([&] { receiver->OnTargetStateChange("cpu", 0); });
}

TEST_F(Notification, OfAModifiedJobWaitsForAStart) {
    EXPECT_CALL(channel, stop()).WillOnce([&] { EXPECT_EQ(channel.metrics.state, client::Recording); });
    expectWaitsForStart([&] { receiver->OnTraceSystemStateChange("cpu", 0); });
}

TEST_F(Notification, OfAModifiedJobBesideAStartDoesNotStartASecondTime) {
    std::atomic<bool> notified{false};
    std::atomic<bool> starting{false};
    const auto waitFor = [](const std::atomic<bool>& condition) {
        while (!condition) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    };
    EXPECT_CALL(channel, stop()).WillOnce([&] {
        notified = true;
        waitFor(starting);
    });
    EXPECT_CALL(channel, start).WillOnce([&](bool) {
        starting = true;
        std::this_thread::sleep_for(std::chrono::milliseconds(100)); // time for the other one
        channel.metrics.state = client::Recording;
        channel.metrics.threadDone = false;
    });
    std::thread notification([&] { receiver->OnTraceSystemStateChange("cpu", 0); });
    waitFor(notified);
    driver->StartRecording(false);
    notification.join();
}

TEST_F(Notification, OfAModifiedJobAsksForPropertiesOneAtATimeWithOtherThreads) {
    std::atomic<bool> answered{false};
    std::thread asking;
    EXPECT_CALL(channel, asked).Times(testing::AnyNumber());
    EXPECT_CALL(channel, asked(std::string("orvBufSize"))).WillOnce([&](const std::string&) {
        asking = std::thread([&] {
            ask("targetSync");
            answered = true;
        });
        std::this_thread::sleep_for(std::chrono::milliseconds(100)); // time for the other one
        EXPECT_FALSE(answered);
    });
    receiver->OnTraceSystemStateChange("cpu", 0);
    asking.join();
}

TEST_F(Notification, WhoseOwnStepsFailEndsInAnErrorWithALogLine) {
    const LogCapture log(folder, "1");
    channel.properties["targetSync"] = "maybe";
    EXPECT_EQ(failureOf([&] { receiver->OnTargetStateChange("cpu", 5); }),
              "Error 1: unable to convert \"maybe\" to boolean");
    EXPECT_THAT(log.lines(), testing::Contains("E ORV Receiver : OnTargetStateChange std exception : unable to convert "
                                               "\"maybe\" to boolean"));
}

} // namespace
