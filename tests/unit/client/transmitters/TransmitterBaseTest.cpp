#include "tests/unit/client/transmitters/TransmitterSupport.h"

namespace transmitter_test {

using testing::ElementsAre;

namespace {

/// Shows what the operations of the base class leave.
class OpenTransmitter : public TransmitterBase_1 {
public:
    using TransmitterBase_1::channelNumber;
    using TransmitterBase_1::dirty;
    using TransmitterBase_1::drmXmtr;
    using TransmitterBase_1::numDataPins;
    using TransmitterBase_1::pins;
    using TransmitterBase_1::progName;
    using TransmitterBase_1::TransmitterBase_1;
    using TransmitterBase_1::updatePattern;
    using TransmitterBase_1::xmtrChannel;
    using TransmitterBase_1::xmtrMode;

    bool setsDirty(const char* name, const char* value) {
        dirty = false;
        setProperty(name, value);
        return dirty;
    }
};

class TransmitterBaseTest : public testing::Test {
protected:
    FrontEndStub frontEnd;
};

} // namespace

TEST_F(TransmitterBaseTest, WithoutFrontEndIsNotMade) {
    expectFailure([] { const TransmitterBase_1 made(nullptr, 1); }, eNULL, "");
}

TEST_F(TransmitterBaseTest, ANewOneHasDefaults) {
    frontEnd.channels = 3;
    OpenTransmitter transmitter(&frontEnd, 77);
    EXPECT_EQ(transmitter.xmtrChannel, 77u);
    EXPECT_EQ(transmitter.channelNumber, 3u);
    EXPECT_TRUE(transmitter.pins.empty());
    EXPECT_TRUE(transmitter.dirty);
    EXPECT_EQ(get(transmitter, "drmXmtr"), "");
    EXPECT_EQ(get(transmitter, "xmtrType"), "");
    EXPECT_EQ(get(transmitter, "numPins"), "");
}

TEST_F(TransmitterBaseTest, EveryOperationSucceedsAndOnlyLogs) {
    TransmitterBase_1 transmitter(&frontEnd, 0);
    const LogCapture log;
    transmitter.program("f0", 2);
    transmitter.program(nullptr, 0);
    transmitter.end(true);
    transmitter.flush();
    transmitter.shutdown();
    transmitter.reset();
    EXPECT_EQ(transmitter.numFrequencySettings(), 1u);
    EXPECT_FALSE(transmitter.hasTriggered());
    EXPECT_THAT(log.functions(),
                ElementsAre("TransmitterBase_1::program", "TransmitterBase_1::program", "TransmitterBase_1::end",
                            "TransmitterBase_1::flush", "TransmitterBase_1::shutdown", "TransmitterBase_1::reset",
                            "TransmitterBase_1::numFrequencySettings", "TransmitterBase_1::hasTriggered"));
    EXPECT_THAT(log.lines('M'), ElementsAre());
    EXPECT_THAT(frontEnd.model.log(), ElementsAre());
}

TEST_F(TransmitterBaseTest, TextPropertiesComeBackAsSet) {
    OpenTransmitter transmitter(&frontEnd, 0);
    for (const char* name : {"drmXmtr", "xmtrType", "numPins"}) {
        EXPECT_TRUE(transmitter.setsDirty(name, "some text")) << name;
        EXPECT_EQ(get(transmitter, name), "some text") << name;
    }
    EXPECT_TRUE(transmitter.setsDirty("xmtrMode", "pause"));
    EXPECT_EQ(transmitter.xmtrMode, "pause");
}

TEST_F(TransmitterBaseTest, AnEmptyTypeOverwritesTheOldOne) {
    TransmitterBase_1 transmitter(&frontEnd, 0);
    transmitter.setProperty("xmtrType", "fpga");
    transmitter.setProperty("xmtrType", "");
    EXPECT_EQ(get(transmitter, "xmtrType"), "");
}

TEST_F(TransmitterBaseTest, PinsReplaceTheOldOnes) {
    OpenTransmitter transmitter(&frontEnd, 0);
    EXPECT_TRUE(transmitter.setsDirty("pins", "0,1,2,3,4"));
    EXPECT_THAT(transmitter.pins, ElementsAre(0u, 1u, 2u, 3u, 4u));
    EXPECT_EQ(transmitter.numDataPins(), 4u);
    transmitter.setProperty("pins", "0x5,010");
    EXPECT_THAT(transmitter.pins, ElementsAre(5u, 8u));
    transmitter.setProperty("pins", "");
    EXPECT_TRUE(transmitter.pins.empty());
}

TEST_F(TransmitterBaseTest, NoPinsAreNoDataPins) {
    OpenTransmitter transmitter(&frontEnd, 0);
    EXPECT_EQ(transmitter.numDataPins(), 0u);
    transmitter.setProperty("pins", "4");
    EXPECT_EQ(transmitter.numDataPins(), 0u);
}

TEST_F(TransmitterBaseTest, APinThatIsNoNumberFailsAfterThePinsBeforeIt) {
    OpenTransmitter transmitter(&frontEnd, 0);
    transmitter.setProperty("pins", "9,9,9");
    transmitter.dirty = false;
    expectFailure([&] { transmitter.setProperty("pins", "1,2,,3"); }, eVALUE,
                  "unable to convert empty string to numeric");
    EXPECT_THAT(transmitter.pins, ElementsAre(1u, 2u));
    EXPECT_FALSE(transmitter.dirty);
}

TEST_F(TransmitterBaseTest, UnknownNamesFailByName) {
    OpenTransmitter transmitter(&frontEnd, 0);
    transmitter.dirty = false;
    expectFailure([&] { transmitter.setProperty("orvBufMode", "wrap"); }, eNAME, "orvBufMode");
    expectFailure([&] { transmitter.setProperty("", ""); }, eNAME, "");
    expectFailure([&] { transmitter.setProperty("Pins", "1,2"); }, eNAME, "Pins");
    EXPECT_FALSE(transmitter.dirty);
    const char* value = nullptr;
    for (const char* name : {"pins", "xmtrMode", "nothing"}) {
        expectFailure([&] { transmitter.getProperty(name, &value); }, eNAME, name);
    }
}

TEST_F(TransmitterBaseTest, NullArgumentsFail) {
    TransmitterBase_1 transmitter(&frontEnd, 0);
    const char* value = nullptr;
    expectFailure([&] { transmitter.setProperty(nullptr, "x"); }, eNULL, "property name or storage");
    expectFailure([&] { transmitter.setProperty("pins", nullptr); }, eNULL, "property name or storage");
    expectFailure([&] { transmitter.getProperty(nullptr, &value); }, eNULL, "property name or storage");
    expectFailure([&] { transmitter.getProperty("drmXmtr", nullptr); }, eNULL, "property name or storage");
}

TEST_F(TransmitterBaseTest, AppliesTheGlobalSectionOnlyAndPassesOverWhatOthersTake) {
    OpenTransmitter transmitter(&frontEnd, 0);
    const PropertiesFile file("[Global]\norv=unit7\ndrmXmtr=tpiu\nxmtrMode=pause\npins=3,4\n"
                              "[Channel 0]\ndrmXmtr=pti\npins=0,1\nnumPins=1\n");
    transmitter.applySettings();
    EXPECT_EQ(get(transmitter, "drmXmtr"), "tpiu");
    EXPECT_EQ(transmitter.xmtrMode, "pause");
    EXPECT_EQ(get(transmitter, "numPins"), "");
    EXPECT_THAT(transmitter.pins, ElementsAre(3u, 4u));
}

TEST_F(TransmitterBaseTest, SetsTheGlobalSectionTwice) {
    OpenTransmitter transmitter(&frontEnd, 0);
    const PropertiesFile file("[Global]\nxmtrMode=pause\n");
    const LogCapture log;
    transmitter.applySettings();
    EXPECT_THAT(log.functions(), ElementsAre("TransmitterBase_1::applySettings", "TransmitterBase_1::setProperty",
                                             "TransmitterBase_1::setProperty"));
}

TEST_F(TransmitterBaseTest, WithoutAnExportKindItBecomesPti) {
    TransmitterBase_1 transmitter(&frontEnd, 0);
    const PropertiesFile file("[Global]\norv=unit7\n[Channel 0]\ndrmXmtr=tpiu\n");
    transmitter.applySettings();
    EXPECT_EQ(get(transmitter, "drmXmtr"), "pti");
}

TEST_F(TransmitterBaseTest, WithoutAPropertiesFileSettingsCannotBeApplied) {
    TransmitterBase_1 transmitter(&frontEnd, 0);
    EXPECT_THROW(transmitter.applySettings(), Exception);
}

TEST_F(TransmitterBaseTest, HasNoPatternWhateverIsProgrammed) {
    TransmitterBase_1 transmitter(&frontEnd, 0);
    expectFailure([&] { transmitter.getPattern(); }, eSEQUENCE, "no pattern programmed");
    transmitter.program("none", 0);
    expectFailure([&] { transmitter.getPattern(); }, eSEQUENCE, "no pattern programmed");
    transmitter.program("f0", 0);
    expectFailure([&] { transmitter.getPattern(); }, eSEQUENCE, "no pattern programmed");
}

TEST_F(TransmitterBaseTest, ThePatternFollowsNameAndPins) {
    OpenTransmitter transmitter(&frontEnd, 0);
    transmitter.setProperty("pins", "0,1,2,3,4");
    transmitter.progName = "f0";
    transmitter.updatePattern();
    EXPECT_TRUE(accepts(*transmitter.getPattern(), {0x0F0F}));
    transmitter.setProperty("pins", "0,1,2");
    transmitter.updatePattern();
    EXPECT_TRUE(accepts(*transmitter.getPattern(), {0x3333}));
    transmitter.progName = "none";
    transmitter.updatePattern();
    expectFailure([&] { transmitter.getPattern(); }, eSEQUENCE, "no pattern programmed");
}

TEST_F(TransmitterBaseTest, OnATraceExportF0LooksLikeFf0) {
    OpenTransmitter transmitter(&frontEnd, 0);
    transmitter.setProperty("pins", "0,1,2,3,4");
    transmitter.progName = "f0";
    transmitter.drmXmtr = "trace";
    transmitter.updatePattern();
    EXPECT_TRUE(accepts(*transmitter.getPattern(), {0x0FF0, 0xFF0F, 0xF0FF}));
    transmitter.progName = "a5";
    transmitter.updatePattern();
    EXPECT_TRUE(accepts(*transmitter.getPattern(), {0x5A5A}));
}

TEST_F(TransmitterBaseTest, AnUnknownPatternLeavesNone) {
    OpenTransmitter transmitter(&frontEnd, 0);
    transmitter.progName = "f0";
    transmitter.updatePattern();
    transmitter.progName = "zigzag";
    EXPECT_THROW(transmitter.updatePattern(), Exception);
    expectFailure([&] { transmitter.getPattern(); }, eSEQUENCE, "no pattern programmed");
}

} // namespace transmitter_test
