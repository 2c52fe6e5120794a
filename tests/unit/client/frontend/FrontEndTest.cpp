#include "common/source/source_utilities/uEnvironment.h"
#include "tests/unit/client/frontend/ChannelFixture.h"
#include "tests/unit/client/frontend/ServerSubstitute.h"
#include "tests/unit/client/transmitters/XmtrLibraryMock.h"

#include <string>

namespace client_test {

using testing::ElementsAre;

// ---- the singleton ----

TEST(CreateFrontEnd, SecondCallGivesTheSameObjectWhichLivesUntilAsManyDestroys) {
    FrontEnd* first = createFrontEnd();
    EXPECT_EQ(createFrontEnd(), first);
    EXPECT_EQ(serverClients(), 1u);
    destroyFrontEnd(first);
    EXPECT_EQ(first->numChannels(), 0u);
    EXPECT_EQ(serverClients(), 1u);
    destroyFrontEnd(first);
    EXPECT_EQ(serverClients(), 0u);
}

TEST(CreateFrontEnd, FailureLeavesNoSingletonAndNoUse) {
    refuseServer(true);
    expectFailure([] { createFrontEnd(); }, eDATASERVER, "failed to connect to data server");
    refuseServer(false);
    FrontEnd* later = createFrontEnd();
    EXPECT_EQ(serverClients(), 1u);
    destroyFrontEnd(later);
    EXPECT_EQ(serverClients(), 0u);
}

TEST(DestroyFrontEnd, IgnoresEvenAForeignPointerWhileNothingIsInUse) {
    RegisterModel model;
    CountingWaits waits;
    FrontEnd_1 foreign(modelFactory(model), waits);
    EXPECT_NO_THROW(destroyFrontEnd(&foreign));
    EXPECT_NO_THROW(destroyFrontEnd(nullptr));
}

TEST(DestroyFrontEnd, RefusesAForeignPointerAndKeepsTheCount) {
    RegisterModel model;
    CountingWaits waits;
    FrontEnd_1 foreign(modelFactory(model), waits);
    FrontEnd* own = createFrontEnd();
    expectFailure([&] { destroyFrontEnd(&foreign); }, eFAIL, "invalid frontEnd");
    expectFailure([&] { destroyFrontEnd(nullptr); }, eFAIL, "invalid frontEnd");
    EXPECT_EQ(serverClients(), 1u);
    destroyFrontEnd(own);
    EXPECT_EQ(serverClients(), 0u);
}

// ---- the object ----

class FrontEndTest : public ChannelTest {
protected:
    FrontEnd_1& unit() { return *frontEnd; }
    std::string read(const char* name) {
        const char* value = "untouched";
        frontEnd->getProperty(name, &value);
        return value;
    }
    /// A channel of a transmitter that nothing controls.
    FrontEndChannel* makeChannel(const char* cpu = "external") {
        return frontEnd->alloc(cpu, nullptr, 0, 0, 0, nullptr);
    }
};

TEST_F(FrontEndTest, ReachesTheServerAtItsPortAndAddressesNothing) {
    RegisterModel other;
    {
        FrontEnd_1 made(modelFactory(other), waits);
    }
    EXPECT_THAT(other.log(), ElementsAre("create 55760", "disconnect", "destroy"));
}

TEST_F(FrontEndTest, GivesBackTheClientEvenIfTheServerIsGone) {
    RegisterModel other;
    other.failNext(Call::Disconnect, "disconnected from server");
    const LogCapture log;
    {
        FrontEnd_1 made(modelFactory(other), waits);
    }
    EXPECT_THAT(log.errorSteps(), ElementsAre("failed to disconnect from orv : disconnected from server"));
    EXPECT_THAT(other.log(), ElementsAre("create 55760", "disconnect", "destroy"));
}

TEST_F(FrontEndTest, ClocksHaveTheirDefaultsBeforeTheFirstConnection) {
    EXPECT_EQ(unit().pll().refFrequency, 50000000.0);
    EXPECT_EQ(unit().pll().multiplier, 21.0);
    EXPECT_EQ(unit().pll().divider, 3.0);
    EXPECT_EQ(read("orv"), "0");
    EXPECT_EQ(read("maxChnls"), "1");
}

TEST_F(FrontEndTest, SetPropertyTakesTheUnitsNameAndIgnoresWhatItDoesNotKnow) {
    unit().setProperty("orv", "unit 3");
    EXPECT_EQ(read("orv"), "unit 3");
    EXPECT_NO_THROW(unit().setProperty("unknown", "x"));
    EXPECT_NO_THROW(unit().setProperty("ORV", "x"));
    EXPECT_EQ(read("orv"), "unit 3");
    EXPECT_EQ(read("maxChnls"), "1");
}

TEST_F(FrontEndTest, PropsFileIsReadAndItsChannelSectionsAreCounted) {
    writeText(propsPath, "[Global]\norv=9\n[Channel 0]\na=1\n[Channel 1]\na=2\n[Channel 2]\n");
    unit().setProperty("propsFile", propsPath.c_str());
    EXPECT_EQ(read("maxChnls"), "3");
    EXPECT_EQ(read("orv"), "0") << "the file is only read, not applied";
}

TEST_F(FrontEndTest, NullNamesAndValuesAreRefused) {
    const char* value = nullptr;
    const std::string text = "property name or value";
    expectFailure([&] { unit().setProperty(nullptr, "x"); }, eNULL, text);
    expectFailure([&] { unit().setProperty("orv", nullptr); }, eNULL, text);
    expectFailure([&] { unit().getProperty(nullptr, &value); }, eNULL, text);
    expectFailure([&] { unit().getProperty("orv", nullptr); }, eNULL, text);
}

TEST_F(FrontEndTest, GetPropertyOfANameWithoutColonFailsByName) {
    expectFailure([&] { read("unknown"); }, eNAME, "unknown");
    expectFailure([&] { read(""); }, eNAME, "");
}

TEST_F(FrontEndTest, LookUpWithoutAPropertiesFileIsOutOfSequence) {
    expectFailure([&] { read("0:filters"); }, eSEQUENCE, "propsFile not set");
}

TEST_F(FrontEndTest, LookUpReadsAChannelsSection) {
    writeText(propsPath, "[Global]\norv=9\n[Channel 0]\nfilters=7,7\n[Channel 3]\nfilters=1:2,3\n");
    unit().setProperty("propsFile", propsPath.c_str());
    EXPECT_EQ(read("0:filters"), "7,7");
    EXPECT_EQ(read("3:filters"), "1:2,3");
    EXPECT_THROW(read("3:delays"), Exception);
    EXPECT_THROW(read("4:filters"), Exception);
}

TEST_F(FrontEndTest, LookUpWithoutChannelAppliesTheGlobalSectionAndLeavesTheValue) {
    writeText(propsPath, "[Global]\norv=9\nother=1\n[Channel 0]\norv=8\n");
    unit().setProperty("propsFile", propsPath.c_str());
    EXPECT_EQ(read(":orv"), "untouched");
    EXPECT_EQ(read("orv"), "9");
}

TEST_F(FrontEndTest, ApplySettingsConnectsAndReadsTheClocks) {
    writeText(propsPath, "[Global]\norv=unit7\n[Channel 0]\na=1\n");
    unit().setProperty("propsFile", propsPath.c_str());
    VX_QRS::uEnvironment::set("COMMON_HELIX", "the folder");
    model.set(0x8000032, 0xFEDC);
    model.set(0x8000030, 0x89AB);
    model.set(0x8000034, 0xAA85);
    model.clearLog();
    LogCapture log;
    unit().applySettings();
    EXPECT_THAT(model.log(), ElementsAre("connect unit7", "read 08000032 08000030 08000034"));
    EXPECT_EQ(unit().pll().refFrequency, static_cast<double>(0xFEDC89ABu));
    EXPECT_EQ(unit().pll().multiplier, 170.0);
    EXPECT_EQ(unit().pll().divider, 133.0);
    EXPECT_THAT(log.steps(), ElementsAre("connecting to orv url unit7", "COMMON_HELIX is \"the folder\""));
    VX_QRS::uEnvironment::set("COMMON_HELIX", "");
    LogCapture without;
    unit().applySettings();
    EXPECT_THAT(without.steps(), ElementsAre("connecting to orv url unit7"));
}

TEST_F(FrontEndTest, ApplySettingsReportsAFailedConnection) {
    writeText(propsPath, "[Global]\norv=unit7\n");
    unit().setProperty("propsFile", propsPath.c_str());
    model.failNext(Call::Connect, "no such unit");
    expectFailure([&] { unit().applySettings(); }, eDATASERVER, "failed to connect to orv");
    model.onNext(Call::Connect, [] { throw VX_QRS::ORV::DataClient::Exception("the client's own words"); });
    expectFailure([&] { unit().applySettings(); }, eDATASERVER, "the client's own words");
    model.onNext(Call::Connect, [] { throw 7; });
    expectFailure([&] { unit().applySettings(); }, eDATASERVER, "failed to connect to orv");
    EXPECT_EQ(unit().pll().refFrequency, 50000000.0);
}

TEST_F(FrontEndTest, AllocNumbersChannelsAndReleaseMovesTheOthersDown) {
    FrontEndChannel* zero = makeChannel();
    FrontEndChannel* one = makeChannel();
    FrontEndChannel* two = makeChannel();
    EXPECT_EQ(unit().numChannels(), 3u);
    EXPECT_EQ(unit().getChannel(0), zero);
    EXPECT_EQ(unit().getChannel(2), two);
    unit().release(zero);
    EXPECT_EQ(unit().numChannels(), 2u);
    EXPECT_EQ(unit().getChannel(0), one);
    EXPECT_EQ(static_cast<FrontEndChannel_1*>(one)->getChannelNumber(), 1u) << "taken at construction, for good";
    expectFailure([&] { unit().getChannel(2); }, eFAIL, "invalid channel number");
    expectFailure([&] { unit().release(zero); }, eFAIL, "failed to release unknown channel");
    expectFailure([&] { unit().release(channel.get()); }, eFAIL, "failed to release unknown channel");
    EXPECT_EQ(unit().numChannels(), 2u);
    EXPECT_NO_THROW(unit().release(nullptr));
    EXPECT_EQ(unit().getDataClient(), &model);
}

TEST_F(FrontEndTest, GetChannelAtTheNumberOfChannelsThrows) {
    expectFailure([&] { unit().getChannel(unit().numChannels()); }, eFAIL, "invalid channel number");
}

TEST_F(FrontEndTest, FailingToMakeATransmitterMakesNoChannel) {
    EXPECT_THROW(makeChannel(nullptr), Exception);
    EXPECT_EQ(unit().numChannels(), 0u);
}

TEST_F(FrontEndTest, ChannelsOfOneCpuShareATransmitterAndDieWithTheFrontEnd) {
    RegisterModel other;
    {
        FrontEnd_1 made(modelFactory(other), waits);
        made.alloc("external", nullptr, 0, 0, 0, nullptr);
        made.alloc("external", nullptr, 0, 0, 0, nullptr);
        EXPECT_EQ(made.numChannels(), 2u);
    }
    EXPECT_THAT(other.log(), ElementsAre("create 55760", "disconnect", "destroy"));
}

// ---- settings of channels that share a transmitter ----

/// Two channels of one ARM CPU over a transmitter library that takes everything.
class SharedTransmitterTest : public FrontEndTest {
protected:
    static constexpr std::uint32_t armKind = 2;

