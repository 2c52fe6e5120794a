#include "common/source/source_utilities/source_utilities_error.h"
#include "tests/unit/client/frontend/ChannelFixture.h"

#include <stdexcept>
#include <string>
#include <vector>

namespace client_test {

using testing::Contains;
using testing::ElementsAre;

using testing::IsEmpty;
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
    writeText(propsPath, "[Global]\norv=second\nstartPort=3\nxmtrType=new\n[Channel 0]\nfile=" + stem +
                             "\nnumPins=2\npinMap=0,2,1\norvBufSize=2\ndrmXmtr=tpiu\n");
    channel->applySettings();
    EXPECT_THAT(model.log(),
                ElementsAre("transmitter xmtrType=new", "transmitter drmXmtr=tpiu", "connect second",
                            "read 08000032 08000030 08000034", "transmitter applySettings", "transmitter pins=0,2,1"));
    EXPECT_TRUE(inside().session().opened);
    EXPECT_EQ(inside().settings().startPort, 3u) << "the Global section goes to the channel, too";
    EXPECT_EQ(get("orvBufSize"), "1048576");
    EXPECT_EQ(get("drmXmtr"), "tpiu");
    EXPECT_THAT(inside().session().rcvrPins, ElementsAre(4u, 5u, 2u));
    EXPECT_EQ(state(), Uncalibrated);
}

TEST_F(LifecycleTest, ChannelsSectionComesBehindTheGlobalOneAndWins) {
    configure("orvBufSize=2\npinMap=0,1\ncpi=7\n", "orv=unit7\norvBufSize=1\npinMap=0,2\ntestPattern=walk\n");
    channel->applySettings();
    EXPECT_EQ(get("orvBufSize"), "1048576");
    EXPECT_EQ(get("pinMap"), "0,1");
    EXPECT_EQ(get("testPattern"), "walk");
    EXPECT_EQ(get("cpi"), "7");
}

TEST_F(LifecycleTest, PinCountBehindThePinMapEmptiesIt) {
    configure("pinMap=0,1,2\nnumPins=2\n");
    channel->applySettings();
    EXPECT_EQ(get("pinMap"), "");
    EXPECT_EQ(inside().settings().numPins, 3u);
    EXPECT_THAT(inside().session().rcvrPins, IsEmpty());
    EXPECT_EQ(transmitter.properties["pins"], "");
}

TEST_F(LifecycleTest, SectionThatIsNotThereEndsApplySettingsWithTheLockGivenBack) {
    writeText(propsPath, "[Global]\norv=unit7\n");
    frontEnd->setProperty("propsFile", propsPath.c_str());
    EXPECT_THROW(channel->applySettings(), Exception);
    EXPECT_FALSE(inside().session().opened);
    EXPECT_FALSE(inside().mutex().unlock()) << "the lock was not given back";
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
    EXPECT_TRUE(inside().mutex().lock());
    EXPECT_TRUE(inside().mutex().unlock());
    EXPECT_FALSE(inside().mutex().unlock()) << "the lock was not given back";
}

TEST_F(LifecycleTest, RefusedValueInTheFileEndsApplySettings) {
    configure("drmXmtr=tpiu\ncalMode=guess\npinMap=0,1,2\n");
    expectFailure([&] { channel->applySettings(); }, eVALUE, "calMode must be automatic|manual");
    EXPECT_EQ(transmitter.properties["drmXmtr"], "pti") << "its turn comes behind the channel's";
    EXPECT_FALSE(inside().session().opened);
    EXPECT_FALSE(inside().mutex().unlock());
}

// ---- open and close ----

