#include "DriverFixture.h"

#include <atomic>
#include <chrono>
#include <thread>

// Construction, control and the CPU list.

namespace {

using namespace rcvr_test;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::InSequence;
using testing::Return;
using testing::StrEq;
using testing::Throw;

class ChannelDriverTest : public DriverFixture {
protected:
    std::vector<std::string> calls() const { return readLines(folder.file("trace.txt")); }
};

TEST_F(ChannelDriverTest, ConstructionAllocatesWithTheAdaptersKindAndReleasesAtTheEnd) {
    const ScopedVariable id("FAKE_CPU_ID", std::to_string(470U << 22 | 38U << 10));
    EXPECT_CALL(frontEnd, alloc(StrEq(fullCpuName), &xmtr, 5, 6, 3, _))
        .WillOnce([&](auto, auto, auto, auto, auto, auto* settings) {
            EXPECT_EQ(settings->numPins, 1U);
            return &channel;
        });
    EXPECT_CALL(frontEnd, release(&channel));
    const LogCapture log(folder, "1");
    makeDriver();
    EXPECT_EQ(log.lines().back(), "M ORV Receiver : ChannelDriver success");
    EXPECT_EQ(driver->GetFrontEndChannel(), &channel);
    EXPECT_STREQ(driver->CpuName(), fullCpuName);
    EXPECT_THAT(calls(), ElementsAre("CreatePartIdentifier", "NewTargetAdapter board/cpu", "FreeTargetAdapter"));
}

TEST_F(ChannelDriverTest, TheShortNameIsThePartAfterTheOnlySlash) {
    receiver = std::make_unique<Receiver>();
    const auto shortName = [&](const char* name) {
        return ChannelDriver(receiver.get(), &frontEnd, name, &xmtr, 0, 0).ShortCpuName();
    };
    EXPECT_EQ(shortName("board/cpu"), "cpu");
    EXPECT_EQ(shortName("cpu"), "cpu");
    EXPECT_EQ(shortName("a/b/c"), "a/b/c");
    EXPECT_EQ(shortName(""), "");
    EXPECT_EQ(shortName(std::string(100000, 'x').c_str()).size(), 100000U);
}

TEST_F(ChannelDriverTest, NullArgumentsOfTheConstructionAreRefused) {
    receiver = std::make_unique<Receiver>();
    for (int which = 0; which < 3; ++which) {
        EXPECT_EQ(failureOf([&] {
                      ChannelDriver(which == 0 ? nullptr : receiver.get(), which == 1 ? nullptr : &frontEnd,
                                    which == 2 ? nullptr : "cpu", &xmtr, 0, 0);
                  }),
                  "Error 3: null parameter");
    }
}

TEST_F(ChannelDriverTest, AFailedAllocationBecomesAnError) {
    receiver = std::make_unique<Receiver>();
    const LogCapture log(folder, "1");
    EXPECT_CALL(frontEnd, alloc).WillOnce(Throw(failure())).WillOnce(Throw(42)).WillOnce(Return(nullptr));
    EXPECT_CALL(frontEnd, release).Times(0);
    const auto make = [&] { ChannelDriver(receiver.get(), &frontEnd, "cpu", &xmtr, 0, 0); };
    EXPECT_EQ(failureOf(make), "Error 1: data server failure : no answer");
    EXPECT_THAT(log.lines(), testing::Contains("E ORV Receiver : ChannelDriver std exception : eDATASERVER(14) : data "
                                               "server failure : no answer"));
    EXPECT_EQ(failureOf(make), "unknown");
    EXPECT_THAT(log.lines(), testing::Contains("E ORV Receiver : ChannelDriver unknown exception"));
    EXPECT_EQ(failureOf(make), "Error 2: memory allocation failed");
}

TEST_F(ChannelDriverTest, TheAdaptersFailuresHaveTheirTexts) {
    receiver = std::make_unique<Receiver>();
    const auto allocate = [&] { receiver->AllocateChannel("cpu", &xmtr, 0, 0); };
    const auto failureWith = [&](const std::vector<std::string>& folders) {
        const Siblings other(folders);
        return failureOf(allocate);
    };
    EXPECT_EQ(failureWith({"part"}), "cZarnError: Cannot load target adapter library. Bad installation.");
    EXPECT_EQ(failureWith({"adapter-nonew"}), "cZarnError: Cannot get target adapter factory. Bad installation.");
    EXPECT_EQ(failureWith({"adapter-nofree"}),
              "cZarnError: Internal error. Failed to look up FreeTargetAdapter symbol.");
    {
        const ScopedVariable behaviour("FAKE_CPU_INFO", "null");
        EXPECT_EQ(failureOf(allocate), "cZarnError: Internal error.  Failed to return CPU info from target adapter.");
        EXPECT_EQ(calls().back(), "FreeTargetAdapter");
    }
    {
        const LogCapture log(folder, "3");
        const ScopedVariable behaviour("FAKE_ADAPTER", "null");
        EXPECT_EQ(failureOf(allocate), "cZarnError: Internal error. Invalid storage for TargetAdapter");
        EXPECT_THAT(
            log.lines(),
            testing::Contains("E ORV Receiver: Internal error.  Failed to return CPU info from target adapter."));
        EXPECT_THAT(log.lines(), testing::IsSupersetOf({"M ORV Receiver: Initializing Channel Driver...",
                                                        "M ORV Receiver: loading DLL HaloTargetAdapter.",
                                                        "M ORV Receiver: Target adapter DLL loaded.",
                                                        "M ORV Receiver: Creating target adapter for cpu."}));
    }
    EXPECT_EQ(receiver->GetNumAttachedCpus(), 0U);
}

TEST_F(ChannelDriverTest, AnAdapterThatIsNotInstalledIsLoggedAndItsStepsFromThresholdTwoOn) {
    receiver = std::make_unique<Receiver>();
    const auto logWith = [&](const char* adapter, const char* level) {
        const Siblings other({"part", adapter});
        const LogCapture log(folder, level);
        failureOf([&] { receiver->AllocateChannel("cpu", &xmtr, 0, 0); });
        return log.lines();
    };
    const std::string first = "M ORV Receiver: Initializing Channel Driver...";
    const std::string second = "M ORV Receiver: loading DLL HaloTargetAdapter.";
    EXPECT_THAT(logWith("nowhere", "3"), testing::IsSupersetOf({first, second}));
    const auto missing = logWith("nowhere", "1");
    EXPECT_EQ(missing.back(), "E ORV Receiver: Cannot load target adapter library. Bad installation.");
    EXPECT_THAT(missing, testing::Each(testing::AllOf(testing::Ne(first), testing::Ne(second))));
    EXPECT_EQ(logWith("adapter-nonew", "1").back(),
              "E ORV Receiver: Cannot get target adapter factory. Bad installation.");
}

TEST_F(ChannelDriverTest, WhatTheAdapterThrowsOutlivesItsLibrary) {
    receiver = std::make_unique<Receiver>();
    for (const char* variable : {"FAKE_ADAPTER", "FAKE_CPU_INFO"}) {
        {
            const ScopedVariable behaviour(variable, "zarn");
            EXPECT_EQ(failureOf([&] { receiver->AllocateChannel("cpu", &xmtr, 0, 0); }),
                      "cZarnError: sibling's own error");
        }
        {
            const ScopedVariable behaviour(variable, "int");
            EXPECT_EQ(failureOf([&] { receiver->AllocateChannel("cpu", &xmtr, 0, 0); }),
                      "cZarnError: unknown exception");
        }
        const ScopedVariable behaviour(variable, "std");
        EXPECT_EQ(receiver->AllocateChannel("cpu", &xmtr, 0, 0), nullptr); // only logged
    }
}

TEST_F(ChannelDriverTest, AFailedReleaseIsSwallowed) {
    makeDriver();
    EXPECT_CALL(frontEnd, release).WillOnce(Throw(failure()));
    receiver->ReleaseChannel(driver);
    EXPECT_EQ(receiver->GetNumAttachedCpus(), 0U);
}

TEST_F(ChannelDriverTest, StartRunsTheFrontEndAndLogsItsSteps) {
    makeDriver();
    const LogCapture log(folder);
    EXPECT_CALL(channel, start(false));
    driver->StartRecording(true);
    EXPECT_THAT(log.lines(), ElementsAre("M ORV Receiver : StartRecording calling FE start",
                                         "M ORV Receiver : StartRecording done calling FE start",
                                         "M ORV Receiver : StartRecording success"));
}

TEST_F(ChannelDriverTest, WhileDisconnectedStartAndStopAreRefused) {
    makeDriver();
    EXPECT_CALL(channel, start).Times(0);
    EXPECT_CALL(channel, stop).Times(0);
    for (const unsigned state : {3U, 4U}) {
        driver->SetTargetState(state);
        EXPECT_EQ(failureOf([&] { driver->StartRecording(false); }),
                  "Error 8: invalid target state : StartRecording bad state - disconnected");
        EXPECT_EQ(failureOf([&] { driver->StopRecording(); }),
                  "Error 8: invalid target state : StopRecording bad state - disconnected");
    }
}

TEST_F(ChannelDriverTest, OtherTargetStatesDoNotRefuseAStart) {
    makeDriver();
    EXPECT_CALL(channel, start(false)).Times(6);
    for (const unsigned state : {0U, 2U, 5U, 8U, 99U, 0xFFFFFFFFU}) {
        driver->SetTargetState(state);
        driver->StartRecording(false);
    }
}

TEST_F(ChannelDriverTest, AStartWaitsForTheThreadOfTheLastRecordingWithTheLockFree) {
    makeDriver();
    for (const int state : {client::Failed, client::Idle, client::Stopped}) {
        std::atomic<int> polls{0};
        EXPECT_CALL(channel, status).WillRepeatedly([&](client::ChannelMetrics& out) {
            out.state = state;
            out.threadDone = ++polls > 4;
        });
        EXPECT_CALL(channel, start(false)).WillOnce([&](bool) { EXPECT_GE(polls, 5); });
        // A status from another thread is answered while the start waits.
        std::atomic<bool> answered{false};
        std::thread other([&] {
            ChannelStatus status;
            driver->GetChannelStatus(&status);
            answered = true;
        });
        driver->StartRecording(false);
        other.join();
        EXPECT_TRUE(answered);
    }
}

TEST_F(ChannelDriverTest, AStartWhileRecordingIsIgnored) {
    makeDriver();
    channel.metrics.state = client::Recording;
    channel.metrics.threadDone = false;
    EXPECT_CALL(channel, start).Times(0);
    driver->StartRecording(false);
    driver->NotifySystemStateChange(0);
}

TEST_F(ChannelDriverTest, StartAndStopHoldTheLockForWhichStatusAndAttributesWait) {
    makeDriver();
    std::thread status;
    std::thread attribute;
    std::atomic<int> answers{0};
    const auto expectPollsWait = [&] {
        answers = 0;
        status = std::thread([&] {
            ChannelStatus out;
            driver->GetChannelStatus(&out);
            ++answers;
        });
        attribute = std::thread([&] {
            TraceAttribute out;
            driver->GetAttribute("targetSync", &out);
            ++answers;
        });
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        EXPECT_EQ(answers, 0);
    };
    const auto expectAnswers = [&] {
        status.join();
        attribute.join();
        EXPECT_EQ(answers, 2);
    };
    EXPECT_CALL(channel, start(false)).WillOnce([&](bool) { expectPollsWait(); });
    driver->StartRecording(false);
    expectAnswers();
    EXPECT_CALL(channel, stop()).WillOnce(expectPollsWait);
    const LogCapture log(folder, "1");
    driver->StopRecording();
    EXPECT_THAT(log.lines(), ElementsAre("M ORV Receiver : StopRecording success"));
    expectAnswers();
}

TEST_F(ChannelDriverTest, FailuresOfStartAndStopBecomeErrorsAndFreeTheLock) {
    makeDriver();
    EXPECT_CALL(channel, start).WillRepeatedly(Throw(failure()));
    EXPECT_CALL(channel, stop).WillOnce(Throw(failure())).WillOnce(Throw(42));
    EXPECT_EQ(failureOf([&] { driver->StartRecording(false); }), "Error 1: data server failure : no answer");
    EXPECT_EQ(failureOf([&] { driver->StopRecording(); }), "Error 1: data server failure : no answer");
    EXPECT_EQ(failureOf([&] { driver->StopRecording(); }), "unknown");
    std::thread other([&] {
        ChannelStatus status;
        driver->GetChannelStatus(&status);
    });
    other.join();
}

TEST_F(ChannelDriverTest, TraceEndGoesToTheChannelAndItsFailurePasses) {
    makeDriver();
    EXPECT_CALL(channel, endTransmission(true));
    driver->ApplyTraceEnd(true);
    EXPECT_CALL(channel, endTransmission(false)).WillOnce(Throw(failure()));
    EXPECT_THAT(failureOf([&] { driver->ApplyTraceEnd(false); }), HasSubstr("std: eDATASERVER"));
}

TEST_F(ChannelDriverTest, AModifiedJobRestartsTheRecording) {
    makeDriver();
    const LogCapture log(folder, "1");
    bool stopped = false;
    int polls = 0;
    ON_CALL(channel, status).WillByDefault([&](client::ChannelMetrics& out) {
        out.state = stopped ? client::Stopped : client::Recording;
        out.threadDone = stopped && ++polls > 2;
    });
    InSequence order;
    EXPECT_CALL(channel, endTransmission(true));
    EXPECT_CALL(channel, stop()).WillOnce([&] { stopped = true; });
    EXPECT_CALL(channel, start(false)).WillOnce([&](bool) { EXPECT_EQ(polls, 3); });
    driver->NotifySystemStateChange(0);
    EXPECT_THAT(log.lines(),
                testing::Contains("M OrvRcvr::ChannelDriver NotifySystemStateChange eJOB_MODIFIED_DISABLE_RESUME"));
}

TEST_F(ChannelDriverTest, AModifiedJobOfAnIdleChannelEndsNoTrace) {
    makeDriver();
    channel.metrics.state = client::Calibrated;
    EXPECT_CALL(channel, endTransmission).Times(0);
    EXPECT_CALL(channel, stop());
    EXPECT_CALL(channel, start(false)).WillOnce(Throw(failure()));
    EXPECT_THAT(failureOf([&] { driver->NotifySystemStateChange(0); }), HasSubstr("std: eDATASERVER"));
}

TEST_F(ChannelDriverTest, OtherSystemStatesDoNothing) {
    makeDriver();
    EXPECT_CALL(channel, stop).Times(0);
    EXPECT_CALL(channel, start).Times(0);
    driver->NotifySystemStateChange(1);
    driver->NotifySystemStateChange(0xFFFFFFFF);
}

TEST_F(ChannelDriverTest, TheHaltListHoldsOneEntryPerNameWithItsLastValue) {
    makeDriver();
    const LogCapture log(folder, "1");
    EXPECT_TRUE(driver->AreAllCpusHalted()); // no CPU runs
    driver->RegisterCpuHalt("a", true);
    EXPECT_TRUE(driver->AreAllCpusHalted());
    driver->RegisterCpuHalt("b", false);
    EXPECT_FALSE(driver->AreAllCpusHalted());
    driver->RegisterCpuHalt("b", true);
    EXPECT_TRUE(driver->AreAllCpusHalted());
    driver->RegisterCpuHalt("b", false);
    driver->UnregisterCPU("unknown");
    driver->UnregisterCPU("b");
    EXPECT_TRUE(driver->AreAllCpusHalted());
    driver->RegisterCpuHalt("a", false);
    driver->RegisterCpuHalt("c", true);
    driver->UnregisterCPU("c");
    EXPECT_FALSE(driver->AreAllCpusHalted()) << "the others stay";
    EXPECT_THAT(log.lines(), ElementsAre("M ORV Receiver : RegisterCpuHalt registered for a for halt state 1",
                                         "M ORV Receiver : RegisterCpuHalt registered for b for halt state 0",
                                         "M ORV Receiver : RegisterCpuHalt modified halt state for b to 1",
                                         "M ORV Receiver : RegisterCpuHalt modified halt state for b to 0",
                                         "M ORV Receiver : UnregisterCPU unregistered b ",
                                         "M ORV Receiver : RegisterCpuHalt modified halt state for a to 0",
                                         "M ORV Receiver : RegisterCpuHalt registered for c for halt state 1",
                                         "M ORV Receiver : UnregisterCPU unregistered c "));
    EXPECT_EQ(failureOf([&] { driver->RegisterCpuHalt(nullptr, true); }), "Error 3: null parameter");
    EXPECT_EQ(failureOf([&] { driver->UnregisterCPU(nullptr); }), "Error 3: null parameter");
}

TEST_F(ChannelDriverTest, WhatIsNotOfferedIsRefusedOrEmpty) {
    makeDriver();
    EXPECT_FALSE(driver->GetUserConfiguration(nullptr));
    EXPECT_EQ(driver->NotImplementedText(1, 2), "Not Implemented");
    EXPECT_EQ(failureOf([&] { driver->ResumeRecording(); }),
              "Error 1: operation failed : ResumeRecording not supported");
    EXPECT_EQ(failureOf([&] { driver->LoadFile(nullptr); }), "Error 1: operation failed : load file not supported");
}

} // namespace
