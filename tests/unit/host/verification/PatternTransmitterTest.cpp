#include "host/verification/PatternTransmitter.h"
#include "tests/unit/client/transmitters/XmtrLibraryMock.h"

#include <gmock/gmock.h>

#include <utility>

// Every call reaches the library as it came, and one more does while a pattern is ordered.

namespace host {
namespace {

using testing::InSequence;
using testing::Return;
using testing::StrictMock;
using Library = StrictMock<transmitter_test::MockXmtrLibrary>;

/// As the receiver programs the target for a recording of trace, for an export with modes.
void program(PatternTransmitter& transmitter) {
    transmitter.setFunctionMode(3, 9);
    transmitter.applyFrequency(3, 1);
    transmitter.programChannel(3);
}

TEST(PatternTransmitter, PassesEveryCallAndItsResultOn) {
    Library library;
    PatternTransmitter transmitter;
    transmitter.attach(library);
    unsigned number = 0;
    std::uint32_t status = 0;
    EXPECT_CALL(library, closeChannel(1)).WillOnce(Return(1));
    EXPECT_CALL(library, programChannel(1)).WillOnce(Return(2));
    EXPECT_CALL(library, enablePort(1)).WillOnce(Return(3));
    EXPECT_CALL(library, flushBuffer(1)).WillOnce(Return(4));
    EXPECT_CALL(library, shutdownPort(1)).WillOnce(Return(5));
    EXPECT_CALL(library, setTestMode(1, 5, 4)).WillOnce(Return(6));
    EXPECT_CALL(library, applyFrequency(1, 7)).WillOnce(Return(7));
    EXPECT_CALL(library, setExportFrameSize(1, 64)).WillOnce(Return(8));
    EXPECT_CALL(library, getNumFrequencySettings(1, &number)).WillOnce(Return(9));
    EXPECT_CALL(library, allocatePin(1, 12, 3, 4, 0)).WillOnce(Return(10));
    EXPECT_CALL(library, setStallCpu(1, true)).WillOnce(Return(11));
    EXPECT_CALL(library, releasePin(1, 4, 0)).WillOnce(Return(12));
    EXPECT_CALL(library, setPortWidth(1, 4)).WillOnce(Return(13));
    EXPECT_CALL(library, setFunctionMode(1, 3)).WillOnce(Return(14));
    EXPECT_CALL(library, getExportFrameLimits(1, &number, &number)).WillOnce(Return(15));
    EXPECT_CALL(library, getTraceStatus(1, &status)).WillOnce(Return(16));
    EXPECT_CALL(library, clearTraceStatus(1, 5)).WillOnce(Return(17));
    EXPECT_CALL(library, getCharacter(1, &status)).WillOnce(Return(18));
    EXPECT_CALL(library, applyEnd(1, true)).WillOnce(Return(19));
    EXPECT_CALL(library, setCycleAccurate(1, true)).WillOnce(Return(20));
    EXPECT_CALL(library, setMonitorCprt(1, true)).WillOnce(Return(21));
    EXPECT_CALL(library, setNoDataTraceOnFifoFull(1, true)).WillOnce(Return(22));
    EXPECT_CALL(library, getTransmitterKind(1, &number)).WillOnce(Return(23));
    EXPECT_CALL(library, setOption(1, 0)).WillOnce(Return(24));
    EXPECT_CALL(library, enablePins(1)).WillOnce(Return(25));
    EXPECT_EQ(transmitter.closeChannel(1), 1);
    EXPECT_EQ(transmitter.programChannel(1), 2);
    EXPECT_EQ(transmitter.enablePort(1), 3);
    EXPECT_EQ(transmitter.flushBuffer(1), 4);
    EXPECT_EQ(transmitter.shutdownPort(1), 5);
    EXPECT_EQ(transmitter.setTestMode(1, 5, 4), 6);
    EXPECT_EQ(transmitter.applyFrequency(1, 7), 7);
    EXPECT_EQ(transmitter.setExportFrameSize(1, 64), 8);
    EXPECT_EQ(transmitter.getNumFrequencySettings(1, &number), 9);
    EXPECT_EQ(transmitter.allocatePin(1, 12, 3, 4, 0), 10);
    EXPECT_EQ(transmitter.setStallCpu(1, true), 11);
    EXPECT_EQ(transmitter.releasePin(1, 4, 0), 12);
    EXPECT_EQ(transmitter.setPortWidth(1, 4), 13);
    EXPECT_EQ(transmitter.setFunctionMode(1, 3), 14);
    EXPECT_EQ(transmitter.getExportFrameLimits(1, &number, &number), 15);
    EXPECT_EQ(transmitter.getTraceStatus(1, &status), 16);
    EXPECT_EQ(transmitter.clearTraceStatus(1, 5), 17);
    EXPECT_EQ(transmitter.getCharacter(1, &status), 18);
    EXPECT_EQ(transmitter.applyEnd(1, true), 19);
    EXPECT_EQ(transmitter.setCycleAccurate(1, true), 20);
    EXPECT_EQ(transmitter.setMonitorCprt(1, true), 21);
    EXPECT_EQ(transmitter.setNoDataTraceOnFifoFull(1, true), 22);
    EXPECT_EQ(transmitter.getTransmitterKind(1, &number), 23);
    EXPECT_EQ(transmitter.setOption(1, 0), 24);
    EXPECT_EQ(transmitter.enablePins(1), 25);
    EXPECT_FALSE(transmitter.isProgrammed());
}

TEST(PatternTransmitter, AnOrderAddsTheTestModeWhereTheReceiverWouldItself) {
    Library library;
    PatternTransmitter transmitter;
    transmitter.attach(library);
    const PatternOrder order(transmitter, PatternTransmitter::Pattern::Walk);
    const InSequence inOrder;
    EXPECT_CALL(library, setFunctionMode(3, 9)).WillOnce(Return(0));
    EXPECT_CALL(library, setTestMode(3, 5, 1)).WillOnce(Return(2));
    EXPECT_CALL(library, applyFrequency(3, 1)).WillOnce(Return(0));
    EXPECT_CALL(library, programChannel(3)).WillOnce(Return(1));
    program(transmitter);
    EXPECT_TRUE(transmitter.isProgrammed());
    EXPECT_EQ(transmitter.refusal(), 0);
}

TEST(PatternTransmitter, TheRecordingAfterAnOrderIsOfTraceAgain) {
    Library library;
    PatternTransmitter transmitter;
    transmitter.attach(library);
    EXPECT_CALL(library, setFunctionMode(3, 9)).Times(2);
    EXPECT_CALL(library, setTestMode).Times(1);
    EXPECT_CALL(library, applyFrequency(3, 1)).Times(2);
    EXPECT_CALL(library, programChannel(3)).Times(2);
    {
        const PatternOrder order(transmitter, PatternTransmitter::Pattern::F0);
        program(transmitter);
    }
    EXPECT_TRUE(transmitter.isProgrammed()) << "the pins still carry it";
    program(transmitter);
    EXPECT_FALSE(transmitter.isProgrammed());
}

TEST(PatternTransmitter, ARefusedPatternFailsTheProgrammingWithTheLibrarysCode) {
    Library library;
    PatternTransmitter transmitter;
    transmitter.attach(library);
    const PatternOrder order(transmitter, PatternTransmitter::Pattern::Walk);
    EXPECT_CALL(library, setFunctionMode).WillOnce(Return(0));
    EXPECT_CALL(library, setTestMode).WillOnce(Return(4));
    EXPECT_EQ(transmitter.setFunctionMode(3, 9), 4);
    EXPECT_EQ(transmitter.refusal(), 4);
    EXPECT_FALSE(transmitter.isProgrammed());
}

TEST(PatternTransmitter, AFailedFunctionModeIsReportedAndNoPatternAsked) {
    Library library;
    PatternTransmitter transmitter;
    transmitter.attach(library);
    const PatternOrder order(transmitter, PatternTransmitter::Pattern::Walk);
    EXPECT_CALL(library, setFunctionMode).WillOnce(Return(-1));
    EXPECT_EQ(transmitter.setFunctionMode(3, 9), -1);
    EXPECT_EQ(transmitter.refusal(), 0);
}

TEST(PatternTransmitter, AnExportWithoutModesIsNeverMadeToSendAPattern) {
    Library library;
    PatternTransmitter transmitter;
    transmitter.attach(library);
    const PatternOrder order(transmitter, PatternTransmitter::Pattern::Walk);
    EXPECT_CALL(library, programChannel(3)).WillOnce(Return(0));
    transmitter.programChannel(3);
    EXPECT_FALSE(transmitter.isProgrammed());
}

TEST(PatternTransmitter, ThePatternOfACalibrationReplacesTheOrderedOne) {
    Library library;
    PatternTransmitter transmitter;
    transmitter.attach(library);
    const PatternOrder order(transmitter, PatternTransmitter::Pattern::Walk);
    EXPECT_CALL(library, setFunctionMode).WillOnce(Return(0));
    EXPECT_CALL(library, setTestMode(3, 5, 1)).WillOnce(Return(0));
    EXPECT_CALL(library, setTestMode(3, 5, 4)).WillOnce(Return(0));
    EXPECT_CALL(library, programChannel(3)).WillOnce(Return(0));
    transmitter.setFunctionMode(3, 9);
    transmitter.setTestMode(3, 5, 4);
    transmitter.programChannel(3);
    EXPECT_FALSE(transmitter.isProgrammed());
}

TEST(PatternTransmitter, AHeldSettingIsTheOnlyOneOfTheTarget) {
    Library library;
    PatternTransmitter transmitter;
    transmitter.attach(library);
    EXPECT_CALL(library, getNumFrequencySettings).Times(3).WillRepeatedly([](unsigned, unsigned* count) {
        *count = 5;
        return 0;
    });
    EXPECT_CALL(library, applyFrequency(3, 2)).WillOnce(Return(0));
    EXPECT_CALL(library, applyFrequency(3, 0)).WillOnce(Return(0));
    transmitter.holdSetting(2);
    unsigned count = 0;
    transmitter.getNumFrequencySettings(3, &count);
    EXPECT_EQ(count, 1U);
    EXPECT_EQ(transmitter.settings(), 5U) << "whatever is held";
    transmitter.applyFrequency(3, 0);
    transmitter.holdSetting({});
    transmitter.getNumFrequencySettings(3, &count);
    EXPECT_EQ(count, 5U);
    transmitter.applyFrequency(3, 0);
}

TEST(PatternTransmitter, DuringASetUpTheLastProgrammingIsRepeatedWithThePattern) {
    testing::NiceMock<transmitter_test::MockXmtrLibrary> library;
    PatternTransmitter transmitter;
    transmitter.attach(library);
    unsigned kind = 0;
    transmitter.sendDuringSetUp(PatternTransmitter::Pattern::Walk);
    EXPECT_CALL(library, setTestMode).Times(0);
    transmitter.getTransmitterKind(3, &kind); // nothing was programmed yet
    testing::Mock::VerifyAndClearExpectations(&library);
    transmitter.releasePin(3, 0, 0);
    transmitter.releasePin(3, 1, 0);
    transmitter.allocatePin(3, 13, 0, 0, 0);
    transmitter.setFunctionMode(3, 9);
    transmitter.setTestMode(3, 5, 4);
    program(transmitter);
    transmitter.enablePins(3);
    {
        const InSequence inOrder;
        EXPECT_CALL(library, getTransmitterKind).WillOnce(Return(0));
        EXPECT_CALL(library, releasePin(3, 0, 0)).WillOnce(Return(0));
        EXPECT_CALL(library, releasePin(3, 1, 0)).WillOnce(Return(0));
        EXPECT_CALL(library, allocatePin(3, 13, 0, 0, 0)).WillOnce(Return(0));
        EXPECT_CALL(library, setFunctionMode(3, 9)).WillOnce(Return(0));
        EXPECT_CALL(library, setTestMode(3, 5, 1)).WillOnce(Return(0));
        EXPECT_CALL(library, setFunctionMode(3, 9)).WillOnce(Return(0));
        EXPECT_CALL(library, setTestMode(3, 5, 1)).WillOnce(Return(0));
        EXPECT_CALL(library, applyFrequency(3, 1)).WillOnce(Return(0));
        EXPECT_CALL(library, programChannel(3)).WillOnce(Return(0));
        EXPECT_CALL(library, enablePins(3)).WillOnce(Return(0));
    }
    transmitter.getTransmitterKind(3, &kind);
    testing::Mock::VerifyAndClearExpectations(&library);
    transmitter.sendNothingDuringSetUp();
    EXPECT_CALL(library, setTestMode).Times(0);
    transmitter.getTransmitterKind(3, &kind);
}

} // namespace
} // namespace host
