#include "DriverFixture.h"

// Attributes, status and progress.

namespace {

using namespace rcvr_test;
using testing::Contains;
using testing::ElementsAre;
using testing::Throw;

class Attributes : public DriverFixture {
protected:
    Attributes() { makeDriver(); }

    // "type value"
    std::string ask(const std::string& name) {
        TraceAttribute attribute;
        driver->GetAttribute(name.c_str(), &attribute);
        EXPECT_EQ(attribute.name, std::string(attribute.name));
        return std::to_string(attribute.type) + " " + attribute.value;
    }
};

TEST_F(Attributes, TheNameComesBackAsTheSamePointer) {
    const char* name = "targetSync";
    TraceAttribute attribute;
    driver->GetAttribute(name, &attribute);
    EXPECT_EQ(attribute.name, name);
}

TEST_F(Attributes, FrequenciesArePrintedAsNumbers) {
    channel.metrics.exportFrequency = 25e6;
    channel.metrics.wordClockFrequency = 12.5e6;
    channel.metrics.dataFrequency = 0.5;
    EXPECT_EQ(ask("Device Clock Frequency"), "6 25000000.000000");
    EXPECT_EQ(ask("Timing Clock Frequency"), "6 12500000.000000");
    EXPECT_EQ(ask("Trace Clock Frequency"), "6 12500000.000000");
    EXPECT_EQ(ask("Trace Data Frequency"), "6 0.500000");
}

TEST_F(Attributes, ThePinSizeKeepsTheOldTextWhenThePropertyHasNone) {
    EXPECT_EQ(ask("Trace Data Pin Size "), "2 4");
    EXPECT_EQ(ask("targetSync"), "6 true");
    channel.nullProperties = true;
    EXPECT_EQ(ask("Trace Data Pin Size "), "6 true");
    EXPECT_EQ(ask("anything"), "6 ");
}

TEST_F(Attributes, ABufferHasWrappedOnlyWhenThePropertySaysExactlyTrue) {
    EXPECT_EQ(ask("Buffer Wrapped"), "0 0");
    channel.properties["orvBufHasWrapped"] = "true";
    EXPECT_EQ(ask("Buffer Wrapped"), "0 1");
    channel.properties["orvBufHasWrapped"] = "TRUE";
    EXPECT_EQ(ask("Buffer Wrapped"), "0 0");
}

TEST_F(Attributes, AListWithoutAnIndexGivesItsCountAndWithOneItsEntry) {
    channel.properties["pinMaps"] = "2:3,4:5";
    channel.properties["orvBufSizes"] = "262144,524288";
    channel.properties["frequencies"] = "25000000.000000,100000.000000";
    EXPECT_EQ(ask("Trace Pin-out Select List "), "2 2");
    EXPECT_EQ(ask("Trace Pin-out Select List 0"), "5 2:3");
    EXPECT_EQ(ask("Trace Pin-out Select List 1"), "5 4:");
    EXPECT_EQ(ask("Trace EBM Size Select List "), "2 2");
    EXPECT_EQ(ask("Trace EBM Size Select List 0"), "5 262144");
    EXPECT_EQ(ask("Trace Clock Select List "), "2 2");
    EXPECT_EQ(ask("Trace Clock Select List 0"), "6 25000000.000000");
    EXPECT_EQ(ask("Trace Clock Select List 1"), "6 100000.00000");
}

TEST_F(Attributes, AnIndexPastTheEndOrOfAnyRubbishFailsOrCountsAsZero) {
    channel.properties["frequencies"] = "1,2";
    EXPECT_EQ(failureOf([&] { ask("Trace Clock Select List 2"); }), "Error 5: operation failed");
    EXPECT_EQ(failureOf([&] { ask("Trace Clock Select List -1"); }), "Error 5: operation failed");
    EXPECT_EQ(failureOf([&] { ask("Trace Clock Select List 99999999999"); }), "Error 5: operation failed");
    EXPECT_EQ(ask("Trace Clock Select List x"), "6 1");
    channel.properties["frequencies"] = "";
    EXPECT_EQ(ask("Trace Clock Select List "), "2 0");
    EXPECT_EQ(ask("Trace Clock Select List 7"), "6 ");
}

TEST_F(Attributes, ListsThatTheChannelDoesNotKnowFailAsUnknownNames) {
    EXPECT_EQ(failureOf([&] { ask("Trace Pin-out Select List "); }), "Error 1: invalid variable name : pinMaps");
}

TEST_F(Attributes, TpiuExportsAreATwpSource) {
    const LogCapture log(folder, "1");
    EXPECT_EQ(ask("TWP Source"), "0 0");
    for (const char* kind : {"tpiu", "tpiulite"}) {
        channel.properties["drmXmtr"] = kind;
        EXPECT_EQ(ask("TWP Source"), "0 1");
    }
    EXPECT_EQ(log.lines().back(), "M ORV Receiver : GetAttribute drmXmtr=tpiulite");
}

TEST_F(Attributes, EtbSamplesAreTheSamplesThereAre) {
    channel.metrics.bytesReady = 17;
    channel.metrics.bytesTotal = 80;
    EXPECT_EQ(ask("ETB Samples"), "2 13");
}

TEST_F(Attributes, TheDataFlipFollowsTheDevicesVersion) {
    const auto flipFor = [&](const std::string& entries) {
        receiver.reset();
        device(entries);
        makeDriver();
        return ask("ETB Data Flip Needed");
    };
    const std::string good = "entry\ntrace a\nversion 1\n";
    EXPECT_EQ(flipFor(good), "0 0"); // not a tpiu export
    channel.properties["drmXmtr"] = "tpiu";
    EXPECT_EQ(flipFor(good), "0 1");
    EXPECT_EQ(flipFor("entry\nversion 1\n"), "0 0"); // no trace part
    EXPECT_EQ(flipFor("entry\ntrace a\n"), "0 0");   // no device
    EXPECT_EQ(flipFor("entry\ntrace a\nversion 2\n"), "0 0");
    EXPECT_EQ(flipFor("entry\ntrace a\nversion 2\n" + good), "0 1"); // a later entry has it
    EXPECT_EQ(flipFor(""), "0 0");
}

TEST_F(Attributes, AnyOtherNameIsAPropertyOfTheChannel) {
    EXPECT_EQ(ask("targetSync"), "6 true");
    EXPECT_EQ(ask("numPins"), "6 4");
    EXPECT_EQ(failureOf([&] { ask("nothing"); }), "Error 1: invalid variable name : nothing");
    EXPECT_EQ(failureOf([&] { ask(""); }), "Error 1: invalid variable name");
    EXPECT_NE(failureOf([&] { ask(std::string(100000, 'x')); }), "");
    // The blank belongs to the name.
    EXPECT_EQ(failureOf([&] { ask("Trace Data Pin Size"); }), "Error 1: invalid variable name : Trace Data Pin Size");
}

TEST_F(Attributes, NullPointersAreRefused) {
    TraceAttribute attribute;
    EXPECT_EQ(failureOf([&] { driver->GetAttribute(nullptr, &attribute); }),
              "Error 3: null parameter : invalid attribute name");
    EXPECT_EQ(failureOf([&] { driver->GetAttribute("numPins", nullptr); }), "Error 3: null parameter");
}

TEST_F(Attributes, AFailureIsLoggedAsAWarning) {
    const LogCapture log(folder, "1");
    EXPECT_CALL(channel, status).WillOnce(Throw(failure()));
    EXPECT_EQ(failureOf([&] { ask("numPins"); }), "Error 1: data server failure : no answer");
    EXPECT_THAT(log.lines(), Contains("W ORV Receiver : GetAttribute std exception : eDATASERVER(14) : data server "
                                      "failure : no answer"));
}

class Status : public Attributes {};

TEST_F(Status, FillsTheRecordFromTheChannel) {
    channel.metrics.state = client::Stopped;
    channel.metrics.threadDone = false;
    channel.metrics.bytesReady = 150;
    channel.metrics.bytesTotal = 50;
    ChannelStatus status;
    status.resumable = true;
    driver->GetChannelStatus(&status);
    EXPECT_EQ(status.code, 6U);
    EXPECT_EQ(status.text, "Stopped by user : uploading data :  25% complete");
    EXPECT_TRUE(status.configurable && status.startable && status.hasData);
    EXPECT_FALSE(status.resumable || status.stoppable);
}

TEST_F(Status, FillIsToldAgainstTheConfiguredBuffer) {
    driver->SetConfiguration(settingsFile().c_str()); // 1000 bytes, says the channel
    channel.metrics.state = client::Recording;
    channel.metrics.bytesReady = 500;
    channel.metrics.dataRate = 2000000;
    ChannelStatus status;
    driver->GetChannelStatus(&status);
    EXPECT_EQ(status.text, "Recording : 1.9 Mbits/second :  50% full");
}

TEST_F(Status, FillBeforeAnyConfigurationIsNone) {
    channel.metrics.state = client::Recording;
    channel.metrics.bytesReady = 500;
    ChannelStatus status;
    driver->GetChannelStatus(&status);
    EXPECT_THAT(status.text, testing::EndsWith(" :   0% full"));
}

TEST_F(Status, FillAfterAFailedCalibrationIsToldAgainstTheBufferThatTheUnitHas) {
    driver->SetConfiguration(settingsFile().c_str());
    EXPECT_CALL(channel, calibrate).WillRepeatedly(Throw(failure()));
    const auto recordIntoBuffer = [&](const char* size) {
        channel.properties["orvBufSize"] = size;
        EXPECT_NE(failureOf([&] { driver->SetConfiguration(settingsFile().c_str()); }), "");
        channel.metrics = {};
        channel.metrics.state = client::Calibrated;
    };
    const auto fillOf = [&](std::uint32_t bytes) {
        channel.metrics.state = client::Recording;
        channel.metrics.bytesReady = bytes;
        ChannelStatus status;
        driver->GetChannelStatus(&status);
        return status.text.substr(status.text.rfind(':') + 2);
    };
    recordIntoBuffer("4000");
    driver->StartRecording(false);
    EXPECT_EQ(fillOf(4000), "100% full");
    recordIntoBuffer("8000");
    driver->NotifySystemStateChange(0);
    EXPECT_EQ(fillOf(8000), "100% full");
    // A start that throws may have begun the recording.
    recordIntoBuffer("16000");
    EXPECT_CALL(channel, start).WillOnce(Throw(failure()));
    EXPECT_NE(failureOf([&] { driver->StartRecording(false); }), "");
    EXPECT_EQ(fillOf(16000), "100% full");
}

TEST_F(Status, ABufferSizeThatCannotBeReadLeavesAStartAlone) {
    driver->SetConfiguration(settingsFile().c_str());
    channel.properties["orvBufSize"] = "much";
    EXPECT_CALL(channel, start(false)).Times(2);
    driver->StartRecording(false);
    channel.properties.erase("orvBufSize");
    driver->StartRecording(false);
}

TEST_F(Status, WhileDisconnectedTheRecordStaysAsItIs) {
    EXPECT_CALL(channel, status).Times(0);
    for (const unsigned state : {3U, 4U}) {
        driver->SetTargetState(state);
        ChannelStatus status{77, "mine", true, true, true, true, true};
        driver->GetChannelStatus(&status);
        EXPECT_EQ(status.code, 77U);
        EXPECT_EQ(status.text, "mine");
        EXPECT_TRUE(status.configurable && status.startable && status.resumable && status.stoppable && status.hasData);
        driver->GetChannelStatus(nullptr);
    }
}

TEST_F(Status, AnUnknownStateLeavesTheTextAndClearsTheRest) {
    channel.metrics.state = 7;
    ChannelStatus status{77, "mine", true, true, true, true, true};
    driver->GetChannelStatus(&status);
    EXPECT_EQ(status.code, 0U);
    EXPECT_EQ(status.text, "mine");
    EXPECT_FALSE(status.configurable || status.startable || status.resumable || status.stoppable || status.hasData);
}

TEST_F(Status, FailuresAndNullsBecomeErrors) {
    const LogCapture log(folder, "1");
    ChannelStatus status;
    EXPECT_CALL(channel, status).WillOnce(Throw(failure())).WillOnce(Throw(1));
    EXPECT_EQ(failureOf([&] { driver->GetChannelStatus(&status); }), "Error 1: data server failure : no answer");
    EXPECT_EQ(failureOf([&] { driver->GetChannelStatus(&status); }), "unknown");
    EXPECT_EQ(failureOf([&] { driver->GetChannelStatus(nullptr); }), "Error 3: null parameter");
    EXPECT_THAT(log.lines(), ElementsAre("E ORV Receiver : GetChannelStatus std exception : eDATASERVER(14) : data "
                                         "server failure : no answer",
                                         "E ORV Receiver : GetChannelStatus unknown exception"));
}

TEST_F(Status, ProgressIsToldInOneText) {
    const LogCapture log(folder, "1");
    unsigned first = 0;
    int percent = 77;
    std::string text = "old";
    driver->GetProgress(&first, &percent, &text);
    EXPECT_EQ(first, 1U);
    EXPECT_EQ(percent, -1);
    EXPECT_EQ(text, "Kite R2 Trace - Ready for calibration");
    channel.metrics.state = client::Calibrating;
    channel.metrics.progress = 0.339;
    driver->GetProgress(&first, &percent, &text);
    EXPECT_EQ(percent, 33);
    EXPECT_EQ(text, "Kite R2 Trace - Calibration in progress");
    channel.metrics.state = client::Calibrated;
    driver->GetProgress(&first, &percent, &text);
    EXPECT_EQ(percent, 100);
    EXPECT_EQ(text, "Kite R2 Trace - Calibration complete");
    EXPECT_EQ(log.lines().front(), "M ORV Receiver : GetProgress - Kite R2 Trace - Ready for calibration at state=0");
}

TEST_F(Status, AFailedProgressBecomesAnErrorAndNullsAreRefused) {
    unsigned first = 0;
    int percent = 0;
    std::string text;
    EXPECT_CALL(channel, status).WillOnce(Throw(failure()));
    EXPECT_EQ(failureOf([&] { driver->GetProgress(&first, &percent, &text); }),
              "Error 1: data server failure : no answer");
    EXPECT_EQ(percent, -1);
    EXPECT_EQ(failureOf([&] { driver->GetProgress(nullptr, &percent, &text); }), "Error 3: null parameter");
    EXPECT_EQ(failureOf([&] { driver->GetProgress(&first, nullptr, &text); }), "Error 3: null parameter");
    EXPECT_EQ(failureOf([&] { driver->GetProgress(&first, &percent, nullptr); }), "Error 3: null parameter");
}

} // namespace
