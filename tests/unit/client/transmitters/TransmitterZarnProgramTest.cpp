#include "tests/unit/client/transmitters/TransmitterZarnFixture.h"

#include <optional>

namespace transmitter_test {

using testing::_;
using testing::ElementsAre;
using testing::InSequence;
using testing::Return;

namespace {

struct Kind {
    unsigned code;
    const char* name;
    unsigned clockMode;
    unsigned dataMode;
    unsigned functionMode;
    unsigned pausedMode;
};
constexpr Kind kinds[] = {{1, "pti", 13, 12, 3, 1}, {4, "tpiu", 18, 19, 9, 8}, {5, "tpiulite", 18, 19, 0, 0}};

struct Program {
    const char* name;
    std::optional<unsigned> testMode;
};
constexpr Program programs[] = {{"a5", 0},   {"walk", 1}, {"ramp", 2},        {"verification", 2},
                                {"lfsr", 3}, {"f0", 4},   {"calibration", 4}, {"none", std::nullopt}};

class TransmitterZarnProgramTest : public TransmitterZarnTest {
protected:
    void expectPins(const Kind& kind, const std::vector<unsigned>& pins) {
        for (const unsigned pin : pins) {
            EXPECT_CALL(library, releasePin(channel, pin, 0));
        }
        EXPECT_CALL(library, allocatePin(channel, kind.clockMode, 0, pins[0], 0));
        for (std::size_t i = pins.size() - 1; i > 0; --i) {
            EXPECT_CALL(library, allocatePin(channel, kind.dataMode, static_cast<unsigned>(i - 1), pins[i], 0));
        }
        EXPECT_CALL(library, setPortWidth(channel, static_cast<unsigned>(pins.size() - 1)));
    }
    void expectModes(unsigned functionMode, std::optional<unsigned> testMode, unsigned setting) {
        EXPECT_CALL(library, setOption(channel, 0));
        EXPECT_CALL(library, setFunctionMode(channel, functionMode));
        if (testMode) {
            EXPECT_CALL(library, setTestMode(channel, 5, *testMode));
        }
        EXPECT_CALL(library, applyFrequency(channel, setting));
    }
    void expectEnable() {
        EXPECT_CALL(library, programChannel(channel));
        EXPECT_CALL(library, enablePort(channel));
        EXPECT_CALL(library, enablePins(channel));
    }
    /// Everything that `program` does for "pti" on clock 0 and data 1.
    void expectSimple(std::optional<unsigned> testMode, unsigned setting) {
        expectPins(kinds[0], {0, 1});
        expectModes(kinds[0].functionMode, testMode, setting);
        expectEnable();
    }
};

} // namespace

TEST_F(TransmitterZarnProgramTest, WithoutPinsIsOutOfSequence) {
    const auto transmitter = make();
    open(*transmitter, 1);
    expectFailure([&] { transmitter->program("f0", 0); }, eSEQUENCE, "pins not set");
}

TEST_F(TransmitterZarnProgramTest, CallsTheLibraryInOrderForEveryKindModeAndPattern) {
    for (const Kind& kind : kinds) {
        for (const char* mode : {"pause", "run", ""}) {
            for (const Program& program : programs) {
                SCOPED_TRACE(std::string(kind.name) + " " + mode + " " + program.name);
                const auto transmitter = make();
                open(*transmitter, kind.code);
                transmitter->setProperty("xmtrMode", mode);
                transmitter->setProperty("pins", "5,3,1,0,4");
                {
                    const InSequence inOrder;
                    expectPins(kind, {5, 3, 1, 0, 4});
                    if (std::string(kind.name) != "tpiulite") {
                        expectModes(std::string(mode) == "pause" ? kind.pausedMode : kind.functionMode,
                                    program.testMode, 2);
                    }
                    expectEnable();
                }
                transmitter->program(program.name, 2);
                testing::Mock::VerifyAndClearExpectations(&library);
                EXPECT_CALL(library, closeChannel(channel));
            }
        }
    }
}

TEST_F(TransmitterZarnProgramTest, TheFirstPinAfterTheClockCarriesBitZeroAndIsAllocatedLast) {
    const auto transmitter = make();
    open(*transmitter, 1);
    transmitter->setProperty("pins", "5,3,1");
    EXPECT_CALL(library, releasePin).Times(3);
    EXPECT_CALL(library, setPortWidth(channel, 2));
    {
        const InSequence inOrder;
        EXPECT_CALL(library, allocatePin(channel, 13, 0, 5, 0));
        EXPECT_CALL(library, allocatePin(channel, 12, 1, 1, 0));
        EXPECT_CALL(library, allocatePin(channel, 12, 0, 3, 0));
    }
    expectModes(3, 4, 0);
    expectEnable();
    transmitter->program("f0", 0);
}

TEST_F(TransmitterZarnProgramTest, LogsWhatItProgramsAndAllocates) {
    const auto transmitter = make();
    open(*transmitter, 1);
    transmitter->setProperty("pins", "5,3,1");
    const LogCapture log;
    testing::Mock::AllowLeak(&library);
    EXPECT_CALL(library, releasePin).Times(3);
    EXPECT_CALL(library, allocatePin).Times(3);
    EXPECT_CALL(library, setPortWidth);
    expectModes(3, 2, 6);
    expectEnable();
    transmitter->program("verification", 6);
    EXPECT_THAT(log.lines('M'),
                ElementsAre("ORV Receiver TransmitterZarn_1::program progName=verification, frequencySetting=6",
                            "ORV Receiver : transmitter allocated EMU5 to bit0 in mode 13",
                            "ORV Receiver : transmitter allocated EMU1 to bit1 in mode 12",
                            "ORV Receiver : transmitter allocated EMU3 to bit0 in mode 12"));
}

TEST_F(TransmitterZarnProgramTest, ANullNameAfterCalibrationKeepsF0AndChangesTheSetting) {
    const auto transmitter = make();
    open(*transmitter, 1);
    transmitter->setProperty("pins", "0,1");
    const InSequence inOrder;
    expectSimple(4, 0);
    transmitter->program("calibration", 0);
    EXPECT_TRUE(accepts(*transmitter->getPattern(), {0x5555}));
    expectSimple(4, 1);
    transmitter->program(nullptr, 1);
    EXPECT_CALL(library, closeChannel(channel));
}

TEST_F(TransmitterZarnProgramTest, ANullNameAfterVerificationIsNoName) {
    const auto transmitter = make();
    open(*transmitter, 1);
    transmitter->setProperty("pins", "0,1");
    expectSimple(2, 0);
    transmitter->program("verification", 0);
    expectFailure([&] { transmitter->program(nullptr, 1); }, eXMTR, "invalid program");
}

TEST_F(TransmitterZarnProgramTest, UnknownNamesReachNothing) {
    const auto transmitter = make();
    open(*transmitter, 1);
    transmitter->setProperty("pins", "0,1");
    for (const char* name : {"ramp0", "ramp1", "ff0", "F0", ""}) {
        expectFailure([&] { transmitter->program(name, 0); }, eXMTR, "invalid program");
    }
    expectFailure([&] { transmitter->program(nullptr, 0); }, eXMTR, "invalid program");
}

TEST_F(TransmitterZarnProgramTest, WithoutPinsTheNameIsNotTakenAndANameThatIsNoneIs) {
    const auto transmitter = make();
    open(*transmitter, 1);
    expectFailure([&] { transmitter->program("f0", 0); }, eSEQUENCE, "pins not set");
    transmitter->setProperty("pins", "0,1");
    expectFailure([&] { transmitter->program(nullptr, 0); }, eXMTR, "invalid program");
    for (const char* name : {"zigzag", ""}) {
        expectSimple(4, 0);
        transmitter->program("f0", 0);
        expectFailure([&] { transmitter->program(name, 0); }, eXMTR, "invalid program");
        expectFailure([&] { transmitter->program(nullptr, 0); }, eXMTR, "invalid program");
    }
}

TEST_F(TransmitterZarnProgramTest, NoneLeavesNoPattern) {
    const auto transmitter = make();
    open(*transmitter, 1);
    transmitter->setProperty("pins", "0,1");
    expectSimple(4, 0);
    transmitter->program("f0", 0);
    testing::Mock::VerifyAndClearExpectations(&library);
    expectSimple(std::nullopt, 0);
    EXPECT_CALL(library, closeChannel(channel));
    transmitter->program("none", 0);
    expectFailure([&] { transmitter->getPattern(); }, eSEQUENCE, "no pattern programmed");
}

TEST_F(TransmitterZarnProgramTest, ThePatternIsTheOneThatTheTargetSends) {
    const auto transmitter = make();
    open(*transmitter, 5);
    transmitter->setProperty("pins", "0,1,2,3,4");
    EXPECT_CALL(library, releasePin).Times(testing::AnyNumber());
    EXPECT_CALL(library, allocatePin).Times(testing::AnyNumber());
    EXPECT_CALL(library, setPortWidth).Times(testing::AnyNumber());
    EXPECT_CALL(library, programChannel).Times(testing::AnyNumber());
    EXPECT_CALL(library, enablePort).Times(testing::AnyNumber());
    EXPECT_CALL(library, enablePins).Times(testing::AnyNumber());
    const struct {
        const char* name;
        std::vector<std::uint16_t> words;
    } images[] = {{"a5", {0x5A5A}},
                  {"walk", {0x0124, 0x8012, 0x4801, 0x2480, 0x1248}},
                  {"ramp", {0x0123, 0x4567, 0x89AB, 0xCDEF}},
                  {"verification", {0x0123, 0x4567, 0x89AB, 0xCDEF}},
                  {"f0", {0x0F0F}},
                  {"calibration", {0x0F0F}}};
    for (const auto& image : images) {
        transmitter->program(image.name, 0);
        EXPECT_TRUE(accepts(*transmitter->getPattern(), image.words)) << image.name;
    }
}

TEST_F(TransmitterZarnProgramTest, AnExportKindWithoutPinModesFailsAfterTheReleases) {
    const auto transmitter = make();
    open(*transmitter, 1);
    transmitter->setProperty("pins", "0,1");
    transmitter->setProperty("drmXmtr", "trace");
    EXPECT_CALL(library, releasePin(channel, 0, 0));
    EXPECT_CALL(library, releasePin(channel, 1, 0));
    expectFailure([&] { transmitter->program("f0", 0); }, eTYPE, "trace");
    EXPECT_TRUE(accepts(*transmitter->getPattern(), {0x0FF0, 0xFF0F, 0xF0FF}));
}

TEST_F(TransmitterZarnProgramTest, TheNewPatternStandsBeforeTheReleases) {
    const auto transmitter = make();
    open(*transmitter, 1);
    transmitter->setProperty("pins", "0,1,2");
    EXPECT_CALL(library, releasePin(channel, 0, 0)).WillOnce(Return(3));
    expectFailure([&] { transmitter->program("a5", 0); }, eXMTR, "failed releasing pin");
    EXPECT_TRUE(accepts(*transmitter->getPattern(), {0x6666}));
}

TEST_F(TransmitterZarnProgramTest, AClockAloneIsAPortOfNoWidth) {
    const auto transmitter = make();
    open(*transmitter, 5);
    transmitter->setProperty("pins", "3");
    EXPECT_CALL(library, releasePin(channel, 3, 0));
    EXPECT_CALL(library, allocatePin(channel, 18, 0, 3, 0));
    EXPECT_CALL(library, setPortWidth(channel, 0));
    expectEnable();
    transmitter->program("f0", 0);
}

TEST_F(TransmitterZarnProgramTest, EveryCheckedFailureEndsTheProgramThere) {
    // How many calls of `program` on "pti" with two pins succeed before the one that fails, and what it says.
    const struct {
        int before;
        const char* text;
    } failures[] = {
        {0, "failed releasing pin"},         {1, "failed releasing pin"},
        {2, "failed allocating clock pin"},  {3, "failed allocating data pin"},
        {4, "failed setting port width"},    {6, "failed setting stm function mode"},
        {7, "failed setting stm test mode"}, {8, "failed applying frequency setting"},
        {9, "failed programming channel"},   {10, "failed enabling port"},
        {11, "failed enabling pins"},
    };
    for (const auto& failure : failures) {
        for (const int code : {3, -1, 0x7FFFFFFF}) {
            SCOPED_TRACE(failure.text + std::string(" ") + std::to_string(code));
            const auto transmitter = make();
            open(*transmitter, 1);
            transmitter->setProperty("pins", "0,1");
            int calls = 0;
            const auto answer = [&] { return calls++ == failure.before ? code : 2; };
            EXPECT_CALL(library, releasePin).WillRepeatedly(answer);
            EXPECT_CALL(library, allocatePin).WillRepeatedly(answer);
            EXPECT_CALL(library, setPortWidth).WillRepeatedly(answer);
            EXPECT_CALL(library, setOption).WillRepeatedly(answer);
            EXPECT_CALL(library, setFunctionMode).WillRepeatedly(answer);
            EXPECT_CALL(library, setTestMode).WillRepeatedly(answer);
            EXPECT_CALL(library, applyFrequency).WillRepeatedly(answer);
            EXPECT_CALL(library, programChannel).WillRepeatedly(answer);
            EXPECT_CALL(library, enablePort).WillRepeatedly(answer);
            EXPECT_CALL(library, enablePins).WillRepeatedly(answer);
            expectFailure([&] { transmitter->program("f0", 0); }, eXMTR, failure.text);
            EXPECT_EQ(calls, failure.before + 1);
            testing::Mock::VerifyAndClearExpectations(&library);
            EXPECT_CALL(library, closeChannel(channel));
        }
    }
}

TEST_F(TransmitterZarnProgramTest, TheOptionIsNotChecked) {
    const auto transmitter = make();
    open(*transmitter, 1);
    transmitter->setProperty("pins", "0,1");
    expectPins(kinds[0], {0, 1});
    EXPECT_CALL(library, setOption(channel, 0)).WillOnce(Return(-1));
    EXPECT_CALL(library, setFunctionMode);
    EXPECT_CALL(library, setTestMode);
    EXPECT_CALL(library, applyFrequency);
    expectEnable();
    transmitter->program("f0", 0);
}

// ---- settings of the export ----

namespace {

class TransmitterZarnSetupTest : public TransmitterZarnProgramTest {
protected:
    /// Expects what `program` hands on from the settings; `handed` is the frame size, if any.
    void expectSetup(bool stall, bool cprt, bool noData, bool cycle, unsigned limit, std::optional<unsigned> handed) {
        EXPECT_CALL(library, setStallCpu(channel, stall)).WillOnce(Return(-1)); // none of these is checked
        EXPECT_CALL(library, setMonitorCprt(channel, cprt)).WillOnce(Return(-1));
        EXPECT_CALL(library, setNoDataTraceOnFifoFull(channel, noData)).WillOnce(Return(-1));
        EXPECT_CALL(library, setCycleAccurate(channel, cycle)).WillOnce(Return(-1));
        EXPECT_CALL(library, getExportFrameLimits(channel, _, _))
            .WillOnce(testing::DoAll(testing::SetArgPointee<1>(7u), testing::SetArgPointee<2>(limit), Return(-1)));
        if (handed) {
            EXPECT_CALL(library, setExportFrameSize(channel, *handed)).WillOnce(Return(-1));
        }
    }
    void programWith(TransmitterZarn_1& transmitter) {
        transmitter.setProperty("pins", "0,1");
        transmitter.program("f0", 0);
        testing::Mock::VerifyAndClearExpectations(&library);
        EXPECT_CALL(library, closeChannel(channel)).Times(testing::AnyNumber());
    }
};

} // namespace

TEST_F(TransmitterZarnSetupTest, ArmSettingsAreHandedOnBetweenFrequencyAndProgramming) {
    ChannelSettings setup;
    for (unsigned bits = 0; bits < 16; ++bits) {
        setup.stallCpu = (bits & 1) != 0;
        setup.monitorCprt = (bits & 2) != 0;
        setup.noDataTraceOnFifoFull = (bits & 4) != 0;
        setup.cycleAccurateTrace = (bits & 8) != 0;
        const auto transmitter = make(2, &setup);
        open(*transmitter, 1);
        {
            const InSequence inOrder;
            expectPins(kinds[0], {0, 1});
            expectModes(3, 4, 0);
            expectSetup(setup.stallCpu, setup.monitorCprt, setup.noDataTraceOnFifoFull, setup.cycleAccurateTrace, 0,
                        std::nullopt);
            expectEnable();
        }
        programWith(*transmitter);
    }
}

TEST_F(TransmitterZarnSetupTest, TheFrameSizeSettingOnlyChoosesBetweenTheLibrarysAnd64) {
    const struct {
        unsigned limit;
        std::uint32_t setting;
        std::optional<unsigned> handed;
    } cases[] = {{0, 0, std::nullopt}, {0, 128, std::nullopt}, {32, 0, 64}, {32, 128, 32}, {32, 1, 32}, {64, 9, 64}};
    for (const auto& one : cases) {
        ChannelSettings setup;
        setup.exportFrameSize = one.setting;
        const auto transmitter = make(2, &setup);
        open(*transmitter, 5);
        {
            const InSequence inOrder;
            expectPins(kinds[2], {0, 1});
            expectSetup(false, false, false, true, one.limit, one.handed);
            expectEnable();
        }
        programWith(*transmitter);
    }
}

TEST_F(TransmitterZarnSetupTest, OtherCpusGetNoArmSettings) {
    const ChannelSettings setup;
    for (const std::uint32_t kind : {0u, 1u, 3u, 0xFFFFFFFFu}) {
        const auto transmitter = make(kind, &setup);
        open(*transmitter, 1);
        expectSimple(4, 0);
        programWith(*transmitter);
    }
}

TEST_F(TransmitterZarnSetupTest, SettingsAreReadWhenProgramming) {
    ChannelSettings setup;
    const auto transmitter = make(2, &setup);
    open(*transmitter, 5);
    setup.stallCpu = true;
    const InSequence inOrder;
    expectPins(kinds[2], {0, 1});
    expectSetup(true, false, false, true, 0, std::nullopt);
    expectEnable();
    programWith(*transmitter);
}

TEST_F(TransmitterZarnSetupTest, WithoutSettingsAnArmTargetFails) {
    const auto transmitter = make(2, nullptr);
    open(*transmitter, 5);
    transmitter->setProperty("pins", "0,1");
    expectPins(kinds[2], {0, 1});
    expectFailure([&] { transmitter->program("f0", 0); }, eNULL, "");
}

TEST_F(TransmitterZarnSetupTest, SettingsOfAChannelThatWentAreKeptAsTheyWere) {
    auto setup = std::make_unique<ChannelSettings>();
    const auto transmitter = make(2, setup.get());
    open(*transmitter, 5);
    setup->monitorCprt = true;
    transmitter->setupLeaves(setup.get());
    setup->monitorCprt = false; // what is in the memory afterwards does not matter any more
    setup.reset();
    const InSequence inOrder;
    expectPins(kinds[2], {0, 1});
    expectSetup(false, true, false, true, 0, std::nullopt);
    expectEnable();
    programWith(*transmitter);
}

TEST_F(TransmitterZarnSetupTest, SettingsOfAnotherChannelThatWentChangeNothing) {
    ChannelSettings setup;
    const ChannelSettings another;
    const auto transmitter = make(2, &setup);
    open(*transmitter, 5);
    transmitter->setupLeaves(&another);
    setup.stallCpu = true;
    const InSequence inOrder;
    expectPins(kinds[2], {0, 1});
    expectSetup(true, false, false, true, 0, std::nullopt);
    expectEnable();
    programWith(*transmitter);
}

} // namespace transmitter_test
