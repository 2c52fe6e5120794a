#include "tests/unit/client/transmitters/TransmitterZarnFixture.h"

namespace transmitter_test {

using testing::_;
using testing::DoAll;
using testing::ElementsAre;
using testing::InSequence;
using testing::Return;
using testing::SetArgPointee;

TEST_F(TransmitterZarnTest, ANewOneLeavesTheLibraryAlone) {
    const auto transmitter = make();
    EXPECT_EQ(get(*transmitter, "drmXmtr"), "");
}

TEST_F(TransmitterZarnTest, TheLibraryDecidesTheExportKind) {
    const struct {
        unsigned code;
        const char* kind;
    } kinds[] = {{1, "pti"}, {4, "tpiu"}, {5, "tpiulite"}};
    for (const auto& kind : kinds) {
        const auto transmitter = make();
        transmitter->setProperty("drmXmtr", "something else");
        open(*transmitter, kind.code);
        EXPECT_EQ(get(*transmitter, "drmXmtr"), kind.kind);
    }
}

TEST_F(TransmitterZarnTest, OtherKindsAreNotSupported) {
    for (const unsigned code : {0u, 2u, 3u, 6u, 4294967295u}) {
        const auto transmitter = make();
        EXPECT_CALL(library, getTransmitterKind(channel, _)).WillOnce(DoAll(SetArgPointee<1>(code), Return(0)));
        expectFailure([&] { transmitter->applySettings(); }, eXMTR,
                      "this receiver does not support tracing this device : code " + std::to_string(code));
        testing::Mock::VerifyAndClearExpectations(&library);
        // Nothing was settled, so the next time asks again.
        open(*transmitter, 1);
        testing::Mock::VerifyAndClearExpectations(&library);
        EXPECT_CALL(library, closeChannel(channel));
    }
}

TEST_F(TransmitterZarnTest, TheAnswerToTheQuestionForTheKindIsNotChecked) {
    const auto transmitter = make();
    EXPECT_CALL(library, getTransmitterKind(channel, _)).WillOnce(DoAll(SetArgPointee<1>(1u), Return(-1)));
    transmitter->applySettings();
    EXPECT_EQ(get(*transmitter, "drmXmtr"), "pti");
    EXPECT_CALL(library, closeChannel(channel));
}

TEST_F(TransmitterZarnTest, SettingsAreAppliedOnceUntilAPropertyIsSet) {
    const auto transmitter = make();
    EXPECT_CALL(library, getTransmitterKind(channel, _)).WillOnce(DoAll(SetArgPointee<1>(1u), Return(0)));
    transmitter->applySettings();
    transmitter->applySettings(); // the strict library would tell
    testing::Mock::VerifyAndClearExpectations(&library);

    transmitter->setProperty("pins", "0,1");
    {
        const InSequence inOrder;
        EXPECT_CALL(library, closeChannel(channel)).WillOnce(Return(-1)); // not checked
        EXPECT_CALL(library, getTransmitterKind(channel, _)).WillOnce(DoAll(SetArgPointee<1>(4u), Return(0)));
    }
    transmitter->applySettings();
    EXPECT_EQ(get(*transmitter, "drmXmtr"), "tpiu");
    testing::Mock::VerifyAndClearExpectations(&library);
    EXPECT_CALL(library, closeChannel(channel));
}

TEST_F(TransmitterZarnTest, TheLinkIsClosedAtTheEndOnlyIfItIsOpen) {
    {
        const auto transmitter = make();
        open(*transmitter, 1);
        testing::Mock::VerifyAndClearExpectations(&library);
        EXPECT_CALL(library, closeChannel(channel));
    }
    testing::Mock::VerifyAndClearExpectations(&library);
    make();
}

TEST_F(TransmitterZarnTest, AFailedReopenLeavesTheLinkClosed) {
    const auto transmitter = make();
    open(*transmitter, 1);
    testing::Mock::VerifyAndClearExpectations(&library);
    transmitter->setProperty("pins", "0,1");
    EXPECT_CALL(library, closeChannel(channel));
    EXPECT_CALL(library, getTransmitterKind(channel, _)).WillOnce(DoAll(SetArgPointee<1>(9u), Return(0)));
    EXPECT_THROW(transmitter->applySettings(), Exception);
}

TEST_F(TransmitterZarnTest, TheLinkIsClosedBeforeSettingsThatCannotBeApplied) {
    const auto transmitter = make();
    open(*transmitter, 1);
    testing::Mock::VerifyAndClearExpectations(&library);
    transmitter->setProperty("pins", "0,1");
    const PropertiesFile withoutGlobals("[Channel 0]\npins=0,1\n");
    EXPECT_CALL(library, closeChannel(channel));
    EXPECT_THROW(transmitter->applySettings(), Exception);
    testing::Mock::VerifyAndClearExpectations(&library); // and it is not closed a second time
}

TEST_F(TransmitterZarnTest, AClosingThatFailsIsNotRepeated) {
    const auto transmitter = make();
    open(*transmitter, 1);
    testing::Mock::VerifyAndClearExpectations(&library);
    transmitter->setProperty("pins", "0,1");
    EXPECT_CALL(library, closeChannel(channel)).WillOnce(testing::Throw(std::runtime_error("link lost")));
    EXPECT_THROW(transmitter->applySettings(), std::runtime_error);
}

TEST_F(TransmitterZarnTest, ALibraryThatThrowsAtTheEndIsLogged) {
    const LogCapture log;
    {
        const auto transmitter = make();
        open(*transmitter, 1);
        EXPECT_CALL(library, closeChannel(channel)).WillOnce(testing::Throw(std::runtime_error("link lost")));
    }
    {
        const auto transmitter = make();
        open(*transmitter, 1);
        EXPECT_CALL(library, closeChannel(channel)).WillOnce(testing::Throw(5));
    }
    EXPECT_THAT(log.lines('E'), ElementsAre("ORV Receiver : link lost", "ORV Receiver : unknown exception"));
}

TEST_F(TransmitterZarnTest, EndFlushAndShutdownAreOneCallEach) {
    const auto transmitter = make();
    EXPECT_CALL(library, applyEnd(channel, true));
    transmitter->end(true);
    EXPECT_CALL(library, applyEnd(channel, false)).WillOnce(Return(1));
    transmitter->end(false);
    EXPECT_CALL(library, flushBuffer(channel)).WillOnce(Return(2));
    transmitter->flush();
    EXPECT_CALL(library, shutdownPort(channel));
    transmitter->shutdown();
}

TEST_F(TransmitterZarnTest, ResultsUpToTwoAreSuccessAndAllOthersFailure) {
    const auto transmitter = make();
    for (const int code : {0, 1, 2}) {
        EXPECT_CALL(library, shutdownPort(channel)).WillOnce(Return(code));
        transmitter->shutdown();
    }
    for (const int code : {3, -1, -2147483647 - 1, 2147483647}) {
        EXPECT_CALL(library, applyEnd(channel, true)).WillOnce(Return(code));
        expectFailure([&] { transmitter->end(true); }, eXMTR, "failed applying end of trace");
        EXPECT_CALL(library, flushBuffer(channel)).WillOnce(Return(code));
        expectFailure([&] { transmitter->flush(); }, eXMTR, "failed flushing buffer");
        EXPECT_CALL(library, shutdownPort(channel)).WillOnce(Return(code));
        expectFailure([&] { transmitter->shutdown(); }, eXMTR, "failed shutting down port");
        EXPECT_CALL(library, getTraceStatus(channel, _)).WillOnce(Return(code));
        expectFailure([&] { transmitter->reset(); }, eXMTR, "failed resetting trace status");
        EXPECT_CALL(library, getTraceStatus(channel, _)).WillOnce(DoAll(SetArgPointee<1>(4u), Return(0)));
        EXPECT_CALL(library, clearTraceStatus(channel, 4)).WillOnce(Return(code));
        expectFailure([&] { transmitter->reset(); }, eXMTR, "failed resetting trace status");
        EXPECT_CALL(library, getNumFrequencySettings(channel, _)).WillOnce(Return(code));
        expectFailure([&] { transmitter->numFrequencySettings(); }, eXMTR, "failed getting transmitter character");
        EXPECT_CALL(library, getTraceStatus(channel, _)).WillOnce(Return(code));
        expectFailure([&] { transmitter->hasTriggered(); }, eXMTR, "failed getting trace status");
        EXPECT_CALL(library, getTraceStatus(channel, _)).WillOnce(DoAll(SetArgPointee<1>(1u << 30), Return(0)));
        EXPECT_CALL(library, getCharacter(channel, _)).WillOnce(Return(code));
        expectFailure([&] { transmitter->hasTriggered(); }, eXMTR, "failed getting transmitter character");
    }
}

TEST_F(TransmitterZarnTest, ResetClearsOnlyWhatIsSet) {
    const auto transmitter = make();
    EXPECT_CALL(library, getTraceStatus(channel, _)).WillOnce(DoAll(SetArgPointee<1>(0u), Return(0)));
    transmitter->reset();
    EXPECT_CALL(library, getTraceStatus(channel, _)).WillOnce(DoAll(SetArgPointee<1>(0xC0000001u), Return(2)));
    EXPECT_CALL(library, clearTraceStatus(channel, 0xC0000001u));
    transmitter->reset();
}

TEST_F(TransmitterZarnTest, FrequencySettingsAreCountedByTheLibrary) {
    const auto transmitter = make();
    EXPECT_CALL(library, getNumFrequencySettings(channel, _)).WillOnce(DoAll(SetArgPointee<1>(12u), Return(0)));
    EXPECT_EQ(transmitter->numFrequencySettings(), 12u);
}

TEST_F(TransmitterZarnTest, WithoutTheTriggerBitTheCharacterIsNotAskedFor) {
    const auto transmitter = make();
    for (const std::uint32_t status : {0u, ~(1u << 30)}) {
        EXPECT_CALL(library, getTraceStatus(channel, _)).WillOnce(DoAll(SetArgPointee<1>(status), Return(0)));
        EXPECT_FALSE(transmitter->hasTriggered());
    }
}

TEST_F(TransmitterZarnTest, ATriggerFlushesWhenTheCharacterSaysSo) {
    const auto transmitter = make();
    for (const std::uint32_t character : {0u, 8u, ~8u, 0xFFFFFFFFu}) {
        EXPECT_CALL(library, getTraceStatus(channel, _)).WillOnce(DoAll(SetArgPointee<1>(1u << 30), Return(0)));
        EXPECT_CALL(library, getCharacter(channel, _)).WillOnce(DoAll(SetArgPointee<1>(character), Return(0)));
        EXPECT_CALL(library, flushBuffer(channel)).Times((character & 8) != 0 ? 1 : 0);
        EXPECT_TRUE(transmitter->hasTriggered());
        testing::Mock::VerifyAndClearExpectations(&library);
    }
}

TEST_F(TransmitterZarnTest, AFlushThatFailsAtATriggerFails) {
    const auto transmitter = make();
    EXPECT_CALL(library, getTraceStatus(channel, _)).WillOnce(DoAll(SetArgPointee<1>(1u << 30), Return(0)));
    EXPECT_CALL(library, getCharacter(channel, _)).WillOnce(DoAll(SetArgPointee<1>(8u), Return(0)));
    EXPECT_CALL(library, flushBuffer(channel)).WillOnce(Return(3));
    expectFailure([&] { transmitter->hasTriggered(); }, eXMTR, "failed flushing buffer");
}

TEST_F(TransmitterZarnTest, EveryOperationLogsItsEntry) {
    const auto transmitter = make();
    testing::Mock::VerifyAndClearExpectations(&library);
    EXPECT_CALL(library, applyEnd);
    EXPECT_CALL(library, flushBuffer);
    EXPECT_CALL(library, shutdownPort);
    EXPECT_CALL(library, getTraceStatus).Times(2);
    EXPECT_CALL(library, getNumFrequencySettings);
    const LogCapture log;
    transmitter->end(true);
    transmitter->flush();
    transmitter->shutdown();
    transmitter->reset();
    transmitter->numFrequencySettings();
    transmitter->hasTriggered();
    EXPECT_THAT(log.functions(),
                ElementsAre("TransmitterZarn_1::end", "TransmitterZarn_1::flush", "TransmitterZarn_1::shutdown",
                            "TransmitterZarn_1::reset", "TransmitterZarn_1::numFrequencySettings",
                            "TransmitterZarn_1::hasTriggered"));
}

} // namespace transmitter_test
