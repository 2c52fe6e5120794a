#include "common/source/source_utilities/source_utilities_error.h"
#include "tests/unit/client/frontend/ChannelFixture.h"

#include <limits>
#include <string>
#include <vector>

namespace client_test {

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class RegistersTest : public ChannelTest {
protected:
    void setPins(const std::string& map, const char* numPins = nullptr) {
        if (numPins != nullptr) {
            channel->setProperty("numPins", numPins);
        }
        inside().settings().pinMap = map;
    }
    /// One word of data lasts so many counts of the word clock.
    void setRatio(double wordClock, double data) {
        inside().clocking().wordClockFrequency = wordClock;
        inside().clocking().dataFrequency = data;
    }
};

} // namespace

// ---- pins ----

TEST_F(RegistersTest, PinMapIsTurnedRoundBehindTheClockAndMappedToInputs) {
    LogCapture log;
    setPins("0,1,2,3,4", "4");
    EXPECT_TRUE(inside().applyPinSettings());
    EXPECT_THAT(inside().session().emuPins, ElementsAre(0u, 4u, 3u, 2u, 1u));
    EXPECT_THAT(inside().session().rcvrPins, ElementsAre(4u, 6u, 3u, 2u, 5u));
    EXPECT_EQ(transmitter.properties["pins"], "0,1,2,3,4");
    EXPECT_THAT(log.messages(), ElementsAre("ORV Receiver : mapped emupins=4,3,2,1 to rcvrpins=4,6,3,2,5"));
}

TEST_F(RegistersTest, EveryConnectorPinHasItsInput) {
    setPins("5,4,3,2,1,0", "5");
    EXPECT_TRUE(inside().applyPinSettings());
    EXPECT_THAT(inside().session().emuPins, ElementsAre(5u, 0u, 1u, 2u, 3u, 4u));
    EXPECT_THAT(inside().session().rcvrPins, ElementsAre(7u, 4u, 5u, 2u, 3u, 6u));
}

TEST_F(RegistersTest, PinThatIsNotConnectedIsRefusedWithTheWholeMap) {
    setPins("0,6", "1");
    expectFailure([&] { inside().applyPinSettings(); }, eFAIL,
                  "receiver is not connected to one or more of the requested EMU pins, 0,6");
}

TEST_F(RegistersTest, PinMapOfAnotherCountEmptiesTheListsAndIsNotTaken) {
    setPins("0,1", "1");
    ASSERT_TRUE(inside().applyPinSettings());
    inside().settings().pinMap = "0,1,2";
    EXPECT_FALSE(inside().applyPinSettings());
    EXPECT_THAT(inside().session().emuPins, IsEmpty());
    EXPECT_THAT(inside().session().rcvrPins, IsEmpty());
    EXPECT_EQ(transmitter.properties["pins"], "0,1,2") << "the transmitter has it all the same";
}

TEST_F(RegistersTest, TooFewPinsAreRefusedBeforeTheTransmitterHearsOfThem) {
    for (const std::uint32_t count : {0u, 1u}) {
        inside().settings().numPins = count;
        expectFailure([&] { inside().applyPinSettings(); }, eCONFIG,
                      "invalid pin settings, at least 1 clock and 1 data pin are required");
    }
    EXPECT_THAT(model.log(), IsEmpty());
}

TEST_F(RegistersTest, MorePinsThanTheUnitSamplesAreRefused) {
    for (const char* count : {"8", "4294967294"}) {
        channel->setProperty("numPins", count);
        expectFailure([&] { inside().applyPinSettings(); }, eCONFIG,
                      "invalid pin settings, at most 1 clock and 7 data pins are possible");
    }
    channel->setProperty("numPins", "7");
    EXPECT_TRUE(inside().applyPinSettings());
}

TEST_F(RegistersTest, EmptyPinMapKeepsTheLists) {
    setPins("0,1", "1");
    ASSERT_TRUE(inside().applyPinSettings());
    inside().settings().pinMap.clear();
    EXPECT_TRUE(inside().applyPinSettings());
    EXPECT_THAT(inside().session().emuPins, ElementsAre(0u, 1u));
    EXPECT_EQ(transmitter.properties["pins"], "");
}