TEST_F(LifecycleTest, OpenTwiceDoesTheWorkOnceAndCloseWithoutOpenNothing) {
    configure("");
    channel->setProperty("pinMap", "0,1");
    inside().close();
    EXPECT_THAT(model.log(), IsEmpty());
    inside().open();
    const auto once = model.log();
    inside().open();
    EXPECT_EQ(model.log(), once);
    inside().close();
    inside().close();
    EXPECT_EQ(model.count(Call::CloseChannel), 1u);
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
    EXPECT_EQ(inside().cal().numProcs, 8u);
    EXPECT_EQ(inside().metrics().numProcs, 8u);
    inside().close();
    for (std::size_t p = 0; p < 8; ++p) {
        EXPECT_TRUE(ovs.ovsWords[p].empty() && ovs.ovsAccess[p].empty());
    }
}

TEST_F(LifecycleTest, OpenConvertsTheListsAndLeavesOutWhatTheyLeaveOut) {
    openChannel("delays=1,0x10,3\nstretches=-5,5\nplateaus=7\ndebounces=0,1,2,3,4\nfilters=010,1\n");
    const Cal& cal = inside().cal();
    EXPECT_EQ(cal.proc[0].delay, 1u);
    EXPECT_EQ(cal.proc[1].delay, 16u);
    EXPECT_EQ(cal.proc[2].delay, 3u);
    EXPECT_EQ(cal.proc[3].delay, notSet);
    EXPECT_EQ(cal.proc[0].stretch, -5);
    EXPECT_EQ(cal.proc[1].stretch, 5);
    EXPECT_EQ(cal.proc[2].stretch, 0x7FFFFFFF);
    EXPECT_EQ(cal.proc[0].plateau, 7u);
    EXPECT_EQ(cal.proc[1].plateau, notSet);
    EXPECT_EQ(cal.proc[4].debounce, 4u);
    EXPECT_EQ(cal.proc[0].filter, 8u);
    EXPECT_EQ(cal.proc[1].filter, 1u);
}

TEST_F(LifecycleTest, ListsLongerThanThereAreProcsDoNoHarm) {
    openChannel("delays=0,1,2,3,4,5,6,7,8,9,10\n");
    EXPECT_EQ(inside().cal().proc[7].delay, 7u);
}

TEST_F(LifecycleTest, FailedConversionLeavesTheChannelClosedWithoutHostBuffers) {
    configure("pinMap=0,1,2\ndelays=1,,2\n");
    EXPECT_THROW(channel->applySettings(), VX_QRS::source_utilities_error);
    EXPECT_FALSE(inside().session().opened);
    for (std::size_t p = 0; p < 8; ++p) {
        EXPECT_TRUE(inside().oversampling().ovsWords[p].empty() && inside().oversampling().ovsAccess[p].empty());
    }
    EXPECT_FALSE(inside().mutex().unlock());
    channel->setProperty("delays", "1,2");
    EXPECT_NO_THROW(inside().open());
}

TEST_F(LifecycleTest, OpenRefusesABufferSizeThatIsNoneOfTheSizes) {
    configure("");
    channel->setProperty("pinMap", "0,1");
    inside().settings().orvBufSize = 5;
    expectFailure([&] { inside().open(); }, eCONFIG, "invalid orv buffer size");
    EXPECT_THAT(model.log(), IsEmpty());
}

TEST_F(LifecycleTest, OpenRefusesAnUnknownKindOfExport) {
    configure("");
    channel->setProperty("pinMap", "0,1");
    transmitter.properties["drmXmtr"] = "trace";
    expectFailure([&] { inside().open(); }, eCONFIG, "invalid channel type: trace");
    EXPECT_FALSE(inside().session().opened);
    for (const char* kind : {"pti", "tpiu", "tpiulite"}) {
        transmitter.properties["drmXmtr"] = kind;
        EXPECT_NO_THROW(inside().open());
        EXPECT_EQ(get("drmXmtr"), kind);
        inside().close();
    }
}

TEST_F(LifecycleTest, TransmitterWithoutAKindLeavesTheChannelsOwn) {
    configure("");
    channel->setProperty("pinMap", "0,1");
    channel->setProperty("drmXmtr", "tpiu");
    transmitter.properties["drmXmtr"] = "";
    inside().open();
    EXPECT_EQ(get("drmXmtr"), "tpiu");
}

