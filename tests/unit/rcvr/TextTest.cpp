#include "TestSupport.h"
#include "rcvr/Error.h"
#include "rcvr/ListText.h"
#include "rcvr/PropertiesText.h"
#include "rcvr/StatusText.h"
#include "rcvr/TargetAdapter.h"

#include <limits>

// The pure functions of attributes, status and the properties file.

namespace {

using namespace Vx::Qrs::Trace;
using namespace Vx::Qrs::Trace::OrvRcvr;
using namespace VX_QRS::ORV::CLIENT;

TEST(ListText, CountsOneMoreThanThereAreCommas) {
    EXPECT_EQ(countListEntries(""), 0U);
    EXPECT_EQ(countListEntries("a"), 1U);
    EXPECT_EQ(countListEntries("a,b,"), 3U);
    EXPECT_EQ(countListEntries(","), 2U);
}

TEST(ListText, EntriesWithAFollowingCommaComeWholeAndTheLastLosesItsLastCharacter) {
    EXPECT_EQ(pickListEntry("25.0,100000.000000", 0), "25.0");
    EXPECT_EQ(pickListEntry("25.0,100000.000000", 1), "100000.00000");
    EXPECT_EQ(pickListEntry("x", 0), "");
    EXPECT_EQ(pickListEntry("a,,b", 1), "");
}

TEST(ListText, AnEmptyLastEntryAndAnEmptyListGiveTheEmptyText) {
    EXPECT_EQ(pickListEntry("a,", 1), "");
    EXPECT_EQ(pickListEntry("", 0), "");
    EXPECT_EQ(pickListEntry("", 0xFFFFFFFF), "");
}

TEST(ListText, PastTheEndTheOperationFails) {
    for (const std::uint32_t index : {2U, 3U, 0xFFFFFFFFU}) {
        try {
            pickListEntry("a,b", index);
            FAIL();
        } catch (const Error& error) {
            EXPECT_EQ(error.GetCode(), 5U);
            EXPECT_STREQ(error.GetErrorText(), "operation failed");
            EXPECT_EQ(std::string(error.GetDetailedText()).rfind("OrvRcvr_Utilities(", 0), 0U);
        }
    }
}

TEST(PropertiesText, BufferSizesDoubleFromTheFirstChoiceToTheTenth) {
    EXPECT_EQ(bufferSizeBytes(0), 262144U);
    EXPECT_EQ(bufferSizeBytes(2), 1048576U);
    EXPECT_EQ(bufferSizeBytes(9), 134217728U);
    EXPECT_EQ(bufferSizeBytes(12), 134217728U);
    EXPECT_EQ(bufferSizeBytes(0xFFFFFFFF), 134217728U);
}

TEST(PropertiesText, AChannelSectionHasEightKeysInTheirOrder) {
    ChannelSettings settings;
    settings.pinMap = "2,3,4";
    settings.numPins = 2;
    settings.bufferSizeIndex = 1;
    settings.startPort = 7;
    settings.transmitter = "tpiu";
    EXPECT_EQ(channelSectionText(1, settings), "[Channel 1]\nxmtrType=\ntargetSync=true\norvBufMode=stop\nnumPins=2\n"
                                               "pinMap=2,3,4\norvBufSize=524288\nstartPort=7\ndrmXmtr=tpiu\n");
    settings.isSync = false;
    settings.isStopOnFull = false;
    EXPECT_NE(channelSectionText(0, settings).find("targetSync=false\norvBufMode=wrap\n"), std::string::npos);
}

TEST(PropertiesText, TheGlobalSectionAddressesTheUnit) {
    EXPECT_EQ(globalSectionText("kite", 3), "[Global]\norv=kite3,kite.out\n\n");
}

TEST(PropertiesText, ThePathTakesTheFileNameWithAnotherExtension) {
    const std::string separator = VX_QRS::uEnvironment::separator();
    EXPECT_EQ(propertiesPathFor("C:\\settings\\chan.xml", "data"), "data" + separator + "chan.cfg");
    EXPECT_EQ(propertiesPathFor("/home/me/chan.xml", "data"), "data" + separator + "chan.cfg");
    EXPECT_EQ(propertiesPathFor("a\\b/chan", "data"), "data" + separator + "chan");
    EXPECT_EQ(propertiesPathFor("a/x.xml.xml", "data"), "data" + separator + "x.cfg.cfg");
    EXPECT_EQ(propertiesPathFor("bare.xml", "data"), "data" + separator + "bare.cfg");
    EXPECT_EQ(propertiesPathFor("a/chan.xml", "data" + separator), "data" + separator + "chan.cfg");
    EXPECT_EQ(propertiesPathFor("a/chan.xml", ""), "chan.cfg");
}

TEST(PropertiesText, TheFoldersPathStaysAsItIs) {
    const std::string separator = VX_QRS::uEnvironment::separator();
    for (const char* folder : {"\\\\server\\home\\u\\.VX-trace\\data", "//server/data", "/home/DOMAIN\\user/data"}) {
        EXPECT_EQ(propertiesPathFor("C:\\chan.xml", folder), folder + separator + "chan.cfg");
    }
}

TEST(TargetAdapter, ClassesFollowFromTheIdentifier) {
    EXPECT_EQ(adapterKindOf(470U << 22 | 38U << 10), 3U);
    EXPECT_EQ(adapterKindOf(470U << 22 | 38U << 10 | 0x3FF), 3U);
    EXPECT_EQ(adapterKindOf(470U << 22 | 39U << 10), 2U);
    EXPECT_EQ(adapterKindOf(470U << 22), 2U);
    EXPECT_EQ(adapterKindOf(320U << 22 | 38U << 10), 1U);
    EXPECT_EQ(adapterKindOf(0), 0U);
    EXPECT_EQ(adapterKindOf(0xFFFFFFFF), 0U);
}

ChannelStatus described(const ChannelMetrics& metrics, std::uint32_t bufferBytes = 1000) {
    ChannelStatus status;
    status.text = "before";
    describeStatus(metrics, bufferBytes, status);
    return status;
}

std::string summary(const ChannelStatus& status) {
    return std::to_string(status.code) + " " + status.text + " " + (status.configurable ? "c" : "-") +
           (status.startable ? "s" : "-") + (status.resumable ? "r" : "-") + (status.stoppable ? "p" : "-") +
           (status.hasData ? "d" : "-");
}

TEST(StatusText, EveryStateHasItsCodeTextAndFlags) {
    ChannelMetrics metrics;
    metrics.threadDone = true;
    const char* expected[] = {"1 Ready to calibrate -----",
                              "1 Calibrating ... -----",
                              "16 Ready to record cs---",
                              "6 Recording : 512.0 bits/second :  25% full c--p-",
                              "10 Stopped by error : upload complete cs--d",
                              "8 Stopped by buffer full : upload complete cs--d",
                              "11 Stopped by user : upload complete cs--d",
                              "0 before -----"};
    metrics.dataRate = 512.0;
    metrics.bytesReady = 250;
    for (metrics.state = 0; metrics.state < 8; ++metrics.state) {
        EXPECT_EQ(summary(described(metrics)), expected[metrics.state]);
    }
    metrics.state = -1;
    EXPECT_EQ(summary(described(metrics)), "0 before -----");
}

TEST(StatusText, AnUploadIsBusyAndTellsItsShare) {
    ChannelMetrics metrics;
    metrics.state = Stopped;
    metrics.bytesReady = 150;
    metrics.bytesTotal = 50;
    EXPECT_EQ(described(metrics).text, "Stopped by user : uploading data :  25% complete");
    EXPECT_EQ(described(metrics).code, 6U);
}

TEST(StatusText, AnUploadOfNothingKeepsTheCode) {
    ChannelMetrics metrics;
    metrics.state = Idle;
    EXPECT_EQ(described(metrics).text, "Stopped by buffer full : uploading data :   0% complete");
    EXPECT_EQ(described(metrics).code, 8U);
}

TEST(StatusText, CountsAtTheLimitDoNotWrap) {
    ChannelMetrics metrics;
    metrics.state = Failed;
    metrics.bytesReady = metrics.bytesTotal = std::numeric_limits<std::uint32_t>::max();
    EXPECT_EQ(described(metrics).text, "Stopped by error : uploading data :  50% complete");
}

TEST(StatusText, AnErrorAddsItsTextOrSaysThatThereWasOne) {
    ChannelMetrics metrics;
    metrics.state = Failed;
    metrics.threadDone = true;
    metrics.hasError = true;
    metrics.errorText = "clock lost";
    EXPECT_EQ(described(metrics).text, "Stopped by error : upload complete : clock lost");
    metrics.errorText = "";
    EXPECT_EQ(described(metrics).text, "Stopped by error : upload complete : channel error detected");
    metrics.errorText = nullptr;
    EXPECT_EQ(described(metrics).text, "Stopped by error : upload complete : channel error detected");
    metrics.state = Calibrated;
    EXPECT_EQ(described(metrics).text, "Ready to record : channel error detected");
}

TEST(StatusText, RatesAreScaledByPowersOf1024WithDecimalLetters) {
    EXPECT_EQ(rateText(512), " : 512.0 bits/second");
    EXPECT_EQ(rateText(1023), " : 1023.0 bits/second");
    EXPECT_EQ(rateText(1024), " : 1.0 kbits/second");
    EXPECT_EQ(rateText(2000000), " : 1.9 Mbits/second");
    EXPECT_EQ(rateText(3.0 * 1024 * 1024 * 1024), " : 3.0 Gbits/second");
    EXPECT_EQ(rateText(0), " : 0.0 bits/second");
}

TEST(StatusText, AnUnknownBufferSizeShowsNothingFull) {
    ChannelMetrics metrics;
    metrics.state = Recording;
    metrics.bytesReady = 5;
    EXPECT_EQ(described(metrics, 0).text, "Recording : 0.0 bits/second :   0% full");
}

TEST(StatusText, ProgressFollowsTheCalibration) {
    ChannelMetrics metrics;
    const auto text = [&] {
        const CalibrationProgress progress = describeProgress(metrics);
        return std::to_string(progress.percent) + " " + progress.text;
    };
    EXPECT_EQ(text(), "-1 Ready for calibration");
    metrics.state = Calibrating;
    metrics.progress = 0.479;
    EXPECT_EQ(text(), "47 Calibration in progress");
    metrics.progress = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(text(), "0 Calibration in progress");
    for (metrics.state = Calibrated; metrics.state < 9; ++metrics.state) {
        EXPECT_EQ(text(), "100 Calibration complete");
    }
}

} // namespace