TEST_F(RegistersTest, PinNumbersGoThroughTheNumericParser) {
    setPins("0x1,02", "1");
    LogCapture log;
    EXPECT_TRUE(inside().applyPinSettings());
    EXPECT_THAT(inside().session().emuPins, ElementsAre(1u, 2u));
    EXPECT_THAT(log.messages(), ElementsAre("ORV Receiver : mapped emupins=02 to rcvrpins=5,2"));
    setPins("0,,1", "2");
    EXPECT_THROW(inside().applyPinSettings(), VX_QRS::source_utilities_error);
}

TEST_F(RegistersTest, SetupPinsEnablesThePinsInUseAndClearsTheOthers) {
    setPins("0,1,2", "2");
    inside().applyPinSettings();
    Cal cal;
    for (ProcCal& proc : cal.proc) {
        proc.filter = proc.plateau = proc.debounce = proc.delay = 9;
        proc.stretch = 9;
        proc.enable = 9;
        proc.rcvrpin = 9;
    }
    inside().setupPins(cal);
    const std::vector<std::uint32_t> inputs{4, 2, 5, 4, 4, 4, 4, 4};
    for (std::size_t p = 0; p < 8; ++p) {
        EXPECT_EQ(cal.proc[p].rcvrpin, inputs[p]) << p;
        EXPECT_EQ(cal.proc[p].enable, p < 3 ? 1u : 0u);
        const std::uint32_t kept = p < 3 ? 9 : 0;
        EXPECT_EQ(cal.proc[p].filter, kept);
        EXPECT_EQ(cal.proc[p].plateau, kept);
        EXPECT_EQ(cal.proc[p].debounce, kept);
        EXPECT_EQ(cal.proc[p].delay, kept);
        EXPECT_EQ(cal.proc[p].stretch, static_cast<std::int32_t>(kept));
    }
}

TEST_F(RegistersTest, SetupPinsWithoutKnownInputsTakesInputZero) {
    channel->setProperty("numPins", "1");
    Cal cal;
    for (ProcCal& proc : cal.proc) {
        proc.rcvrpin = 9;
    }
    inside().setupPins(cal);
    for (std::size_t p = 0; p < 8; ++p) {
        EXPECT_EQ(cal.proc[p].rcvrpin, 0u);
        EXPECT_EQ(cal.proc[p].enable, p < 2 ? 1u : 0u);
    }
}

// ---- clock, stream, comms ----

TEST_F(RegistersTest, DisableClockClearsTheEnableBitAndGivesWhatWasThere) {
    model.set(0x800811E, 0x8412);
    LogCapture log;
    EXPECT_EQ(inside().disableClock(), 0x8412u);
    EXPECT_THAT(model.log(), ElementsAre("read 0800811e", "write 0800811e=0412"));
    EXPECT_THAT(log.steps(), ElementsAre("disabled clock [0x0800811e]=0x0412"));
}

TEST_F(RegistersTest, FlushStmStopsTheStreamAndLeavesAHealthyBridgeAlone) {
    model.set(0x8008050, 0x10F);
    model.set(0x1C70404, 0xFFFD, 2);
    LogCapture log;
    inside().flushStm();
    EXPECT_THAT(model.log(), ElementsAre("read 08008050", "write 08008050=010e", "read 08008060", "read 2:01c70404"));
    EXPECT_THAT(log.steps(), ElementsAre("disabled [0x08008050]=0x010e"));
}

TEST_F(RegistersTest, FlushStmResetsABridgeThatNeedsIt) {
    model.set(0x1C70404, 2, 2);
    model.scriptReads(0x8008060, {0x81, 0x00, 0x9F});
    inside().flushStm();
    EXPECT_THAT(model.log(),
                ElementsAre("read 08008050", "write 08008050=0000", "read 08008060", "read 08008060", "read 08008060",
                            "read 08008060", "read 2:01c70404", "write 2:01c40044=0004", "write 2:01c40044=0000"));
    EXPECT_EQ(waits.sleeps, 3u);
    EXPECT_EQ(waits.total, 3u);
}

TEST_F(RegistersTest, FlushStmGivesUpWaitingAfterTenPolls) {
    model.set(0x8008060, 0);
    expectFailure([&] { inside().flushStm(); }, eFAIL, "timeout waiting for orv comms to go idle");
    EXPECT_EQ(model.count(Call::Read), 11u);
    EXPECT_EQ(waits.sleeps, 10u);
}