TEST_F(LifecycleTest, OpenDoesNotLookAtWhetherThePinMapWasTaken) {
    configure("");
    channel->setProperty("pinMap", "0,1");
    inside().settings().numPins = 4;
    EXPECT_NO_THROW(inside().open());
    EXPECT_THAT(inside().session().rcvrPins, IsEmpty());
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
    inside().session().orvBufHasWrapped = "true";
    LogCapture log;
    inside().internalStart(0x80000, "stop", "walk", true, true, false);
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
    inside().internalStart(0x40000, "wrap", "walk", true, false, false);
    EXPECT_EQ(model.log(), captureSide("open 262144 1"));
    inside().internalStart(0x80000, "neither stop nor wrap", "walk", true, false, false);
    EXPECT_THAT(model.log(), Contains("open 524288 1"));
}

TEST_F(LifecycleTest, InternalStartWithoutPreparationOnlyProgramsTheTransmitter) {
    openChannel();
    inside().clocking().frequencies = {1e6, 2e6, 3e6};
    inside().clocking().frequencySetting = 2;
    inside().internalStart(0x40000, "stop", "f0", false, true, true);
    EXPECT_THAT(model.log(), ElementsAre("transmitter program f0 2"));
    EXPECT_EQ(state(), Uncalibrated);
    EXPECT_EQ(inside().clocking().exportFrequency, 3e6);
    EXPECT_EQ(inside().clocking().dataFrequency, 6e6);
    EXPECT_EQ(inside().clocking().dataRate, 24e6);
    model.clearLog();
    inside().internalStart(0x40000, "stop", "f0", false, false, true);
    EXPECT_THAT(model.log(), IsEmpty());
}

TEST_F(LifecycleTest, SettingThatWasNeverMeasuredKeepsTheRates) {
    openChannel();
    inside().clocking().frequencies = {1e6};
    inside().clocking().frequencySetting = 3;
    inside().clocking().exportFrequency = 5.0;
    inside().internalStart(0x40000, "stop", "f0", false, true, true);
    EXPECT_EQ(inside().clocking().exportFrequency, 5.0);
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
        ChannelInspector fresh{*channel};
        fresh.clocking().wordClockFrequency = 1e6;
        fresh.clocking().dataFrequency = 1e6;
        model.clearLog();
        fresh.internalStart(0x40000, "stop", "none", true, false, c.bypass);
        EXPECT_THAT(model.written(0x8008040), ElementsAre(c.timeout)) << c.lines;
        EXPECT_THAT(model.written(0x8008050), Contains(c.control)) << c.lines;
        EXPECT_EQ(model.written(0x8008050).back(), c.control) << c.lines;
        EXPECT_THAT(model.written(0x8008018), ElementsAre(c.protocol)) << c.lines;
        EXPECT_EQ(model.written(0x800811E).back(), 0x8000u);
    }
}

TEST_F(LifecycleTest, InitializeThreadStateForgetsTheLastRecording) {
    openChannel();
    inside().signalStop(Failed, "old");
    inside().counters().bytesReady = 1;
    inside().counters().bytesPending = 2;
    inside().counters().bytesTotal = 3;
    inside().counters().published = {1, 3};
    inside().control().threadDone = true;
    inside().control().verifyTimeoutTicks = 4;
    writeText(stem + ".trg.txt", "left over");
    inside().initializeThreadState();
    const ChannelMetrics now = status();
    EXPECT_EQ(now.state, Recording);
    EXPECT_EQ(now.bytesReady, 0u);
    EXPECT_EQ(now.bytesTotal, 0u);
    EXPECT_FALSE(now.hasError);
    EXPECT_FALSE(now.threadDone);
    EXPECT_STREQ(now.errorText, "");
    EXPECT_EQ(inside().counters().bytesPending, 0u);
    EXPECT_FALSE(inside().control().exitThread);
    EXPECT_EQ(inside().control().verifyTimeoutTicks, 0u);
    EXPECT_EQ(inside().control().errorText, "");
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
    inside().internalStop(true, true);
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
    inside().internalStop(false, true);
    EXPECT_THAT(model.log(),
                ElementsAre("transmitter end 1", "transmitter flush", "transmitter shutdown", "read 0800100a"));
    model.clearLog();
    inside().internalStop(false, false);
    EXPECT_THAT(model.log(), ElementsAre("read 0800100a"));
}

