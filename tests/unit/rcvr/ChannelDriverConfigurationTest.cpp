#include "DriverFixture.h"

#include <atomic>
#include <thread>

namespace {

using namespace rcvr_test;
using testing::HasSubstr;
using testing::InSequence;
using testing::Return;
using testing::StrEq;
using testing::Throw;

class Configuration : public DriverFixture {
protected:
    // The file as it lies on the disk, with this program's line ends.
    std::string properties() { return readText(propertiesFile()); }
};

TEST_F(Configuration, RunsItsStepsInOrder) {
    makeDriver();
    const std::string settings = settingsFile();
    const std::string props = propertiesFile();
    const LogCapture log(folder, "1");
    InSequence order;
    EXPECT_CALL(channel, setProperty(StrEq("propsFile"), StrEq(props))).WillOnce([&](const char*, const char*) {
        EXPECT_TRUE(std::filesystem::exists(props));
        EXPECT_EQ(driver->Settings().pinMap, "2,3,4");
    });
    EXPECT_CALL(channel, applySettings());
    EXPECT_CALL(channel, asked("file"));
    EXPECT_CALL(channel, calibrate());
    EXPECT_CALL(channel, asked("orvBufSize"));
    driver->SetConfiguration(settings.c_str());
    EXPECT_EQ(xmtr.askedCookie, 6U);
    EXPECT_EQ(
        log.lines(),
        (std::vector<std::string>{
            "M ORV Receiver : loading settings from " + settings,
            "M ORV Receiver : starting a search of the device database for a pin map with at least 2 data pins "
            "for board/cpu",
            "M uDll:  request to load \"PartIdentifier\" in mode -1", log.lines()[3], log.lines()[4], log.lines()[5],
            "M ORV Receiver : device database read successful", "M ORV Receiver : no pin map specified",
            "M ORV Receiver : from program normal granted emu pins 2,3,4 for pti trace on cpu",
            "M ORV Receiver : ConvertXmlToFrontEndPropsFile success",
            "M ORV Receiver : SetConfiguration calling applySettings",
            "M ORV Receiver : SetConfiguration calling calibrate", "M ORV Receiver : SetConfiguration success"}));
}

TEST_F(Configuration, WritesThePropertiesFile) {
    makeDriver().SetConfiguration(settingsFile().c_str());
    EXPECT_EQ(properties(), "[Global]\norv=kite3,kite.out\n\n[Channel 0]\nxmtrType=\ntargetSync=true\norvBufMode=stop\n"
                            "numPins=2\npinMap=2,3,4\norvBufSize=262144\nstartPort=0\ndrmXmtr=pti\n");
}

TEST_F(Configuration, ASecondChannelAddsItsSectionAndLeavesTheGlobalOne) {
    frontEnd.maxChannels = "2";
    makeDriver().SetConfiguration(settingsFile().c_str());
    const std::string first = properties();
    EXPECT_CALL(frontEnd, numChannels).WillRepeatedly(Return(2));
    makeDriver().SetConfiguration(
        settingsFile("chan.xml", "<drm_xmtr>tpiu</drm_xmtr>\n<num_pins>1</num_pins>\n").c_str());
    EXPECT_EQ(properties(), first + "[Channel 1]\nxmtrType=\ntargetSync=true\norvBufMode=stop\nnumPins=1\npinMap=3,2\n"
                                    "orvBufSize=262144\nstartPort=0\ndrmXmtr=tpiu\n");
}

TEST_F(Configuration, TheFirstChannelBeginsTheFileAnewEachTime) {
    makeDriver().SetConfiguration(settingsFile().c_str());
    const std::string once = properties();
    driver->SetConfiguration(settingsFile().c_str());
    EXPECT_EQ(properties(), once);
}

TEST_F(Configuration, ThePropertiesFileLiesInTheProfileWhateverTheDataVariableSays) {
    const ScopedVariable elsewhere("VX_TRACE_DATA_DIR", folder.file("elsewhere"));
    makeDriver().SetConfiguration(settingsFile().c_str());
    EXPECT_TRUE(
        std::filesystem::exists(std::filesystem::path(folder.path.string()) / ".VX-trace" / "data" / "chan.cfg"));
}

TEST_F(Configuration, ABufferIndexBeyondTheChoicesCountsAsTheLast) {
    makeDriver().SetConfiguration(settingsFile("chan.xml", "<bufsize_current>12</bufsize_current>\n").c_str());
    EXPECT_THAT(properties(), HasSubstr("orvBufSize=134217728\n"));
}

TEST_F(Configuration, AGivenMapIsProvedAndStaysAsWritten) {
    const LogCapture log(folder, "1");
    makeDriver().SetConfiguration(
        settingsFile("chan.xml", "<num_pins>4</num_pins>\n<pin_map>0x0,1,2,3,4</pin_map>\n").c_str());
    EXPECT_THAT(properties(), HasSubstr("pinMap=0x0,1,2,3,4\n"));
    EXPECT_THAT(log.lines(), testing::Contains("M ORV Receiver :  pin map specified as 0x0,1,2,3,4"));
}

TEST_F(Configuration, AMapThatBelongsToNoListOfTheKindIsNotValid) {
    makeDriver();
    const LogCapture log(folder, "1");
    const std::string text = "the pin map specified in the receiver settings is not valid for this device : 4,5.";
    EXPECT_EQ(failureOf([&] {
                  driver->SetConfiguration(
                      settingsFile("chan.xml", "<num_pins>1</num_pins>\n<pin_map>4,5</pin_map>\n").c_str());
              }),
              "Error 1: operation failed : " + text);
    EXPECT_THAT(log.lines(), testing::Contains("E ORV Receiver : " + text));
    EXPECT_FALSE(std::filesystem::exists(propertiesFile()));
    EXPECT_EQ(driver->Settings().numPins, 1U);
    EXPECT_EQ(driver->Settings().pinMap, ""); // the old ones
}

TEST_F(Configuration, PinsBeyondTheConnectorAreNeverGranted) {
    device("unit kite\nport 3\nentry\ntrace port\npinout p=pti=6,7,8\n");
    makeDriver();
    const LogCapture log(folder, "1");
    const std::string text = "failed to find a pin map with at least 2 data pins for cpu.";
    EXPECT_EQ(failureOf([&] { driver->SetConfiguration(settingsFile().c_str()); }),
              "Error 1: operation failed : " + text);
    EXPECT_THAT(log.lines(), testing::Contains("E ORV Receiver : " + text));
    EXPECT_FALSE(std::filesystem::exists(propertiesFile()));
    EXPECT_EQ(driver->Settings().numPins, 1U) << "the old settings stay in force";
}

TEST_F(Configuration, TheLastPinOfTheConnectorCanBeGrantedAndTheNextNumberCannot) {
    device("unit kite\nport 3\nentry\ntrace port\npinout p=pti=6,2,3;pti=5,2,3\n");
    makeDriver().SetConfiguration(settingsFile().c_str());
    EXPECT_EQ(driver->Settings().pinMap, "5,2,3");
}

TEST_F(Configuration, ADeviceThatIsNotInTheDatabasePassesItsError) {
    device("unit kite\nport 3\n");
    EXPECT_EQ(failureOf([&] { makeDriver().SetConfiguration(settingsFile().c_str()); }),
              "cZarnError: This device is not supported by the receiver.");
    EXPECT_FALSE(std::filesystem::exists(propertiesFile()));
    EXPECT_EQ(driver->Settings().numPins, 1U) << "the old settings stay in force";
}

TEST_F(Configuration, WithoutAUnitNameOrPortItFailsWithAnEmptyFile) {
    makeDriver();
    const std::string entry = "entry\ntrace port\npinout normal=pti=2,3,4\n";
    receiver->ReleaseChannel(driver);
    receiver.reset();
    device("port 3\n" + entry);
    EXPECT_EQ(failureOf([&] { makeDriver().SetConfiguration(settingsFile().c_str()); }),
              "Error 1: operation failed : failed to lookup orv name forboard/cpu");
    EXPECT_EQ(properties(), "");
    EXPECT_EQ(driver->Settings().numPins, 1U) << "the old settings stay in force";
    receiver.reset();
    device(entry);
    EXPECT_EQ(failureOf([&] { makeDriver().SetConfiguration(settingsFile().c_str()); }),
              "Error 1: operation failed : failed to lookup orv name forboard/cpu")
        << "the name is looked up first";
    receiver.reset();
    for (const char* port : {"", "port \"\"\n"}) {
        device("unit kite\n" + std::string(port) + entry);
        EXPECT_EQ(failureOf([&] { makeDriver().SetConfiguration(settingsFile().c_str()); }),
                  "Error 1: unable to convert empty string to numeric");
        EXPECT_EQ(properties(), "");
        EXPECT_EQ(driver->Settings().numPins, 1U) << "the old settings stay in force";
        receiver.reset();
    }
}

TEST_F(Configuration, ASecondChannelNeedsNoUnit) {
    frontEnd.maxChannels = "2";
    device("entry\ntrace port\npinout p=pti=2,3,4\n");
    EXPECT_CALL(frontEnd, numChannels).WillRepeatedly(Return(2));
    makeDriver().SetConfiguration(settingsFile().c_str());
    EXPECT_THAT(properties(), testing::StartsWith("[Channel 1]\nxmtrType=\n"));
}

TEST_F(Configuration, APropertiesFileThatASecondChannelCannotOpenIsInvalid) {
    frontEnd.maxChannels = "2";
    EXPECT_CALL(frontEnd, numChannels).WillRepeatedly(Return(2));
    makeDriver();
    std::filesystem::create_directories(propertiesFile());
    EXPECT_EQ(failureOf([&] { driver->SetConfiguration(settingsFile().c_str()); }), "Error 6: invalid file");
    EXPECT_EQ(driver->Settings().numPins, 1U) << "the old settings stay in force";
}

TEST_F(Configuration, AGivenMapUsesItsOwnPinsOnly) {
    device("unit kite\nport 3\nentry\ntrace port\npinout p=pti=0,1,2;pti=3,4\n");
    makeDriver();
    EXPECT_EQ(failureOf([&] {
                  driver->SetConfiguration(
                      settingsFile("chan.xml", "<num_pins>1</num_pins>\n<pin_map>3,5</pin_map>\n").c_str());
              }),
              "Error 1: operation failed : the pin map specified in the receiver settings is not valid for this "
              "device : 3,5.");
    driver->SetConfiguration(settingsFile("chan.xml", "<num_pins>1</num_pins>\n<pin_map>3,4</pin_map>\n").c_str());
    EXPECT_EQ(driver->Settings().pinMap, "3,4");
}

TEST_F(Configuration, APropertiesFileThatCannotBeOpenedIsInvalid) {
    makeDriver();
    std::filesystem::create_directories(propertiesFile());
    EXPECT_EQ(failureOf([&] { driver->SetConfiguration(settingsFile().c_str()); }), "Error 6: invalid file");
    EXPECT_EQ(driver->Settings().numPins, 1U) << "the old settings stay in force";
}

TEST_F(Configuration, AListWithMorePinsThanAskedForIsNotGranted) {
    device("unit kite\nport 3\nentry\ntrace port\npinout p=pti=2,3,4,5\n");
    EXPECT_EQ(failureOf([&] { makeDriver().SetConfiguration(settingsFile().c_str()); }),
              "Error 1: operation failed : failed to find a pin map with at least 2 data pins for cpu.");
}

TEST_F(Configuration, MoreChannelsThanTheUnitHasAreRefused) {
    makeDriver();
    EXPECT_CALL(frontEnd, numChannels).WillRepeatedly(Return(2));
    EXPECT_EQ(failureOf([&] { driver->SetConfiguration(settingsFile().c_str()); }),
              "Error 1: operation failed : only 1 channel(s) may be active at one time");
    EXPECT_FALSE(std::filesystem::exists(propertiesFile()));
}

TEST_F(Configuration, OnlyThePtiTransmitterCanBeSetUpOnARunningCpu) {
    makeDriver();
    const std::string tpiu = settingsFile("chan.xml", "<drm_xmtr>tpiu</drm_xmtr>\n<num_pins>1</num_pins>\n");
    EXPECT_CALL(channel, applySettings()).Times(2);
    driver->SetConfiguration(tpiu.c_str()); // no CPU is registered
    driver->RegisterCpuHalt("cpu", false);
    EXPECT_EQ(failureOf([&] { driver->SetConfiguration(tpiu.c_str()); }),
              "Error 1: operation failed : the cpu must be halted first");
    EXPECT_EQ(driver->Settings().transmitter, "tpiu"); // installed, and the file written
    driver->SetConfiguration(settingsFile("chan.xml").c_str());
}

TEST_F(Configuration, ANullPathIsRefused) {
    makeDriver();
    EXPECT_EQ(failureOf([&] { driver->SetConfiguration(nullptr); }), "Error 3: null parameter");
}

TEST_F(Configuration, WithoutATransmitterLibraryItIsRefused) {
    receiver = std::make_unique<Receiver>();
    auto* without = receiver->AllocateChannel(fullCpuName, nullptr, 0, 0);
    EXPECT_EQ(failureOf([&] { without->SetConfiguration(settingsFile().c_str()); }), "Error 3: null parameter");
}

TEST_F(Configuration, NamesOfAnyLengthEndInAnError) {
    makeDriver();
    EXPECT_NE(failureOf([&] { driver->SetConfiguration(std::string("/").append(100000, 'x').c_str()); }), "");
    EXPECT_NE(failureOf([&] { driver->SetConfiguration(""); }), "");
}

TEST_F(Configuration, AFailureAtAnyStepBecomesAnErrorAndFreesTheLock) {
    makeDriver();
    const std::string settings = settingsFile();
    const LogCapture log(folder, "1");
    EXPECT_CALL(channel, setProperty).WillOnce(Throw(failure("a"))).WillRepeatedly(Return());
    EXPECT_EQ(failureOf([&] { driver->SetConfiguration(settings.c_str()); }), "Error 1: data server failure : a");
    EXPECT_CALL(channel, applySettings()).WillOnce(Throw(failure("b"))).WillRepeatedly(Return());
    EXPECT_EQ(failureOf([&] { driver->SetConfiguration(settings.c_str()); }), "Error 1: data server failure : b");
    EXPECT_CALL(channel, calibrate()).WillOnce(Throw(failure("c"))).WillOnce(Throw(42)).WillRepeatedly(Return());
    EXPECT_EQ(failureOf([&] { driver->SetConfiguration(settings.c_str()); }), "Error 1: data server failure : c");
    EXPECT_EQ(failureOf([&] { driver->SetConfiguration(settings.c_str()); }), "unknown");
    channel.properties.erase("orvBufSize");
    EXPECT_EQ(failureOf([&] { driver->SetConfiguration(settings.c_str()); }),
              "Error 1: invalid variable name : orvBufSize");
    channel.nullProperties = true;
    EXPECT_EQ(failureOf([&] { driver->SetConfiguration(settings.c_str()); }),
              "Error 1: unable to convert empty string to numeric");
    frontEnd.failing = true;
    EXPECT_EQ(failureOf([&] { driver->SetConfiguration(settings.c_str()); }),
              "Error 1: invalid variable name : maxChnls");
    EXPECT_THAT(log.lines(), testing::Contains("E ORV Receiver : SetConfiguration std exception : eDATASERVER(14) : "
                                               "data server failure : c"));
    std::thread other([&] {
        ChannelStatus status;
        driver->GetChannelStatus(&status);
    });
    other.join();
}

TEST_F(Configuration, ABadSettingsFileIsReplacedByDefaultsAndUsed) {
    makeDriver().SetConfiguration(settingsFile("chan.xml", "<num_pins>3</num_pins>\n").c_str());
    EXPECT_THAT(properties(), HasSubstr("numPins=1\npinMap=2,3\n"));
}

TEST_F(Configuration, ProgressIsToldWhileStatusPollsWait) {
    makeDriver();
    const std::string settings = settingsFile();
    std::atomic<bool> calibrating{false};
    std::atomic<bool> finish{false};
    std::atomic<bool> statusCame{false};
    EXPECT_CALL(channel, calibrate()).WillOnce([&] {
        calibrating = true;
        while (!finish) {
            std::this_thread::yield();
        }
        EXPECT_FALSE(statusCame);
    });
    channel.metrics.state = client::Calibrating;
    channel.metrics.progress = 0.5;
    std::thread configuring([&] { driver->SetConfiguration(settings.c_str()); });
    while (!calibrating) {
        std::this_thread::yield();
    }
    std::thread polling([&] {
        ChannelStatus status;
        driver->GetChannelStatus(&status);
        statusCame = true;
    });
    unsigned first = 0;
    int percent = 0;
    std::string text;
    driver->GetProgress(&first, &percent, &text);
    EXPECT_EQ(percent, 50);
    EXPECT_FALSE(statusCame);
    finish = true;
    configuring.join();
    polling.join();
    EXPECT_TRUE(statusCame);
}

TEST_F(Configuration, WhatTakesNoLockIsAnsweredMeanwhile) {
    makeDriver();
    const std::string settings = settingsFile();
    driver->SetConfiguration(settings.c_str());
    writeBytes(folder.file("chan.bin"), std::string(8, 'x'));
    channel.metrics.bytesTotal = 8;
    driver->RegisterCpuHalt("mine", true);
    // One that waited would wait for ever; the test's time limit would tell.
    EXPECT_CALL(channel, calibrate()).WillOnce([&] {
        std::thread([&] {
            std::uint64_t sample = 0;
            unsigned number = 0;
            EXPECT_EQ(driver->GetNumSamples(), 1U);
            driver->SeekReadTraceData(0, 1, &sample, &number);
            EXPECT_EQ(number, 1U);
            driver->SaveFile(folder.file("saved"), CChannelDriver::eSaveRaw);
            driver->ApplyTraceEnd(true);
            driver->NotifySystemStateChange(1);
            driver->RegisterCpuHalt("cpu", true);
            EXPECT_TRUE(driver->AreAllCpusHalted());
            driver->UnregisterCPU("cpu");
            driver->SetTargetState(3);
        }).join();
    });
    driver->SetConfiguration(settings.c_str());
}

TEST_F(Configuration, EmptyValuesThatNoLoadedFileCanHaveAreToldByTheirTexts) {
    // The settings file refuses these values, so the only way here is a file that replaces itself by defaults.
    makeDriver().SetConfiguration(settingsFile("chan.xml", "<drm_xmtr></drm_xmtr>\n").c_str());
    EXPECT_EQ(driver->Settings().transmitter, "pti");
    driver->SetConfiguration(settingsFile("chan.xml", "<num_pins>0</num_pins>\n").c_str());
    EXPECT_EQ(driver->Settings().numPins, 1U);
}

} // namespace
