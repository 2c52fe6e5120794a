#include "common/source/source_utilities/source_utilities_error.h"
#include "tests/unit/client/frontend/ChannelFixture.h"

#include <algorithm>
#include <stdexcept>
#include <string>
#include <vector>

namespace client_test {

using testing::Contains;
using testing::ElementsAre;

using testing::IsEmpty;
using testing::Not;
using testing::Return;
using testing::Throw;

namespace {

class LifecycleTest : public ChannelTest {};

/// The capture side of a start, from the stream's opening to the last write; the values are those of a channel with
/// five pins, before any rate is known.
std::vector<std::string> captureSide(const std::string& open) {
    return {"close",
            open,
            "cancel",
            "flush",
            "read 0800811e",
            "write 0800811e=0400",
            "read 08008050",
            "write 08008050=0100",
            "read 08008060",
            "read 2:01c70404",
            "write 08008010=f800 08008020=800f",
            "start",
            "write 08008040=0003",
            "write 08008050=0001",
            "write 08008018=0000",
            "write 0800811e=8400",
            registerDumpLine};
}

} // namespace

// ---- settings ----

TEST_F(LifecycleTest, ApplySettingsReadsTheFileAfreshAndOpensTheChannel) {
    configure("pinMap=0,1,2\norvBufSize=1\ndelays=1,2,3\n");
    writeText(propsPath, "[Global]\norv=second\nxmtrType=new\n[Channel 0]\nfile=" + stem +
                             "\nnumPins=2\npinMap=0,2,1\norvBufSize=2\ndrmXmtr=tpiu\n");
    LogCapture log;
    channel->applySettings();
    EXPECT_THAT(model.log(),
                ElementsAre("transmitter xmtrType=new", "transmitter drmXmtr=tpiu", "connect second",
                            "read 08000032 08000030 08000034", "transmitter applySettings", "transmitter pins=0,2,1"));
    EXPECT_EQ(get("orvBufSize"), "1048576");
    EXPECT_EQ(get("drmXmtr"), "tpiu");
    EXPECT_THAT(log.messages(), Contains("ORV Receiver : mapped emupins=1,2 to rcvrpins=4,5,2"));
    EXPECT_EQ(state(), Uncalibrated);
    EXPECT_TRUE(wasOpen());
}

TEST_F(LifecycleTest, ChannelsSectionComesAfterTheGlobalOneAndWins) {
    configure("orvBufSize=2\npinMap=0,1\ncpi=7\n", "orv=unit7\norvBufSize=1\npinMap=0,2\ntestPattern=walk\n");
    channel->applySettings();
    EXPECT_EQ(get("orvBufSize"), "1048576");
    EXPECT_EQ(get("pinMap"), "0,1");
    EXPECT_EQ(get("testPattern"), "walk");
    EXPECT_EQ(get("cpi"), "7");
}

TEST_F(LifecycleTest, PinCountAfterThePinMapEmptiesIt) {
    configure("pinMap=0,1,2\nnumPins=2\ndelays=1,2,3,4\n");
    LogCapture log;
    channel->applySettings();
    EXPECT_EQ(get("pinMap"), "");
    EXPECT_EQ(get("delays"), "1,2,3") << "the clock and two data pins";
    EXPECT_THAT(log.messages(), Not(Contains(testing::HasSubstr("mapped"))));
    EXPECT_EQ(transmitter.properties["pins"], "");
}

TEST_F(LifecycleTest, SectionThatIsNotThereEndsApplySettingsWithTheLockGivenBack) {
    writeText(propsPath, "[Global]\norv=unit7\n");
    frontEnd->setProperty("propsFile", propsPath.c_str());
    EXPECT_THROW(channel->applySettings(), Exception);
    EXPECT_TRUE(lockIsFree());
    EXPECT_FALSE(wasOpen());
}

TEST_F(LifecycleTest, ApplySettingsAgainClosesFirst) {
    openChannel();
    channel->applySettings();
    EXPECT_THAT(model.log(), ElementsAre("close", "connect unit7", "read 08000032 08000030 08000034",
                                         "transmitter applySettings", "transmitter pins=0,1,2,3,4"));
}

TEST_F(LifecycleTest, ApplySettingsWithoutAFileIsOutOfSequence) {
    try {
        channel->applySettings();
        FAIL() << "there is no file";
    } catch (const Exception& e) {
        EXPECT_EQ(e.status(), eSEQUENCE);
        EXPECT_STREQ(e.detail(), "must call readFile first");
    }
    EXPECT_TRUE(lockIsFree());
}

TEST_F(LifecycleTest, RefusedValueInTheFileEndsApplySettings) {
    configure("drmXmtr=tpiu\ncalMode=guess\npinMap=0,1,2\n");
    expectFailure([&] { channel->applySettings(); }, eVALUE, "calMode must be automatic|manual");
    EXPECT_EQ(transmitter.properties["drmXmtr"], "pti") << "its turn comes after the channel's";
    EXPECT_TRUE(lockIsFree());
    EXPECT_FALSE(wasOpen());
}

// ---- open and close ----

TEST_F(LifecycleTest, OpenTwiceDoesTheWorkOnce) {
    configure("");
    channel->setProperty("pinMap", "0,1");
    inside().open();
    const auto once = model.log();
    inside().open();
    EXPECT_EQ(model.log(), once);
    remakeChannel();
    EXPECT_EQ(model.count(Call::CloseChannel), 1u);
}

TEST_F(LifecycleTest, CloseWithoutOpenDoesNothing) {
    configure("pinMap=0,1\n");
    remakeChannel();
    EXPECT_THAT(model.log(), IsEmpty());
}

TEST_F(LifecycleTest, OpenMakesHostBuffersOfThePinsInUseAndCloseFreesThem) {
    openChannel();
    const auto& ovs = inside().oversampling();
    EXPECT_EQ(ovs.ovsDepth, 512u);
    for (std::size_t p = 0; p < 8; ++p) {
        EXPECT_EQ(ovs.ovsWords[p].size(), p < 5 ? 512u : 0u);
        EXPECT_EQ(ovs.ovsAccess[p].size(), p < 5 ? 512u : 0u);
    }
    for (const auto& access : ovs.ovsAccess[4]) {
        EXPECT_EQ(access.kind, 1u);
        EXPECT_EQ(access.address, 0u);
        EXPECT_EQ(access.value, 0u);
    }
    inside().close();
    for (std::size_t p = 0; p < 8; ++p) {
        EXPECT_TRUE(ovs.ovsWords[p].empty() && ovs.ovsAccess[p].empty());
    }
}

TEST_F(LifecycleTest, OpenConvertsTheListsAndLeavesOutWhatTheyLeaveOut) {
    openChannel("calMode=manual\ndelays=1,0x10,3\nstretches=-5,5\nplateaus=7\ndebounces=0,1,2,3,4\nfilters=06,1\n");
    channel->calibrate();
    std::string report = readText(stem + ".cal.txt");
    std::erase(report, '\r');
    EXPECT_THAT(report, testing::HasSubstr("delays=1,16,3,0,0\nstretches=-5,5,0,0,0\nfilters=6,1,7,7,7\n"
                                           "debounces=0,1,2,3,4\nplateaus=7,3,3,3,3\n"));
}

TEST_F(LifecycleTest, ListsLongerThanThereAreProcsDoNoHarm) {
    configure("numPins=7\ncalMode=manual\ndelays=0,1,2,3,4,5,6,7,8,9,10\n");
    channel->applySettings();
    channel->calibrate();
    EXPECT_THAT(readText(stem + ".cal.txt"), testing::ContainsRegex("\ndelays=0,1,2,3,4,5,6,7\r?\n"));
}

TEST_F(LifecycleTest, FailedConversionLeavesTheChannelClosedWithoutHostBuffers) {
    configure("pinMap=0,1,2\ndelays=1,,2\n");
    EXPECT_THROW(channel->applySettings(), VX_QRS::source_utilities_error);
    const auto& ovs = inside().oversampling();
    for (std::size_t p = 0; p < 8; ++p) {
        EXPECT_TRUE(ovs.ovsWords[p].empty() && ovs.ovsAccess[p].empty());
    }
    EXPECT_TRUE(lockIsFree());
    configure("pinMap=0,1,2\ndelays=1,2\n");
    model.clearLog();
    EXPECT_NO_THROW(channel->applySettings());
    EXPECT_EQ(model.count(Call::CloseChannel), 0u);
}

TEST_F(LifecycleTest, OpenRefusesABufferSizeThatIsNoneOfTheSizes) {
    configure("");
    channel->setProperty("pinMap", "0,1");
    inside().settings().orvBufSize = 5;
    expectFailure([&] { inside().open(); }, eCONFIG, "invalid orv buffer size");
    EXPECT_THAT(model.log(), IsEmpty());
}

TEST_F(LifecycleTest, OpenRefusesAnUnknownKindOfExport) {
    configure("pinMap=0,1\n");
    transmitter.properties["drmXmtr"] = "trace";
    expectFailure([&] { channel->applySettings(); }, eCONFIG, "invalid channel type: trace");
    EXPECT_EQ(model.count(Call::CloseChannel), 0u);
    for (const char* kind : {"pti", "tpiu", "tpiulite"}) {
        transmitter.properties["drmXmtr"] = kind;
        EXPECT_NO_THROW(channel->applySettings());
        EXPECT_EQ(get("drmXmtr"), kind);
    }
    EXPECT_EQ(model.count(Call::CloseChannel), 2u) << "the first attempt opened nothing";
}

TEST_F(LifecycleTest, TransmitterWithoutAKindLeavesTheChannelsOwn) {
    configure("pinMap=0,1\ndrmXmtr=tpiu\n");
    ON_CALL(transmitter, getProperty).WillByDefault([](const char*, const char** value) { *value = ""; });
    channel->applySettings();
    EXPECT_EQ(get("drmXmtr"), "tpiu");
}

TEST_F(LifecycleTest, OpenDoesNotLookAtWhetherThePinMapWasTaken) {
    configure("");
    channel->setProperty("pinMap", "0,1");
    inside().settings().numPins = 4;
    EXPECT_NO_THROW(inside().open());
}

TEST_F(LifecycleTest, OnlyChannelZeroConnects) {
    writeText(propsPath, "[Global]\norv=9\n[Channel 1]\npinMap=0,1\nfile=" + stem + "1\n");
    frontEnd->alloc("external", nullptr, 0, 0, 0, nullptr);
    FrontEndChannel* second = frontEnd->alloc("external", nullptr, 0, 0, 0, nullptr);
    second->setProperty("propsFile", propsPath.c_str());
    model.clearLog();
    second->applySettings();
    EXPECT_THAT(model.log(), IsEmpty());
}

TEST_F(LifecycleTest, ServerThatIsGoneDoesNotKeepTheObject) {
    openChannel();
    model.failNext(Call::CloseChannel, "failed to write to server");
    LogCapture log;
    EXPECT_NO_THROW(channel.reset());
    EXPECT_THAT(log.errorSteps(), ElementsAre("failed to close channel : failed to write to server"));
    remakeChannel();
}

// ---- the start of a recording ----

TEST_F(LifecycleTest, InternalStartOpensTheStreamProgramsTheUnitAndThenTheTransmitter) {
    openChannel();
    model.set(0x800811E, 0x8400);
    model.set(0x8008050, 0x0101);
    inside().session().orvBufHasWrapped = true;
    LogCapture log;
    inside().internalStart(0x80000, "stop", "walk",
                           {.prepare = true, .enableTransmitter = true, .bypassProtocol = false});
    std::vector<std::string> expected{"transmitter shutdown", "transmitter reset"};
    const auto capture = captureSide("open 524288 0");
    expected.insert(expected.end(), capture.begin(), capture.end());
    expected.push_back("transmitter program walk 0");
    EXPECT_EQ(model.log(), expected);
    EXPECT_THAT(log.steps(), ElementsAre("shutdown transmitter", "callsed ds_close",
                                         "disabled clock [0x0800811e]=0x0400", "disabled [0x08008050]=0x0100",
                                         "called ds_start", "programmed stm timeout register [0x08008040]=0x0003",
                                         "programmed stm control register [0x08008050]=0x0001",
                                         "programmed stm protocol register [0x08008018]=0x0000",
                                         "enabled clock [0x0800811e]=0x8400", "enabling transmitter"));
    EXPECT_EQ(get("orvBufHasWrapped"), "false");
    EXPECT_EQ(state(), Recording);
}

TEST_F(LifecycleTest, InternalStartOfTheCaptureAloneLeavesTheTransmitterAlone) {
    openChannel();
    model.set(0x800811E, 0x0400);
    model.set(0x8008050, 0x0100);
    inside().internalStart(0x40000, "wrap", "walk",
                           {.prepare = true, .enableTransmitter = false, .bypassProtocol = false});
    EXPECT_EQ(model.log(), captureSide("open 262144 1"));
    inside().internalStart(0x80000, "neither stop nor wrap", "walk",
                           {.prepare = true, .enableTransmitter = false, .bypassProtocol = false});
    EXPECT_THAT(model.log(), Contains("open 524288 1"));
}

TEST_F(LifecycleTest, InternalStartWithoutPreparationOnlyProgramsTheTransmitter) {
    openChannel();
    auto& clocking = inside().clocking();
    clocking.frequencies = {1e6, 2e6, 3e6};
    clocking.frequencySetting = 2;
    inside().internalStart(0x40000, "stop", "f0",
                           {.prepare = false, .enableTransmitter = true, .bypassProtocol = true});
    EXPECT_THAT(model.log(), ElementsAre("transmitter program f0 2"));
    EXPECT_EQ(state(), Uncalibrated);
    EXPECT_EQ(status().exportFrequency, 3e6);
    EXPECT_EQ(status().dataFrequency, 6e6);
    EXPECT_EQ(status().dataRate, 24e6);
    model.clearLog();
    inside().internalStart(0x40000, "stop", "f0",
                           {.prepare = false, .enableTransmitter = false, .bypassProtocol = true});
    EXPECT_THAT(model.log(), IsEmpty());
}

TEST_F(LifecycleTest, SettingThatWasNeverMeasuredKeepsTheRates) {
    openChannel();
    measure(5000000);
    auto& clocking = inside().clocking();
    clocking.frequencies = {1e6};
    clocking.frequencySetting = 3;
    inside().internalStart(0x40000, "stop", "f0",
                           {.prepare = false, .enableTransmitter = true, .bypassProtocol = true});
    EXPECT_EQ(status().exportFrequency, 5e6);
}

TEST_F(LifecycleTest, RegistersOfARecordingFollowTheProperties) {
    struct Case {
        const char* lines;
        bool bypass;
        std::uint32_t timeout, control, protocol;
    };
    const Case cases[] = {
        {"", false, 0x3FE3, 0x0E1, 0},
        {"stmClockTimeoutEnable=false\n", false, 0x3FE2, 0x0E1, 0},
        {"stmZeroTimeoutEnable=false\n", false, 0x3FE1, 0x0E1, 0},
        {"orvBufMode=wrap\n", false, 0x07D3, 0x0E9, 0},
        {"orvBufMode=wrap\nstmTimeoutPeriod=64\n", false, 0x0043, 0x0E9, 0},
        {"stmTimeoutPeriod=100\nstmSyncPeriod=0x400\n", false, 0x0063, 0x011, 0},
        {"stmSyncPeriod=0\nstmPeriodicSyncEnable=true\n", false, 0x3FE3, 0x009, 0},
        {"stmDiagnosticTimingEnable=true\n", false, 0x3FE3, 0x0E5, 0},
        {"stm32BitDataLimit=true\n", true, 0x3FE3, 0x1E3, 0},
        {"drmXmtr=tpiu\n", false, 0x3FE3, 0x0E1, 2},
        {"drmXmtr=tpiulite\n", false, 0x3FE3, 0x0E1, 2},
        {"drmXmtr=tpiu\n", true, 0x3FE3, 0x1E1, 0},
    };
    for (const Case& c : cases) {
        remakeChannel();
        transmitter.properties["drmXmtr"] = "pti";
        configure(std::string("pinMap=0,1,2,3,4\n") + c.lines);
        channel->applySettings();
        measure(43750000); // one count of the word clock in each word
        inside().internalStart(0x40000, "stop", "none",
                               {.prepare = true, .enableTransmitter = false, .bypassProtocol = c.bypass});
        EXPECT_THAT(model.written(0x8008040), ElementsAre(c.timeout)) << c.lines;
        EXPECT_THAT(model.written(0x8008050), Contains(c.control)) << c.lines;
        EXPECT_EQ(model.written(0x8008050).back(), c.control) << c.lines;
        EXPECT_THAT(model.written(0x8008018), ElementsAre(c.protocol)) << c.lines;
        EXPECT_EQ(model.written(0x800811E).back(), 0x8000u);
    }
}

TEST_F(LifecycleTest, WrapModeTurnsPeriodicSyncOnAndStopModeLeavesItOn) {
    openChannel();
    measure(43750000);
    const auto control = [this] {
        beginRecording();
        return model.written(0x8008050).back();
    };
    EXPECT_EQ(control(), 0x0E1u);
    channel->setProperty("orvBufMode", "wrap");
    channel->setProperty("orvBufMode", "stop");
    EXPECT_EQ(control(), 0x0E9u);
    channel->setProperty("stmPeriodicSyncEnable", "false");
    EXPECT_EQ(control(), 0x0E1u);
}

TEST_F(LifecycleTest, InitializeThreadStateForgetsTheLastRecording) {
    openCalibrated();
    beginRecording();
    model.setRecorded(std::vector<std::uint8_t>(20000, 1));
    model.onNext(Call::Request, [this] { model.setRecorded({}); }, 1); // the rest of it
    channel->stop();
    channel->run();
    channel->onError(1, "old", nullptr);
    EXPECT_EQ(status().bytesTotal, 16384u);
    writeText(stem + ".trg.txt", "left over");
    beginRecording();
    const ChannelMetrics now = status();
    EXPECT_EQ(now.state, Recording);
    EXPECT_EQ(now.bytesReady, 0u);
    EXPECT_EQ(now.bytesTotal, 0u);
    EXPECT_FALSE(now.hasError);
    EXPECT_FALSE(now.threadDone);
    EXPECT_STREQ(now.errorText, "");
    EXPECT_FALSE(exists(stem + ".trg.txt"));
}

// ---- the end of a recording ----

TEST_F(LifecycleTest, InternalStopEndsTheTransmitterThenTheCaptureAndAsksWhatIsThere) {
    openChannel();
    beginRecording();
    model.clearLog();
    model.set(0x800811E, 0x8400);
    model.set(0x8008050, 0x0001);
    model.scriptStatus({1234});
    LogCapture log;
    inside().internalStop({.stopCapture = true, .stopTransmitter = true});
    EXPECT_THAT(model.log(), ElementsAre("transmitter end 1", "transmitter flush", "transmitter shutdown",
                                         "read 0800811e", "write 0800811e=0400", "read 08008050", "write 08008050=0000",
                                         "read 08008060", "read 2:01c70404", "stop", "status", "read 0800100a"));
    EXPECT_THAT(log.steps(), ElementsAre("shutdown transmitter", "disabled clock [0x0800811e]=0x0400",
                                         "disabled [0x08008050]=0x0000", "calling ds_stop",
                                         "ds_status after final flush returned 1234 bytes ready"));
    EXPECT_EQ(status().bytesReady, 1234u);
    EXPECT_EQ(get("orvBufHasWrapped"), "false");
}

TEST_F(LifecycleTest, InternalStopDoesWhatItIsToldOnly) {
    openChannel();
    beginRecording();
    model.clearLog();
    inside().internalStop({.stopCapture = false, .stopTransmitter = true});
    EXPECT_THAT(model.log(),
                ElementsAre("transmitter end 1", "transmitter flush", "transmitter shutdown", "read 0800100a"));
    model.clearLog();
    inside().internalStop({.stopCapture = false, .stopTransmitter = false});
    EXPECT_THAT(model.log(), ElementsAre("read 0800100a"));
}

TEST_F(LifecycleTest, WrappedBufferIsReported) {
    openChannel();
    model.set(0x800100A, 0xEFFF);
    inside().internalStop({.stopCapture = false, .stopTransmitter = false});
    EXPECT_EQ(get("orvBufHasWrapped"), "false");
    model.set(0x800100A, 0x1000);
    LogCapture log;
    inside().internalStop({.stopCapture = false, .stopTransmitter = false});
    EXPECT_EQ(get("orvBufHasWrapped"), "true");
    EXPECT_THAT(log.steps(), ElementsAre("wrap detected"));
}

TEST_F(LifecycleTest, WrapDoesNotChangeTheTextThatACallerHolds) {
    openChannel();
    const char* held = nullptr;
    channel->getProperty("orvBufHasWrapped", &held);
    model.set(0x800100A, 0x1000);
    inside().internalStop({.stopCapture = false, .stopTransmitter = false});
    EXPECT_STREQ(held, "false");
}

TEST_F(LifecycleTest, FailedShutdownOfThePortIsLoggedAndDropped) {
    openChannel();
    beginRecording();
    model.clearLog();
    EXPECT_CALL(transmitter, shutdown).WillOnce(Throw(std::runtime_error("stuck"))).WillOnce([] { throw 7; });
    LogCapture log;
    inside().internalStop({.stopCapture = true, .stopTransmitter = true});
    EXPECT_THAT(log.errorSteps(), ElementsAre("failed shutting down port"));
    EXPECT_EQ(model.count(Call::Stop), 1u);
    EXPECT_NO_THROW(inside().internalStop({.stopCapture = false, .stopTransmitter = true}));
}

TEST_F(LifecycleTest, FailedEndOrFlushOfTheTransmitterIsPassedOn) {
    openChannel();
    beginRecording();
    EXPECT_CALL(transmitter, end(true)).WillOnce(Throw(std::runtime_error("end"))).WillRepeatedly(Return());
    EXPECT_THROW(inside().internalStop({.stopCapture = true, .stopTransmitter = true}), std::runtime_error);
    EXPECT_CALL(transmitter, flush).WillOnce(Throw(std::runtime_error("flush")));
    EXPECT_THROW(inside().internalStop({.stopCapture = true, .stopTransmitter = true}), std::runtime_error);
    EXPECT_EQ(model.count(Call::Stop), 0u);
}

// ---- stop signals ----

TEST_F(LifecycleTest, SignalStopLogsBothStates) {
    openCalibrated();
    LogCapture log;
    channel->stop();
    EXPECT_THAT(log.steps(), ElementsAre("current state=2, requested state=6"));
}

TEST_F(LifecycleTest, FirstErrorWins) {
    openChannel();
    beginRecording();
    LogCapture log;
    channel->onError(1, nullptr, nullptr);
    channel->onError(2, nullptr, nullptr);
    EXPECT_EQ(state(), Failed);
    EXPECT_STREQ(status().errorText, "data server error (1)");
    EXPECT_THAT(log.errorSteps(),
                ElementsAre("channel error : data server error (1)", "channel error : data server error (2)"));
    model.clearLog();
    channel->run();
    EXPECT_THAT(model.log(), IsEmpty()) << "the thread leaves at once";
}

TEST_F(LifecycleTest, ErrorWithoutTextHasAWordOfItsOwn) {
    openChannel();
    LogCapture log;
    inside().signalStop(Failed, nullptr);
    EXPECT_STREQ(status().errorText, "channel error");
    EXPECT_THAT(log.errorSteps(), ElementsAre("channel error"));
}

TEST_F(LifecycleTest, ErrorOutsideARecordingIsKeptAndLeavesTheState) {
    openCalibrated();
    channel->onError(5, nullptr, nullptr);
    EXPECT_EQ(state(), Calibrated);
    EXPECT_TRUE(status().hasError);
    EXPECT_STREQ(status().errorText, "data server error (5)");
}

TEST_F(LifecycleTest, TextOfAnErrorOutlivesTheRecordingsThatFollow) {
    openChannel();
    beginRecording();
    channel->onError(1, nullptr, nullptr);
    const char* held = status().errorText;
    beginRecording();
    EXPECT_STREQ(status().errorText, "");
    EXPECT_STREQ(held, "data server error (1)");
    channel->onError(2, nullptr, nullptr);
    EXPECT_STREQ(status().errorText, "data server error (2)");
    beginRecording();
    channel->onError(3, nullptr, nullptr);
    EXPECT_STREQ(status().errorText, "data server error (3)");
    EXPECT_STREQ(held, "data server error (1)");
}

// ---- start, stop, end, status ----

TEST_F(LifecycleTest, StartBeforeCalibrationIsOutOfSequenceAndStopChangesNothing) {
    openChannel();
    expectFailure([&] { channel->start(false); }, eSEQUENCE, "cannot start recording until calibration completed");
    channel->stop();
    EXPECT_EQ(state(), Uncalibrated);
    EXPECT_THAT(model.log(), IsEmpty());
    EXPECT_TRUE(lockIsFree());
}

TEST_F(LifecycleTest, FailedStartGivesTheLockBack) {
    openCalibrated();
    model.failNext(Call::OpenChannel, "internal channel open error");
    EXPECT_THROW(channel->start(false), std::runtime_error);
    EXPECT_TRUE(lockIsFree());
    EXPECT_EQ(state(), Calibrated);
}

TEST_F(LifecycleTest, EndTransmissionPassesItsFlagAndFailuresOn) {
    openChannel();
    channel->endTransmission(false);
    channel->endTransmission(true);
    EXPECT_THAT(model.log(), ElementsAre("transmitter end 0", "transmitter end 1"));
    EXPECT_CALL(transmitter, end(true)).WillOnce(Throw(std::runtime_error("no")));
    EXPECT_THROW(channel->endTransmission(true), std::runtime_error);
    EXPECT_TRUE(lockIsFree());
}

TEST_F(LifecycleTest, StatusFillsInWhatIsKnown) {
    openCalibrated();
    measure(2000000);
    beginRecording();
    model.scriptStatus({20000, 20000, 20000, 20000, 0});
    model.deliverBefore(Call::Status, [](auto& callback) { callback.onData("abcdef", 6); }, 3);
    std::uint32_t readyThen = 0;
    waits.hook = [&](std::uint32_t) { readyThen = std::max(readyThen, status().bytesReady); };
    channel->stop();
    channel->run();
    waits.hook = {};
    EXPECT_CALL(transmitter, hasTriggered).Times(0);
    const ChannelMetrics now = status();
    EXPECT_EQ(now.wordClockFrequency, 87.5e6);
    EXPECT_EQ(now.exportFrequency, 2e6);
    EXPECT_EQ(now.dataFrequency, 4e6);
    EXPECT_EQ(now.dataRate, 16e6);
    EXPECT_EQ(readyThen, 20000u);
    EXPECT_EQ(now.bytesReady, 0u);
    EXPECT_EQ(now.bytesTotal, 6u);
    EXPECT_EQ(now.state, Stopped);
    EXPECT_TRUE(now.threadDone);
    EXPECT_FALSE(now.hasError);
    EXPECT_STREQ(now.errorText, "");
    EXPECT_EQ(now.progress, 0.0);
}

TEST_F(LifecycleTest, StatusOfARunningCalibrationIsItsProgressAlone) {
    openCalibrated("calMode=manual\n");
    measure(50000000);
    beginRecording();
    model.setRecorded(std::vector<std::uint8_t>(16384, 1));
    channel->stop();
    channel->run();
    channel->onError(1, nullptr, nullptr);
    ASSERT_EQ(status().bytesTotal, 16384u);
    ChannelMetrics now;
    now.bytesReady = 99;
    now.hasError = true;
    ON_CALL(transmitter, shutdown).WillByDefault([&] { channel->status(now); });
    channel->calibrate();
    EXPECT_EQ(now.state, Calibrating);
    EXPECT_EQ(now.progress, 1.0);
    EXPECT_EQ(now.bytesReady, 0u);
    EXPECT_EQ(now.bytesTotal, 0u);
    EXPECT_EQ(now.dataRate, 0.0);
    EXPECT_FALSE(now.hasError);
    EXPECT_STREQ(now.errorText, "");
}

TEST_F(LifecycleTest, TriggeredTransmitterLeavesTheRecordingGoing) {
    openChannel();
    beginRecording();
    EXPECT_CALL(transmitter, hasTriggered).WillOnce(Return(true)).WillOnce(Return(false));
    LogCapture log;
    EXPECT_EQ(status().state, Recording);
    EXPECT_EQ(status().progress, 1.0);
    EXPECT_THAT(log.steps(), ElementsAre("current state=3, requested state=7"));
}

// ---- settings while recording ----

TEST_F(LifecycleTest, ApplySettingsWhileRecordingJoinsTheThreadAndIsRefused) {
    openCalibrated();
    model.setRecorded(std::vector<std::uint8_t>(16384, 1));
    channel->start(false);
    expectFailure([&] { channel->applySettings(); }, eSEQUENCE,
                  "cannot apply settings while recording, stop recording first");
    EXPECT_EQ(state(), Recording);
    EXPECT_TRUE(status().threadDone) << "joined all the same";
    EXPECT_EQ(model.count(Call::Stop), 0u);
    EXPECT_EQ(model.count(Call::Request), 0u) << "nothing is uploaded";
    channel->stop();
    EXPECT_EQ(state(), Stopped);
    EXPECT_NO_THROW(channel->applySettings());
}

} // namespace client_test