TEST_F(LifecycleTest, WrappedBufferIsReported) {
    openChannel();
    model.set(0x800100A, 0xEFFF);
    inside().internalStop(false, false);
    EXPECT_EQ(get("orvBufHasWrapped"), "false");
    model.set(0x800100A, 0x1000);
    LogCapture log;
    inside().internalStop(false, false);
    EXPECT_EQ(get("orvBufHasWrapped"), "true");
    EXPECT_THAT(log.steps(), ElementsAre("wrap detected"));
}

TEST_F(LifecycleTest, FailedShutdownOfThePortIsLoggedAndDropped) {
    openChannel();
    beginRecording();
    model.clearLog();
    EXPECT_CALL(transmitter, shutdown).WillOnce(Throw(std::runtime_error("stuck"))).WillOnce([] { throw 7; });
    LogCapture log;
    inside().internalStop(true, true);
    EXPECT_THAT(log.errorSteps(), ElementsAre("failed shutting down port"));
    EXPECT_EQ(model.count(Call::Stop), 1u);
    EXPECT_NO_THROW(inside().internalStop(false, true));
}

TEST_F(LifecycleTest, FailedEndOrFlushOfTheTransmitterIsPassedOn) {
    openChannel();
    beginRecording();
    EXPECT_CALL(transmitter, end(true)).WillOnce(Throw(std::runtime_error("end"))).WillRepeatedly(Return());
    EXPECT_THROW(inside().internalStop(true, true), std::runtime_error);
    EXPECT_CALL(transmitter, flush).WillOnce(Throw(std::runtime_error("flush")));
    EXPECT_THROW(inside().internalStop(true, true), std::runtime_error);
    EXPECT_EQ(model.count(Call::Stop), 0u);
}

// ---- stop signals ----

TEST_F(LifecycleTest, SignalStopLogsBothStates) {
    openCalibrated();
    LogCapture log;
    inside().signalStop(Stopped, nullptr);
    EXPECT_THAT(log.steps(), ElementsAre("current state=2, requested state=6"));
}

TEST_F(LifecycleTest, FirstErrorWins) {
    openChannel();
    beginRecording();
    LogCapture log;
    inside().signalStop(Failed, "first");
    inside().signalStop(Failed, "second");
    inside().signalStop(Failed, nullptr);
    EXPECT_EQ(state(), Failed);
    EXPECT_STREQ(status().errorText, "first");
    EXPECT_EQ(inside().control().errorText, "first");
    EXPECT_TRUE(inside().control().exitThread);
    EXPECT_THAT(log.errorSteps(), ElementsAre("channel error : first", "channel error : second", "channel error"));
}

TEST_F(LifecycleTest, ErrorWithoutTextHasAWordOfItsOwn) {
    openChannel();
    inside().signalStop(Failed, nullptr);
    EXPECT_STREQ(status().errorText, "channel error");
}

TEST_F(LifecycleTest, ErrorOutsideARecordingIsKeptAndLeavesTheState) {
    openCalibrated();
    inside().signalStop(Failed, "late");
    EXPECT_EQ(state(), Calibrated);
    EXPECT_TRUE(inside().control().exitThread);
    EXPECT_TRUE(status().hasError);
    EXPECT_STREQ(status().errorText, "late");
}

