#include "DriverFixture.h"
#include "common/source/properties/AddedProperties.h"

// Properties that a user adds to the section which the driver writes.

namespace {

using namespace rcvr_test;
using testing::HasSubstr;
using testing::Not;

class AddedProperties : public DriverFixture {
protected:
    std::string added(const std::string& text) {
        const std::string path = folder.file("added.txt");
        writeBytes(path, text);
        return path;
    }
    std::string properties() { return readText(propertiesFile()); }

    ScopedVariable variable{"VX_TRACE_PROPERTIES", ""};
    const std::string global = "[Global]\norv=kite3,kite.out\n\n";
    const std::string own = "[Channel 0]\nxmtrType=\ntargetSync=true\norvBufMode=stop\nnumPins=2\npinMap=2,3,4\n"
                            "orvBufSize=262144\nstartPort=0\ndrmXmtr=pti\n";
};

TEST_F(AddedProperties, WithoutAFileThePropertiesFileIsTheDriversAlone) {
    makeDriver().SetConfiguration(settingsFile().c_str());
    EXPECT_EQ(properties(), global + own);
    const ScopedVariable empty("VX_TRACE_PROPERTIES", added("# none\n"));
    driver->SetConfiguration(settingsFile().c_str());
    EXPECT_EQ(properties(), global + own);
}

TEST_F(AddedProperties, FollowTheDriversLinesInTheOrderOfTheFile) {
    const ScopedVariable file("VX_TRACE_PROPERTIES",
                              added("frequencyLimit=60e6\n\n# kept\ncalMode=manual\ndelays=1,2,3"));
    const LogCapture log(folder, "1");
    makeDriver().SetConfiguration(settingsFile().c_str());
    EXPECT_EQ(properties(), global + own + "frequencyLimit=60e6\ncalMode=manual\ndelays=1,2,3\n");
    EXPECT_THAT(log.lines(), testing::Contains("M ORV Receiver : property frequencyLimit=60e6 added"));
}

TEST_F(AddedProperties, ReplaceTheDriversLineOfTheirName) {
    const ScopedVariable file("VX_TRACE_PROPERTIES", added("orvBufMode=wrap\nstartPort=5\norvBufMode=stop\n"
                                                           "orvBufSize=3\n"));
    makeDriver().SetConfiguration(settingsFile().c_str());
    EXPECT_EQ(properties(), global + "[Channel 0]\nxmtrType=\ntargetSync=true\nnumPins=2\npinMap=2,3,4\ndrmXmtr=pti\n"
                                     "startPort=5\norvBufMode=stop\norvBufSize=3\n");
}

TEST_F(AddedProperties, AreReadAnewAtEachConfiguration) {
    const ScopedVariable file("VX_TRACE_PROPERTIES", added("cpi=1\n"));
    makeDriver().SetConfiguration(settingsFile().c_str());
    added("cpi=2\n");
    driver->SetConfiguration(settingsFile().c_str());
    EXPECT_EQ(properties(), global + own + "cpi=2\n");
    const ScopedVariable unset("VX_TRACE_PROPERTIES", "");
    driver->SetConfiguration(settingsFile().c_str());
    EXPECT_EQ(properties(), global + own);
}

TEST_F(AddedProperties, GoIntoTheSectionOfEveryChannel) {
    const ScopedVariable file("VX_TRACE_PROPERTIES", added("cpi=1\n"));
    frontEnd.maxChannels = "2";
    makeDriver().SetConfiguration(settingsFile().c_str());
    EXPECT_CALL(frontEnd, numChannels).WillRepeatedly(testing::Return(2));
    makeDriver().SetConfiguration(settingsFile().c_str());
    EXPECT_THAT(properties(),
                testing::EndsWith("drmXmtr=pti\ncpi=1\n[Channel 1]\n" + own.substr(own.find('\n') + 1) + "cpi=1\n"));
}

TEST_F(AddedProperties, ABadFileFailsTheConfigurationAndLeavesNoTrace) {
    makeDriver();
    // A settings file that would be replaced by defaults.
    const std::string settings = settingsFile("chan.xml", "<num_pins>3</num_pins>\n");
    const std::string before = readBytes(settings);
    EXPECT_CALL(channel, setProperty).Times(0);
    EXPECT_CALL(channel, applySettings()).Times(0);
    EXPECT_CALL(channel, calibrate()).Times(0);
    const std::string path = folder.file("added.txt");
    const std::string line = "; correct or remove the line";
    const std::vector<std::pair<std::string, std::string>> faults{
        {"cpi=1\nfrequencylimit=1\n", path + ":2: there is no property 'frequencylimit'" + line},
        {"frequencyLimit=60MHz\n", path + ":1: frequencyLimit must be a decimal number, not '60MHz'" + line},
        {"pinMap=0,1\n",
         path + ":1: pinMap cannot be added: it follows from pin_map of the channel settings file" + line},
        {"frequencies=1\n", path + ":1: frequencies is read only" + line}};
    for (const auto& [text, fault] : faults) {
        const ScopedVariable file("VX_TRACE_PROPERTIES", added(text));
        EXPECT_EQ(failureOf([&] { driver->SetConfiguration(settings.c_str()); }), "Error 6: invalid file : " + fault);
    }
    const std::string none = folder.file("none");
    const ScopedVariable file("VX_TRACE_PROPERTIES", none);
    EXPECT_EQ(failureOf([&] { driver->SetConfiguration(settings.c_str()); }),
              "Error 6: invalid file : cannot read " + none +
                  ", which VX_TRACE_PROPERTIES names; correct the variable or unset it");
    EXPECT_EQ(readBytes(settings), before);
    EXPECT_THAT(folder.names(), Not(testing::Contains(HasSubstr("before-defaults"))));
    EXPECT_FALSE(std::filesystem::exists(propertiesFile()));
    EXPECT_EQ(xmtr.askedCookie, FakeXmtrLibrary().askedCookie) << "the transmitter library was asked";
    EXPECT_EQ(driver->Settings().numPins, 1U);
    EXPECT_EQ(driver->Settings().pinMap, "");
}

TEST_F(AddedProperties, ABadFileLeavesAnEarlierPropertiesFileAndFreesTheLock) {
    makeDriver().SetConfiguration(settingsFile().c_str());
    const ScopedVariable file("VX_TRACE_PROPERTIES", added("cpi\n"));
    EXPECT_NE(failureOf([&] { driver->SetConfiguration(settingsFile().c_str()); }), "");
    EXPECT_EQ(properties(), global + own);
    const ScopedVariable mended("VX_TRACE_PROPERTIES", added("cpi=1\n"));
    driver->SetConfiguration(settingsFile().c_str());
    EXPECT_EQ(properties(), global + own + "cpi=1\n");
}

} // namespace
