#include "DriverFixture.h"

namespace {

using namespace rcvr_test;
using testing::Contains;
using testing::ElementsAre;
using testing::InSequence;
using testing::Not;
using testing::Throw;

class ReceiverTest : public DriverFixture {
protected:
    explicit ReceiverTest(const std::vector<std::string>& folders = {"part", "adapter", "driver", "source"})
        : DriverFixture(folders) {}
    std::vector<std::string> calls() const { return readLines(folder.file("trace.txt")); }
    std::string failureOfMaking() {
        return failureOf([&] { receiver = std::make_unique<Receiver>(); });
    }
};

TEST_F(ReceiverTest, LoadsItsSiblingsAndGivesThemBackInOrder) {
    frontEndSource().onCreate = [&] {
        EXPECT_THAT(calls(), ElementsAre("CreateChannelDriver \"\"", "CreateDataSource \"\"", "setFileChannelDriver"));
    };
    {
        const Receiver made;
        EXPECT_EQ(frontEndSource().created, 1);
        EXPECT_EQ(frontEndSource().destroyed, 0);
    }
    EXPECT_EQ(frontEndSource().destroyed, 1);
    EXPECT_THAT(calls(), ElementsAre("CreateChannelDriver \"\"", "CreateDataSource \"\"", "setFileChannelDriver",
                                     "CreatePartIdentifier", "DestroyPartIdentifier 0", "DestroyChannelDriver",
                                     "DestroyDataSource"));
}

TEST_F(ReceiverTest, UnloadsItsSiblingsInTheOppositeOrderOfTheirUse) {
    receiver = std::make_unique<Receiver>();
    const ScopedVariable unloads("FAKE_UNLOADS", folder.file("unloads.txt"));
    receiver.reset();
    EXPECT_THAT(readLines(folder.file("unloads.txt")),
                ElementsAre("AmbitFileChannelDriver", "OrvDataSource", "PartIdentifier"));
}

TEST_F(ReceiverTest, LoadsTheDataSourceBeforeTheFileChannelDriver) {
    const LogCapture log(folder, "1");
    const Receiver made;
    std::vector<std::string> requests;
    for (const std::string& line : log.lines()) {
        if (line.find("request to load") != std::string::npos) {
            requests.push_back(line);
        }
    }
    EXPECT_THAT(requests, ElementsAre("M uDll:  request to load \"PartIdentifier\" in mode -1",
                                      "M uDll:  request to load \"OrvDataSource\" in mode -1",
                                      "M uDll:  request to load \"AmbitFileChannelDriver\" in mode -1"));
}

TEST_F(ReceiverTest, GivesItsParts) {
    receiver = std::make_unique<Receiver>();
    EXPECT_NE(receiver->GetFileDataSource(), nullptr);
    EXPECT_NE(receiver->GetPartIdentifier(), nullptr);
    EXPECT_EQ(receiver->GetFrontEnd(), &frontEnd);
    EXPECT_EQ(receiver->GetTotalNumPins("x"), 0U);
    receiver->GetPinsForFunction("x", nullptr);
    receiver->OnTraceJobChange("x", 1);
    EXPECT_EQ(failureOf([&] { receiver->GetDataSourceForCpuName("x"); }),
              "Error 1: operation failed : cannot get data source");
    receiver->LoadPartIdentifierLibrary(); // both are loaded already
    receiver->LoadFileLibraries();
    EXPECT_EQ(calls().size(), 4U);
}

TEST_F(ReceiverTest, WithoutTheFileChannelDriverItWorksWithoutReplay) {
    const LogCapture log(folder);
    {
        const Siblings others({"part", "source"});
        Receiver made;
        EXPECT_EQ(made.GetFileDataSource(), nullptr);
    }
    EXPECT_THAT(calls(), ElementsAre("CreatePartIdentifier", "DestroyPartIdentifier 0"));
    EXPECT_THAT(log.lines(), Contains(testing::StartsWith(
                                 "E ORV Receiver : error(2) : dll load failure : AmbitFileChannelDriver : Orv")));
}

TEST_F(ReceiverTest, EveryFailureOfTheFileLibrariesOnlyCostsReplay) {
    const auto errorWith = [&](const std::vector<std::string>& folders) {
        TemporaryFolder logFolder;
        const LogCapture log(logFolder);
        const Siblings others(folders);
        Receiver made;
        EXPECT_EQ(made.GetFileDataSource(), nullptr);
        for (const std::string& line : log.lines()) {
            if (line[0] == 'E') {
                return line.substr(0, line.rfind(" : "));
            }
        }
        return std::string();
    };
    const std::string prefix = "E ORV Receiver : error(2) : ";
    EXPECT_EQ(errorWith({"part", "driver"}), prefix + "dll load failure : OrvDataSource");
    EXPECT_EQ(errorWith({"part", "driver-bare", "source"}),
              prefix + "dll load failure : missing exports in file channel driver dll");
    EXPECT_EQ(errorWith({"part", "driver", "source-bare"}),
              prefix + "dll load failure : missing exports in file data source dll");
    EXPECT_THAT(calls(), Contains("DestroyChannelDriver")); // it has no data source
    {
        const ScopedVariable behaviour("FAKE_FILE_DRIVER", "null");
        EXPECT_EQ(errorWith({"part", "driver", "source"}),
                  prefix + "memory allocation failed : failed to allocate file channel driver");
    }
    const ScopedVariable behaviour("FAKE_DATA_SOURCE", "null");
    EXPECT_EQ(errorWith({"part", "driver", "source"}),
              prefix + "memory allocation failed : failed to allocate file data source");
}

TEST_F(ReceiverTest, ADestroyExportThatIsMissingIsSkipped) {
    {
        const Siblings others({"part", "driver-nodestroy", "source"});
        const Receiver made;
    }
    EXPECT_THAT(calls(), Not(Contains("DestroyChannelDriver")));
    EXPECT_THAT(calls(), Contains("DestroyDataSource"));
}

TEST_F(ReceiverTest, OtherExceptionsOfTheFileLibrariesEndTheConstruction) {
    const ScopedVariable behaviour("FAKE_FILE_DRIVER", "std");
    EXPECT_EQ(failureOfMaking(), "std: thrown by the sibling");
    EXPECT_EQ(frontEndSource().created, 0);
}

TEST_F(ReceiverTest, WithoutTheDeviceIdentificationThereIsNoReceiver) {
    const auto failureWith = [&](const char* part) {
        const Siblings others({part, "driver", "source"});
        return failureOfMaking();
    };
    EXPECT_EQ(failureWith("nowhere"), "Error 9: dll load failure : PartIdentifier");
    EXPECT_EQ(failureWith("part-nocreate"), "Error 9: dll load failure : missing exports in device identifier dll");
    EXPECT_EQ(failureWith("part-nodestroy"), "Error 9: dll load failure : missing exports in device identifier dll");
    EXPECT_EQ(frontEndSource().created, 0);
    const ScopedVariable behaviour("FAKE_PART", "null");
    EXPECT_EQ(failureWith("part"), "Error 3: null parameter");
    EXPECT_EQ(frontEndSource().created, 1);
    EXPECT_EQ(frontEndSource().destroyed, 1); // nothing that was acquired is lost
    EXPECT_THAT(calls(), Contains("DestroyDataSource"));
}

TEST_F(ReceiverTest, WhatTheIdentificationThrowsOutlivesItsLibrary) {
    const auto failureWith = [&](const char* request) {
        const ScopedVariable behaviour("FAKE_PART", request);
        return failureOfMaking();
    };
    EXPECT_EQ(failureWith("std"), "std: thrown by the sibling");
    EXPECT_EQ(failureWith("zarn"), "cZarnError: sibling's own error");
    EXPECT_EQ(failureWith("int"), "cZarnError: unknown exception");
}

TEST_F(ReceiverTest, WithoutAFrontEndThereIsNoReceiver) {
    frontEndSource().frontEnd = nullptr;
    EXPECT_EQ(failureOfMaking(), "Error 3: null parameter");
    EXPECT_EQ(frontEndSource().destroyed, 0);
    frontEndSource().onCreate = [] { throw failure(); };
    EXPECT_EQ(failureOfMaking(), "std: eDATASERVER(14) : data server failure : no answer");
}

TEST_F(ReceiverTest, ATeardownRunsToItsEndWhateverFails) {
    receiver = std::make_unique<Receiver>();
    receiver->AllocateChannel("a", &xmtr, 0, 0);
    frontEndSource().onDestroy = [] { throw failure(); };
    const ScopedVariable behaviour("FAKE_PART_DESTROY", "std");
    EXPECT_CALL(frontEnd, release).Times(1);
    EXPECT_EQ(failureOf([&] { receiver->TearDown(); }), "std: eDATASERVER(14) : data server failure : no answer");
    EXPECT_THAT(calls(), Contains("DestroyDataSource"));
    EXPECT_EQ(failureOf([&] { receiver->TearDown(); }), "");
    receiver.reset();
    EXPECT_EQ(frontEndSource().destroyed, 1);
}

TEST_F(ReceiverTest, ChannelsThatWereNeverReleasedGoWithIt) {
    makeDriver();
    makeDriver();
    EXPECT_CALL(frontEnd, release(&channel)).Times(2);
    receiver.reset();
}

TEST_F(ReceiverTest, ChannelsGoBeforeTheFrontEndAndThatBeforeTheIdentification) {
    makeDriver();
    const std::string last = "DestroyPartIdentifier 0";
    testing::MockFunction<void()> destroyed;
    frontEndSource().onDestroy = [&] { destroyed.Call(); };
    const InSequence order;
    EXPECT_CALL(frontEnd, release(&channel));
    EXPECT_CALL(destroyed, Call()).WillOnce([&] { EXPECT_THAT(calls(), Not(Contains(last))); });
    receiver.reset();
    EXPECT_THAT(calls(), Contains(last));
    frontEndSource().onDestroy = nullptr;
}

TEST_F(ReceiverTest, KnowsItsChannelsByOrder) {
    receiver = std::make_unique<Receiver>();
    const LogCapture log(folder, "1");
    EXPECT_EQ(receiver->GetNumAttachedCpus(), 0U);
    EXPECT_EQ(receiver->GetNextAvailableChannelNum(), 1U);
    EXPECT_EQ(receiver->GetChannelDriverForCpuName("a"), nullptr);
    CChannelDriver* a = receiver->AllocateChannel("a", &xmtr, 0, 0);
    CChannelDriver* b = receiver->AllocateChannel("bb", &xmtr, 0, 0);
    EXPECT_EQ(receiver->GetNumAttachedCpus(), 2U);
    EXPECT_EQ(receiver->GetNextAvailableChannelNum(), 3U);
    for (const char* name : {"a", "bb", "never allocated", ""}) {
        EXPECT_EQ(receiver->GetChannelDriverForCpuName(name), a);
    }
    EXPECT_EQ(receiver->GetChannelDriverForCpuName(nullptr), a);
    EXPECT_EQ(receiver->ChannelDriverForCpu("bb"), a);

    char first[8] = "xxxxxxx";
    char second[8] = "xxxxxxx";
    char* names[] = {first, second};
    receiver->GetAttachedCpuNames(names);
    EXPECT_STREQ(first, "a");
    EXPECT_STREQ(second, "bb");
    receiver->GetAttachedCpuNames(nullptr);

    receiver->ReleaseChannel(a);
    EXPECT_EQ(receiver->GetChannelDriverForCpuName("a"), b);
    for (const char* line : {"M number of attached cpus is 0", "M next available channel is 1",
                             "M channel driver 0 goes with never allocated", "M number of attached cpus is 2",
                             "M cpuName[0] is a", "M cpuName[1] is bb", "M cpu name is a"}) {
        EXPECT_THAT(log.lines(), Contains(line));
    }
}

TEST_F(ReceiverTest, ReleasingNullOrAnUnknownPointerLeavesTheChannels) {
    makeDriver();
    receiver->ReleaseChannel(nullptr);
    const auto unknown = [&](std::uintptr_t address) {
        return failureOf([&] { receiver->ReleaseChannel(reinterpret_cast<CChannelDriver*>(address)); });
    };
    const std::string text = "Error 1: operation failed : failed to release unknown channel driver";
    EXPECT_EQ(unknown(8), text);
    EXPECT_EQ(receiver->GetNumAttachedCpus(), 1U);
    const auto released = reinterpret_cast<std::uintptr_t>(static_cast<CChannelDriver*>(driver));
    receiver->ReleaseChannel(driver);
    EXPECT_EQ(unknown(released), text);
}

TEST_F(ReceiverTest, AllocationPassesErrorsAndLogsTheRest) {
    receiver = std::make_unique<Receiver>();
    EXPECT_EQ(failureOf([&] { receiver->AllocateChannel(nullptr, &xmtr, 0, 0); }), "Error 3: null parameter");
    EXPECT_CALL(frontEnd, alloc).WillOnce(Throw(failure()));
    EXPECT_EQ(failureOf([&] { receiver->AllocateChannel("a", &xmtr, 0, 0); }),
              "Error 1: data server failure : no answer");
    const LogCapture log(folder);
    const ScopedVariable behaviour("FAKE_ADAPTER", "std");
    EXPECT_EQ(receiver->AllocateChannel("a", &xmtr, 0, 0), nullptr);
    EXPECT_THAT(log.lines(), Contains("E ORV Receiver : AllocateChannel std exception : thrown by the sibling"));
    EXPECT_EQ(receiver->GetNumAttachedCpus(), 0U);
}

TEST_F(ReceiverTest, AtTheLowestLevelAFailedAllocationIsNotTold) {
    receiver = std::make_unique<Receiver>();
    const LogCapture log(folder, "1");
    const ScopedVariable behaviour("FAKE_ADAPTER", "std");
    EXPECT_EQ(receiver->AllocateChannel("a", &xmtr, 0, 0), nullptr);
    EXPECT_THAT(log.lines(), Not(Contains(testing::HasSubstr("thrown by the sibling"))));
}

TEST_F(ReceiverTest, TheNumberOfChannelsIsTheUnitsLimit) {
    receiver = std::make_unique<Receiver>();
    frontEnd.maxChannels = "4";
    EXPECT_EQ(receiver->GetNumChannels(), 4U);
    frontEnd.maxChannels = "";
    EXPECT_EQ(failureOf([&] { receiver->GetNumChannels(); }), "Error 1: unable to convert empty string to numeric");
    frontEnd.failing = true;
    EXPECT_EQ(failureOf([&] { receiver->GetNumChannels(); }), "Error 1: invalid variable name : maxChnls");
}

class TargetEvents : public ReceiverTest {
protected:
    TargetEvents() : ReceiverTest({"part", "adapter"}) {
        makeDriver();
        channel.metrics.state = client::Calibrated;
    }
    void recording() {
        channel.metrics.state = client::Recording;
        channel.metrics.threadDone = false;
    }
    void event(unsigned state, const char* name = "cpu") { receiver->OnTargetStateChange(name, state); }
};

TEST_F(TargetEvents, ARunStartsAndAHaltStopsTheRecording) {
    for (const unsigned run : {5U, 6U}) {
        channel.metrics.state = client::Calibrated;
        EXPECT_CALL(channel, start(false));
        event(run);
        EXPECT_FALSE(driver->AreAllCpusHalted());
        recording();
        event(run); // is recording already
        EXPECT_CALL(channel, stop());
        event(run + 2);
        EXPECT_TRUE(driver->AreAllCpusHalted());
        testing::Mock::VerifyAndClearExpectations(&channel);
        ON_CALL(channel, status).WillByDefault([this](client::ChannelMetrics& out) { out = channel.metrics; });
    }
}

TEST_F(TargetEvents, OnlyTheLastHaltStopsTheRecording) {
    recording();
    event(5, "a");
    event(5, "b");
    EXPECT_CALL(channel, stop()).Times(0);
    event(7, "a");
    testing::Mock::VerifyAndClearExpectations(&channel);
    ON_CALL(channel, status).WillByDefault([this](client::ChannelMetrics& out) { out = channel.metrics; });
    EXPECT_CALL(channel, stop()).Times(1);
    event(8, "b");
}

TEST_F(TargetEvents, AHaltOfAnIdleChannelStopsNothing) {
    EXPECT_CALL(channel, stop()).Times(0);
    event(7);
}

TEST_F(TargetEvents, ARunDuringAnUploadStartsNothing) {
    channel.metrics.state = client::Stopped;
    channel.metrics.bytesReady = 100;
    int asked = 0;
    // The upload ends soon after, and a start that was waiting for it would now go ahead.
    ON_CALL(channel, status).WillByDefault([&](client::ChannelMetrics& out) {
        out = channel.metrics;
        out.threadDone = ++asked > 2;
    });
    EXPECT_CALL(channel, start).Times(0);
    event(5);
    EXPECT_FALSE(driver->AreAllCpusHalted());
}

TEST_F(TargetEvents, WithoutTargetSyncOnlyTheHaltListFollows) {
    channel.properties["targetSync"] = "false";
    EXPECT_CALL(channel, start).Times(0);
    EXPECT_CALL(channel, stop).Times(0);
    event(5);
    EXPECT_FALSE(driver->AreAllCpusHalted());
    recording();
    event(7);
    EXPECT_TRUE(driver->AreAllCpusHalted());
}

TEST_F(TargetEvents, ADisconnectUnregistersTheCpuAndStopsNothing) {
    event(5);
    recording();
    EXPECT_CALL(channel, stop).Times(0);
    const LogCapture log(folder, "1");
    for (const unsigned state : {3U, 4U}) {
        driver->RegisterCpuHalt("cpu", false);
        event(state);
        EXPECT_EQ(log.lines().back(), "M ORV Receiver : UnregisterCPU unregistered cpu ");
        EXPECT_TRUE(driver->AreAllCpusHalted());
        ChannelStatus status;
        driver->GetChannelStatus(&status);
        EXPECT_EQ(status.code, 0U); // disconnected now
    }
}

TEST_F(TargetEvents, OtherStatesAndUnknownCpusChangeNothing) {
    EXPECT_CALL(channel, start).Times(0);
    for (const unsigned state : {0U, 1U, 2U, 9U, 0xFFFFFFFFU}) {
        event(state);
    }
    EXPECT_TRUE(driver->AreAllCpusHalted());
    event(5, nullptr);
    receiver->ReleaseChannel(driver);
    event(5);
}

TEST_F(TargetEvents, AStartThatIsRefusedReachesTheFramework) {
    EXPECT_CALL(channel, start).WillOnce(Throw(failure("cannot start recording until calibration completed")));
    EXPECT_EQ(failureOf([&] { event(5); }),
              "Error 1: data server failure : cannot start recording until calibration completed");
    EXPECT_FALSE(driver->AreAllCpusHalted()) << "the CPU runs all the same";
    channel.properties["targetSync"] = "maybe";
    EXPECT_EQ(failureOf([&] { event(5); }), "Error 1: unable to convert \"maybe\" to boolean");
    EXPECT_NE(failureOf([&] { event(3); }), "");
    ChannelStatus status;
    driver->GetChannelStatus(&status);
    EXPECT_NE(status.code, 0U) << "the state is not taken over";
}

TEST_F(TargetEvents, OfAnyNameAreTaken) {
    event(5, "");
    event(5, std::string(100000, 'x').c_str());
    receiver->OnTraceSystemStateChange(std::string(100000, 'x').c_str(), 0);
}

TEST_F(TargetEvents, AModifiedJobRestartsAndEveryFailureIsDropped) {
    EXPECT_CALL(channel, stop()).Times(2).WillOnce(Throw(failure())).WillOnce(Throw(42));
    receiver->OnTraceSystemStateChange("cpu", 0);
    receiver->OnTraceSystemStateChange(nullptr, 0);
    receiver->OnTraceSystemStateChange("cpu", 1);
    receiver->ReleaseChannel(driver);
    receiver->OnTraceSystemStateChange("cpu", 0);
}

} // namespace
