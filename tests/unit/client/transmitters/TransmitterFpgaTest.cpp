#include "client/transmitters/TransmitterFpga_1.h"
#include "tests/unit/client/transmitters/TransmitterSupport.h"

#include <cstdio>

namespace transmitter_test {

using testing::ElementsAre;

namespace {

class TransmitterFpgaTest : public testing::Test {
protected:
    /// What `program` writes, with that value for the generator.
    static std::string programLine(std::uint32_t control) {
        char text[64];
        std::snprintf(text, sizeof text, "write 08000010=%04x 0800014c=00ff 08000148=0008", control);
        return text;
    }

    FrontEndStub frontEnd;
    TransmitterFpga_1 transmitter{&frontEnd, 0};
};

struct Width {
    const char* pins;
    std::uint32_t code;
};
constexpr Width widths[] = {{"5,0", 0x10}, {"0,1,2", 0x20}, {"0,1,2,3,4", 0x30}};

} // namespace

TEST_F(TransmitterFpgaTest, IsOfTypeFpga) {
    EXPECT_EQ(get(transmitter, "xmtrType"), "fpga");
    EXPECT_THAT(frontEnd.model.log(), ElementsAre());
}

TEST_F(TransmitterFpgaTest, WritesCodeAndWidthForEveryPatternAndPinCount) {
    const struct {
        const char* name;
        std::uint32_t code;
    } programs[] = {{"f0", 5}, {"calibration", 5}, {"a5", 6}, {"ramp", 7}, {"verification", 7}, {"none", 7}};
    for (const auto& program : programs) {
        for (const Width& width : widths) {
            transmitter.setProperty("pins", width.pins);
            frontEnd.model.clearLog();
            transmitter.program(program.name, 3);
            EXPECT_THAT(frontEnd.model.log(), ElementsAre(programLine(program.code << 8 | width.code)))
                << program.name << " on " << width.pins;
        }
    }
    EXPECT_THAT(frontEnd.model.refusals(), ElementsAre());
}

TEST_F(TransmitterFpgaTest, RampOnFourPinsIs0730) {
    transmitter.setProperty("pins", "0,1,2,3,4");
    transmitter.program("ramp", 0);
    EXPECT_THAT(frontEnd.model.written(0x08000010), ElementsAre(0x0730u));
}

TEST_F(TransmitterFpgaTest, A5OnOnePinIs0610) {
    transmitter.setProperty("pins", "0,1");
    transmitter.program("a5", 0);
    EXPECT_THAT(frontEnd.model.written(0x08000010), ElementsAre(0x0610u));
}

TEST_F(TransmitterFpgaTest, PatternsThatTheUnitCannotSendLeaveTheRegistersAlone) {
    transmitter.setProperty("pins", "0,1");
    for (const char* name : {"walk", "lfsr", "ramp0", "ramp1", "F0", ""}) {
        expectFailure([&] { transmitter.program(name, 0); }, eVALUE, "invalid program for transmitter type");
    }
    EXPECT_THAT(frontEnd.model.log(), ElementsAre());
}

TEST_F(TransmitterFpgaTest, WithoutAnyNameThereIsNothingToSend) {
    transmitter.setProperty("pins", "0,1");
    expectFailure([&] { transmitter.program(nullptr, 0); }, eVALUE, "invalid program for transmitter type");
}

TEST_F(TransmitterFpgaTest, OtherPinCountsFailAfterTheNewPattern) {
    for (const char* pins : {"0,1,2,3", "0", "0,1,2,3,4,5"}) {
        transmitter.setProperty("pins", "0,1");
        transmitter.program("f0", 0);
        frontEnd.model.clearLog();
        transmitter.setProperty("pins", pins);
        expectFailure([&] { transmitter.program("a5", 0); }, eVALUE, "invalid number of pins");
        EXPECT_THAT(frontEnd.model.log(), ElementsAre()) << pins;
        bool synced = true;
        // The new pattern, which has no image for that many pins, not the old one.
        EXPECT_THROW(transmitter.getPattern()->check(0, 0, synced), Exception) << pins;
    }
}

TEST_F(TransmitterFpgaTest, WithoutPinsThereIsNoWidth) {
    expectFailure([&] { transmitter.program("f0", 0); }, eVALUE, "invalid number of pins");
    EXPECT_THAT(frontEnd.model.log(), ElementsAre());
}

TEST_F(TransmitterFpgaTest, ANullNameRepeatsCalibrationAsF0) {
    transmitter.setProperty("pins", "0,1");
    transmitter.program("calibration", 0);
    transmitter.program(nullptr, 0);
    EXPECT_THAT(frontEnd.model.written(0x08000010), ElementsAre(0x0510u, 0x0510u));
}

TEST_F(TransmitterFpgaTest, ANullNameAfterARampFails) {
    transmitter.setProperty("pins", "0,1");
    for (const char* name : {"ramp", "verification", "none"}) {
        transmitter.program(name, 0);
        expectFailure([&] { transmitter.program(nullptr, 0); }, eVALUE, "invalid program for transmitter type");
    }
}

TEST_F(TransmitterFpgaTest, ANameThatCannotBeSentIsTakenAllTheSame) {
    transmitter.setProperty("pins", "0,1");
    for (const char* name : {"walk", ""}) {
        transmitter.program("f0", 0);
        expectFailure([&] { transmitter.program(name, 0); }, eVALUE, "invalid program for transmitter type");
        expectFailure([&] { transmitter.program(nullptr, 0); }, eVALUE, "invalid program for transmitter type");
    }
}

TEST_F(TransmitterFpgaTest, ThePatternIsTheOneThatIsSent) {
    transmitter.setProperty("pins", "0,1,2,3,4");
    transmitter.program("verification", 0);
    EXPECT_TRUE(accepts(*transmitter.getPattern(), {0x1234, 0x5678, 0x9ABC, 0xDEF0}));
    transmitter.program("none", 0);
    EXPECT_TRUE(accepts(*transmitter.getPattern(), {0x1234, 0x5678, 0x9ABC, 0xDEF0}));
    transmitter.program("calibration", 0);
    EXPECT_TRUE(accepts(*transmitter.getPattern(), {0x0F0F}));
    transmitter.program("a5", 0);
    EXPECT_TRUE(accepts(*transmitter.getPattern(), {0x5A5A}));
}

TEST_F(TransmitterFpgaTest, EveryShutdownStopsThePattern) {
    transmitter.shutdown();
    transmitter.shutdown();
    EXPECT_THAT(frontEnd.model.log(), ElementsAre("write 08000010=0000", "write 08000010=0000"));
}

TEST_F(TransmitterFpgaTest, TheRestIsThatOfTheBase) {
    transmitter.end(true);
    transmitter.flush();
    transmitter.reset();
    EXPECT_EQ(transmitter.numFrequencySettings(), 1u);
    EXPECT_FALSE(transmitter.hasTriggered());
    EXPECT_THAT(frontEnd.model.log(), ElementsAre());
}

TEST_F(TransmitterFpgaTest, FailuresOfTheUnitPassThrough) {
    transmitter.setProperty("pins", "0,1");
    frontEnd.model.failNext(Call::Write, "failed to write to server");
    EXPECT_THROW(transmitter.program("f0", 0), std::runtime_error);
    frontEnd.model.failNext(Call::Write, "failed to write to server");
    EXPECT_THROW(transmitter.shutdown(), std::runtime_error);
}

TEST_F(TransmitterFpgaTest, LogsItsEntriesAndItsEnd) {
    const LogCapture log;
    {
        TransmitterFpga_1 another(&frontEnd, 0);
        another.shutdown();
    }
    EXPECT_THAT(log.functions(),
                ElementsAre("TransmitterBase_1::TransmitterBase_1", "TransmitterFpga_1::TransmitterFpga_1",
                            "TransmitterFpga_1::shutdown", "TransmitterFpga_1::~TransmitterFpga_1",
                            "TransmitterBase_1::~TransmitterBase_1"));
}

} // namespace transmitter_test
