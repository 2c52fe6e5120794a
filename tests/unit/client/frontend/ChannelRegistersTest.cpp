#include "common/source/source_utilities/source_utilities_error.h"
#include "tests/unit/client/frontend/ChannelFixture.h"

#include <algorithm>
#include <string>
#include <vector>

namespace client_test {

using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

namespace {

class RegistersTest : public ChannelTest {
protected:
    /// Opens a channel with these lines of the properties file.
    void openWith(const std::string& lines) {
        configure(lines);
        channel->applySettings();
    }
    /// The requests of a start up to the first that programs the recording.
    std::vector<std::string> streamAndBridge() {
        std::vector<std::string> lines = model.log();
        lines.erase(lines.begin(), std::find(lines.begin(), lines.end(), "read 08008050"));
        lines.erase(std::find(lines.begin(), lines.end(), "write 08008010=f800 08008020=800f"), lines.end());
        return lines;
    }
    /// The inputs of the unit's procs, as a calibration without measurements sets them.
    std::vector<std::uint32_t> inputs() {
        channel->setProperty("calMode", "manual");
        channel->calibrate();
        std::vector<std::uint32_t> found{model.get(0x800811E) >> 8 & 0x7F};
        for (std::uint32_t p = 1; p < 8; ++p) {
            found.push_back(model.get(0x8008100 + 2 * (p - 1)) >> 8 & 0x7F);
        }
        return found;
    }
};

} // namespace

// ---- pins ----

TEST_F(RegistersTest, PinMapIsReversedAfterTheClockAndMappedToInputs) {
    LogCapture log;
    openWith("pinMap=0,1,2,3,4\n");
    EXPECT_EQ(transmitter.properties["pins"], "0,1,2,3,4");
    EXPECT_THAT(log.messages(), Contains("ORV Receiver : mapped emupins=4,3,2,1 to rcvrpins=4,6,3,2,5"));
    EXPECT_THAT(inputs(), ElementsAre(4u, 6u, 3u, 2u, 5u, 4u, 4u, 4u));
}

TEST_F(RegistersTest, EveryConnectorPinHasItsInput) {
    LogCapture log;
    openWith("pinMap=5,4,3,2,1,0\n");
    EXPECT_THAT(log.messages(), Contains("ORV Receiver : mapped emupins=0,1,2,3,4 to rcvrpins=7,4,5,2,3,6"));
    EXPECT_THAT(inputs(), ElementsAre(7u, 4u, 5u, 2u, 3u, 6u, 7u, 7u));
}

TEST_F(RegistersTest, PinThatIsNotConnectedIsRefusedWithTheWholeMap) {
    configure("pinMap=0,6\n");
    expectFailure([&] { channel->applySettings(); }, eFAIL,
                  "receiver is not connected to one or more of the requested EMU pins, 0,6");
}

TEST_F(RegistersTest, PinMapOfAnotherCountEmptiesTheListsAndIsNotTaken) {
    openWith("pinMap=0,1\n");
    inside().settings().pinMap = "0,1,2"; // the property sets the count, too
    EXPECT_FALSE(inside().applyPinSettings());
    EXPECT_EQ(transmitter.properties["pins"], "0,1,2") << "the transmitter has it all the same";
    EXPECT_THAT(inputs(), Each(0u));
}

TEST_F(RegistersTest, TooFewPinsAreRefusedBeforeTheTransmitterReceivesThem) {
    for (const char* lines : {"", "numPins=0\n"}) {
        configure(lines);
        expectFailure([&] { channel->applySettings(); }, eCONFIG,
                      "invalid pin settings, at least 1 clock and 1 data pin are required");
    }
    EXPECT_THAT(model.log(), Not(Contains(StartsWith("transmitter pins"))));
}

TEST_F(RegistersTest, MorePinsThanTheUnitSamplesAreRefused) {
    for (const char* count : {"8", "4294967294"}) {
        configure(std::string("numPins=") + count + "\n");
        expectFailure([&] { channel->applySettings(); }, eCONFIG,
                      "invalid pin settings, at most 1 clock and 7 data pins are possible");
    }
    EXPECT_NO_THROW(openWith("numPins=7\n"));
}

TEST_F(RegistersTest, EmptyPinMapKeepsTheLists) {
    openWith("pinMap=0,1\n");
    channel->setProperty("pinMap", "");
    EXPECT_THAT(inputs(), ElementsAre(4u, 5u, 4u, 4u, 4u, 4u, 4u, 4u));
    EXPECT_EQ(transmitter.properties["pins"], "");
}

TEST_F(RegistersTest, PinNumbersGoThroughTheNumericParser) {
    LogCapture log;
    openWith("pinMap=0x1,02\n");
    EXPECT_THAT(log.messages(), Contains("ORV Receiver : mapped emupins=02 to rcvrpins=5,2"));
    configure("pinMap=0,,1\n");
    EXPECT_THROW(channel->applySettings(), VX_QRS::source_utilities_error);
}

TEST_F(RegistersTest, PinsInUseAreEnabledWithTheUsersValuesAndTheOthersCleared) {
    openWith("pinMap=0,1,2\ncalMode=manual\ndelays=9,9,9,9,9,9,9,9\nstretches=5,5,5,5,5,5,5,5\n"
             "plateaus=7,7,7,7,7,7,7,7\ndebounces=8,8,8,8,8,8,8,8\nfilters=7,7,7,7,7,7,7,7\n");
    channel->calibrate();
    EXPECT_EQ(model.get(0x800811E), 0x8409u);
    EXPECT_EQ(model.get(0x8008100), 0x8209u);
    EXPECT_EQ(model.get(0x8008102), 0x8509u);
    for (const std::uint32_t inUse : {0x800813Eu, 0x8008120u, 0x8008122u}) {
        EXPECT_EQ(model.get(inUse), 0x7D48u) << std::hex << inUse;
    }
    for (std::uint32_t p = 3; p < 8; ++p) {
        EXPECT_EQ(model.get(0x8008100 + 2 * (p - 1)), 0x0400u) << p;
        EXPECT_EQ(model.get(0x8008120 + 2 * (p - 1)), 0x0800u) << p;
    }
}

TEST_F(RegistersTest, PinsWithoutKnownInputsTakeInputZero) {
    openWith("numPins=1\n");
    EXPECT_THAT(inputs(), Each(0u));
    EXPECT_EQ(model.get(0x800811E), 0x8000u);
    EXPECT_EQ(model.get(0x8008100), 0x8000u);
    EXPECT_EQ(model.get(0x8008102), 0u);
}

// ---- clock, stream, comms ----

TEST_F(RegistersTest, AStartStopsTheClockAndEnablesItWithWhatWasThere) {
    openChannel();
    model.set(0x800811E, 0x8412);
    LogCapture log;
    beginRecording();
    EXPECT_THAT(model.written(0x800811E), ElementsAre(0x0412u, 0x8412u));
    EXPECT_THAT(log.steps(), Contains("disabled clock [0x0800811e]=0x0412"));
}

TEST_F(RegistersTest, AStartStopsTheStreamAndLeavesAHealthyBridgeAlone) {
    openChannel();
    model.set(0x8008050, 0x10F);
    model.set(0x1C70404, 0xFFFD, 2);
    LogCapture log;
    beginRecording();
    EXPECT_THAT(streamAndBridge(),
                ElementsAre("read 08008050", "write 08008050=010e", "read 08008060", "read 2:01c70404"));
    EXPECT_THAT(log.steps(), Contains("disabled [0x08008050]=0x010e"));
}

TEST_F(RegistersTest, AStartResetsABridgeThatNeedsIt) {
    openChannel();
    model.set(0x1C70404, 2, 2);
    model.scriptReads(0x8008060, {0x81, 0x00, 0x9F});
    beginRecording();
    EXPECT_THAT(streamAndBridge(),
                ElementsAre("read 08008050", "write 08008050=0000", "read 08008060", "read 08008060", "read 08008060",
                            "read 08008060", "read 2:01c70404", "write 2:01c40044=0004", "write 2:01c40044=0000"));
    EXPECT_EQ(waits.sleeps, 3u);
    EXPECT_EQ(waits.total, 3u);
}

TEST_F(RegistersTest, AStartGivesUpWaitingForCommsAfterTenPolls) {
    openChannel();
    model.set(0x8008060, 0);
    expectFailure([&] { beginRecording(); }, eFAIL, "timeout waiting for orv comms to go idle");
    EXPECT_EQ(model.count(Call::Read), 12u) << "clock, stream and ten polls";
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

TEST_F(RegistersTest, PeriodsOfARecordingAreOfTwoWordsAtLeast) {
    openChannel("stmTimeoutPeriod=0\nstmSyncPeriod=1\n");
    measure(70000); // 625 counts of the word clock in each word
    beginRecording();
    EXPECT_THAT(model.written(0x8008040), ElementsAre(0x04E3u));
    EXPECT_EQ(model.written(0x8008050).back(), 0x0011u);
}

TEST_F(RegistersTest, PeriodsOfARecordingWithoutAFrequencyAreZero) {
    openChannel("stmTimeoutPeriod=100\nstmSyncPeriod=5000\n");
    beginRecording();
    EXPECT_THAT(model.written(0x8008040), ElementsAre(0x0003u));
    EXPECT_EQ(model.written(0x8008050).back(), 0x0001u);
}

} // namespace client_test