TEST_F(LifecycleTest, TextOfAnErrorOutlivesTheStartOfTheNextRecording) {
    openChannel();
    beginRecording();
    inside().signalStop(Failed, "first");
    const char* held = status().errorText;
    inside().initializeThreadState();
    EXPECT_STREQ(status().errorText, "");
    EXPECT_STREQ(held, "first");
    inside().signalStop(Failed, "second");
    EXPECT_STREQ(status().errorText, "second");
    EXPECT_STREQ(held, "first");
}

// ---- start, stop, end, status ----

TEST_F(LifecycleTest, StartBeforeCalibrationIsOutOfSequenceAndStopChangesNothing) {
    openChannel();
    expectFailure([&] { channel->start(false); }, eSEQUENCE, "cannot start recording until calibration completed");
    channel->stop();
    EXPECT_EQ(state(), Uncalibrated);
    EXPECT_THAT(model.log(), IsEmpty());
    EXPECT_FALSE(inside().mutex().unlock());
}

TEST_F(LifecycleTest, FailedStartGivesTheLockBack) {
    openCalibrated();
    model.failNext(Call::OpenChannel, "internal channel open error");
    EXPECT_THROW(channel->start(false), std::runtime_error);
    EXPECT_FALSE(inside().mutex().unlock());
    EXPECT_EQ(state(), Calibrated);
}

TEST_F(LifecycleTest, EndTransmissionPassesItsFlagAndFailuresOn) {
    openChannel();
    channel->endTransmission(false);
    channel->endTransmission(true);
    EXPECT_THAT(model.log(), ElementsAre("transmitter end 0", "transmitter end 1"));
    EXPECT_CALL(transmitter, end(true)).WillOnce(Throw(std::runtime_error("no")));
    EXPECT_THROW(channel->endTransmission(true), std::runtime_error);
    EXPECT_FALSE(inside().mutex().unlock());
}

TEST_F(LifecycleTest, StatusFillsInWhatIsKnown) {
    openCalibrated();
    inside().clocking().wordClockFrequency = 1.0;
    inside().clocking().exportFrequency = 2.0;
    inside().clocking().dataFrequency = 3.0;
    inside().clocking().dataRate = 4.0;
    inside().counters().published = {5, 6};
    inside().control().threadDone = true;
    EXPECT_CALL(transmitter, hasTriggered).Times(0);
    const ChannelMetrics now = status();
    EXPECT_EQ(now.wordClockFrequency, 1.0);
    EXPECT_EQ(now.exportFrequency, 2.0);
    EXPECT_EQ(now.dataFrequency, 3.0);
    EXPECT_EQ(now.dataRate, 4.0);
    EXPECT_EQ(now.bytesReady, 5u);
    EXPECT_EQ(now.bytesTotal, 6u);
    EXPECT_EQ(now.state, Calibrated);
    EXPECT_TRUE(now.threadDone);
    EXPECT_FALSE(now.hasError);
    EXPECT_STREQ(now.errorText, "");
    EXPECT_EQ(now.progress, 0.0);
}

TEST_F(LifecycleTest, StatusOfARunningCalibrationIsItsProgressAlone) {
    openCalibrated();
    inside().calibration().calInProgress = true;
    inside().calibration().calProgress = 0.25;
    inside().counters().published = {5, 6};
    inside().clocking().dataRate = 4.0;
    inside().signalStop(Failed, "error");
    ChannelMetrics now;
    now.bytesReady = 99;
    now.hasError = true;
    channel->status(now);
    EXPECT_EQ(now.state, Calibrating);
    EXPECT_EQ(now.progress, 0.25);
    EXPECT_EQ(now.bytesReady, 0u);
    EXPECT_EQ(now.bytesTotal, 0u);
    EXPECT_EQ(now.dataRate, 0.0);
    EXPECT_FALSE(now.hasError);
    EXPECT_STREQ(now.errorText, "");
    inside().calibration().calInProgress = false;
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