TEST_F(RegistersTest, WaitForCommsIdleWithoutPollsThrowsAtOnce) {
    expectFailure([&] { inside().waitForCommsIdle(0); }, eFAIL, "timeout waiting for orv comms to go idle");
    EXPECT_THAT(model.log(), IsEmpty());
    EXPECT_EQ(waits.sleeps, 0u);
}

TEST_F(RegistersTest, CommsAreIdleByTheMaskedBitsOnly) {
    for (const std::uint32_t idle : {0x80u, 0xA0u, 0xE0u, 0xFF80u}) {
        model.set(0x8008060, idle);
        EXPECT_NO_THROW(inside().waitForCommsIdle(1)) << idle;
    }
    for (const std::uint32_t busy : {0x81u, 0x00u, 0x90u, 0x20u, 0x9Fu}) {
        model.set(0x8008060, busy);
        EXPECT_THROW(inside().waitForCommsIdle(1), Exception) << busy;
    }
}

TEST_F(RegistersTest, SyncIsAPulseInOneList) {
    inside().sync();
    EXPECT_THAT(model.log(), ElementsAre("write 08008206=0000 08008206=0800 08008206=0000"));
}

TEST_F(RegistersTest, OtherChannelsUseTheirOwnRegisters) {
    frontEnd->alloc("external", nullptr, 0, 0, 0, nullptr);
    frontEnd->alloc("external", nullptr, 0, 0, 0, nullptr);
    ChannelInspector third{*static_cast<FrontEndChannel_1*>(frontEnd->alloc("external", nullptr, 0, 0, 0, nullptr))};
    model.clearLog();
    third.disableClock();
    third.flushStm();
    EXPECT_THAT(model.log(), ElementsAre("read 0800819e", "write 0800819e=0000", "read 08008054", "write 08008054=0000",
                                         "read 08008064", "read 2:01c70404"));
}

// ---- periods ----

TEST_F(RegistersTest, PeriodIsRaisedScaledRoundedAndLowered) {
    setRatio(10.0, 10.0);
    EXPECT_EQ(inside().convertPeriod(0, 2, 100), 2u);
    EXPECT_EQ(inside().convertPeriod(1, 2, 100), 2u);
    EXPECT_EQ(inside().convertPeriod(50, 2, 100), 50u);
    EXPECT_EQ(inside().convertPeriod(101, 2, 100), 100u);
    setRatio(1.0, 4.0);
    EXPECT_EQ(inside().convertPeriod(5, 2, 100), 1u) << "1.25";
    EXPECT_EQ(inside().convertPeriod(6, 2, 100), 2u) << "1.5";
    EXPECT_EQ(inside().convertPeriod(2, 2, 100), 1u) << "the result may go below the lower bound";
    setRatio(1.0, 16.0);
    EXPECT_EQ(inside().convertPeriod(2, 2, 100), 0u);
}

TEST_F(RegistersTest, PeriodIsZeroWithoutARatio) {
    EXPECT_EQ(inside().convertPeriod(100, 2, 1000), 0u) << "no frequency known";
    setRatio(1.0, 0.0);
    EXPECT_EQ(inside().convertPeriod(100, 2, 1000), 0u);
    setRatio(std::numeric_limits<double>::infinity(), 1.0);
    EXPECT_EQ(inside().convertPeriod(100, 2, 1000), 0u);
    setRatio(1e30, 1.0);
    EXPECT_EQ(inside().convertPeriod(100, 2, 1000), 0u) << "beyond 64 bits";
}

TEST_F(RegistersTest, PeriodsOfARecordingAreOfTwoWordsAtLeast) {
    openChannel("stmTimeoutPeriod=0\nstmSyncPeriod=1\n");
    setRatio(512.0, 1.0);
    inside().internalStart(0x40000, "stop", "none", true, false, false);
    EXPECT_THAT(model.written(0x8008040), ElementsAre(0x0403u));
    EXPECT_EQ(model.written(0x8008050).back(), 0x0011u);
}

TEST_F(RegistersTest, UnsetPeriodWrapsInThirtyTwoBitsBeforeItIsLowered) {
    setRatio(87.5e6, 43749912.5);
    EXPECT_EQ(inside().convertPeriod(0x7FFFFFFF, 2, 16352), 0x218Cu);
    setRatio(87.5e6, 43750000.0);
    EXPECT_EQ(inside().convertPeriod(0x7FFFFFFF, 2, 16352), 16352u);
}

} // namespace client_test