    SharedTransmitterTest() {
        ON_CALL(library, getTransmitterKind).WillByDefault([](unsigned, unsigned* kind) {
            *kind = 1;
            return 0;
        });
    }
    FrontEndChannel* makeTarget(const ChannelSettings* setup) {
        return unit().alloc("cpu", &library, 0, 0, armKind, setup);
    }
    /// Programs the transmitter through another user of it, and expects these settings to reach the target.
    void expectProgrammed(bool stall, bool cprt) {
        EXPECT_CALL(library, setStallCpu(testing::_, stall));
        EXPECT_CALL(library, setMonitorCprt(testing::_, cprt));
        Transmitter* shared = createTransmitter(frontEnd.get(), "cpu", &library, 0, 0, armKind, nullptr);
        shared->setProperty("drmXmtr", "pti");
        shared->setProperty("pins", "0,1");
        shared->program("f0", 0);
        destroyTransmitter(shared, &lentSettings);
        testing::Mock::VerifyAndClearExpectations(&library);
    }

    testing::NiceMock<transmitter_test::MockXmtrLibrary> library;
    ChannelSettings lentSettings;
};

TEST_F(SharedTransmitterTest, SettingsOfTheFirstChannelOutliveIt) {
    auto first = std::make_unique<ChannelSettings>();
    ChannelSettings second;
    second.monitorCprt = true;
    FrontEndChannel* zero = makeTarget(first.get());
    FrontEndChannel* one = makeTarget(&second);
    first->stallCpu = true;
    unit().release(zero);
    first->stallCpu = false; // what its memory holds by now does not matter
    first.reset();
    expectProgrammed(true, false);
    unit().release(one);
}

TEST_F(SharedTransmitterTest, SettingsOfTheFirstChannelAreStillReadWhenTheSecondHasGone) {
    ChannelSettings first;
    auto second = std::make_unique<ChannelSettings>();
    FrontEndChannel* zero = makeTarget(&first);
    unit().release(makeTarget(second.get()));
    second.reset();
    first.monitorCprt = true;
    expectProgrammed(false, true);
    unit().release(zero);
}

TEST_F(SharedTransmitterTest, EveryReopeningOfAChannelOpensTheLinkAnewSinceItSetsThePins) {
    writeText(propsPath, "[Global]\norv=unit7\n[Channel 0]\nfile=" + stem + "\npinMap=0,1\n");
    unit().setProperty("propsFile", propsPath.c_str());
    const ChannelSettings settings;
    FrontEndChannel* opened = makeTarget(&settings);
    EXPECT_CALL(library, getTransmitterKind).Times(1);
    EXPECT_CALL(library, closeChannel).Times(0);
    opened->applySettings();
    testing::Mock::VerifyAndClearExpectations(&library);
    ON_CALL(library, getTransmitterKind).WillByDefault([](unsigned, unsigned* kind) {
        *kind = 4;
        return 0;
    });
    EXPECT_CALL(library, getTransmitterKind).Times(1);
    EXPECT_CALL(library, closeChannel).Times(1);
    opened->applySettings();
    testing::Mock::VerifyAndClearExpectations(&library);
    const char* kind = nullptr;
    opened->getProperty("drmXmtr", &kind);
    EXPECT_STREQ(kind, "tpiu") << "the library's word holds";
    unit().release(opened);
}

TEST_F(SharedTransmitterTest, ChannelsDieFromTheFirstToTheLastAndThenTheClient) {
    writeText(propsPath,
              "[Global]\norv=7\n[Channel 0]\npinMap=0,1\n[Channel 1]\npinMap=0,1\n[Channel 2]\npinMap=0,1\n");
    RegisterModel other;
    ON_CALL(library, closeChannel).WillByDefault([&other](unsigned number) {
        other.note("transmitter " + std::to_string(number));
        return 0;
    });
    {
        FrontEnd_1 made(modelFactory(other), waits);
        made.setProperty("propsFile", propsPath.c_str());
        for (std::uint32_t i = 0; i < 3; ++i) {
            made.alloc(("cpu" + std::to_string(i)).c_str(), &library, 10 + i, 0, 0, nullptr)->applySettings();
        }
        other.clearLog();
    }
    EXPECT_THAT(other.log(), ElementsAre("close", "transmitter 10", "close", "transmitter 11", "close",
                                         "transmitter 12", "disconnect", "destroy"));
}

// ---- kinds of transmitters ----

TEST_F(FrontEndTest, ExternalSignalHasNoPatternToCalibrateByAndIsRecordedWithManualSettings) {
    writeText(propsPath,
              "[Global]\norv=unit7\n[Channel 0]\nfile=" + stem + "\npinMap=0,1\ncalMode=manual\nverifyCal=false\n");
    unit().setProperty("propsFile", propsPath.c_str());
    FrontEndChannel* external = makeChannel();
    external->applySettings();
    const char* kind = nullptr;
    external->getProperty("drmXmtr", &kind);
    EXPECT_STREQ(kind, "pti");
    EXPECT_NO_THROW(external->calibrate());
    ChannelMetrics now;
    external->status(now);
    EXPECT_EQ(now.state, Calibrated);
    unit().release(external);
}

} // namespace client_test
