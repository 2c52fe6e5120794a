#include "bench/wiring/Line.h"
#include "bench/wiring/Wiring.h"
#include "tests/unit/bench/wiring/Ramp.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace bench {
namespace {

bool levelAt(const Waveform& wave, double time) {
    const auto before = std::upper_bound(wave.toggles.begin(), wave.toggles.end(), time) - wave.toggles.begin();
    return wave.first != (before % 2 != 0);
}

Line lineOn(LineSource source, unsigned bit = 0) {
    Line line;
    line.source = source;
    line.bit = bit;
    return line;
}

TEST(DrawLine, CentredDataChangeInTheMiddleBetweenClockEdges) {
    const Transmission sent = rampAt(10.0);
    const Waveform clock = drawLine(sent, lineOn(LineSource::Clock), 0.0, 100.0);
    EXPECT_FALSE(levelAt(clock, 4.9));
    EXPECT_TRUE(levelAt(clock, 5.0));
    EXPECT_TRUE(levelAt(clock, 14.9));
    EXPECT_FALSE(levelAt(clock, 15.0));
    // The ramp's groups are 0, 1, 2, 3: the lowest bit changes in each slot, the next in every other.
    const Waveform lowest = drawLine(sent, lineOn(LineSource::Data, 3), 0.0, 100.0);
    EXPECT_FALSE(levelAt(lowest, 9.9));
    EXPECT_TRUE(levelAt(lowest, 10.0));
    EXPECT_FALSE(levelAt(lowest, 20.0));
    const Waveform next = drawLine(sent, lineOn(LineSource::Data, 2), 0.0, 100.0);
    EXPECT_FALSE(levelAt(next, 19.9));
    EXPECT_TRUE(levelAt(next, 20.0));
    EXPECT_TRUE(levelAt(next, 39.9));
}

TEST(DrawLine, EdgeAlignedDataChangeAtTheClockEdge) {
    Transmission sent = rampAt(10.0);
    sent.alignment = Alignment::Edge;
    const Waveform clock = drawLine(sent, lineOn(LineSource::Clock), 0.0, 100.0);
    EXPECT_TRUE(levelAt(clock, 0.0));
    EXPECT_FALSE(levelAt(clock, 10.0));
}

TEST(DrawLine, EverythingIsLowBeforeTheStart) {
    const Transmission sent = rampAt(10.0);
    const Waveform clock = drawLine(sent, lineOn(LineSource::Clock), -50.0, 50.0);
    EXPECT_FALSE(clock.first);
    EXPECT_EQ(clock.toggles.front(), 5.0);
}

TEST(DrawLine, SkewMovesBothEdgesAndLateFallTheFallsOnly) {
    const Transmission sent = rampAt(10.0);
    Line line = lineOn(LineSource::Clock);
    line.timing.skew = 1.5;
    line.timing.lateFall = 0.5;
    const Waveform wave = drawLine(sent, line, 0.0, 100.0);
    ASSERT_GE(wave.toggles.size(), 4U);
    EXPECT_DOUBLE_EQ(wave.toggles[0], 6.5);
    EXPECT_DOUBLE_EQ(wave.toggles[1], 17.0);
    EXPECT_DOUBLE_EQ(wave.toggles[2], 26.5);
    EXPECT_DOUBLE_EQ(wave.toggles[3], 37.0);
}

TEST(DrawLine, JitterHasTheGivenSpreadAndIsTheSameEachTime) {
    const Transmission sent = rampAt(14.0);
    Line line = lineOn(LineSource::Clock);
    line.timing.jitter = 0.3;
    line.timing.seed = 4;
    const Waveform wave = drawLine(sent, line, 0.0, 280000.0);
    double squares = 0.0;
    for (std::size_t index = 0; index < wave.toggles.size(); ++index) {
        const double error = wave.toggles[index] - (static_cast<double>(index) * 14.0 + 7.0);
        squares += error * error;
    }
    EXPECT_NEAR(std::sqrt(squares / static_cast<double>(wave.toggles.size())), 0.3, 0.01);
    // A later window shows the same edges.
    const Waveform later = drawLine(sent, line, 14000.0, 14100.0);
    for (const double toggle : later.toggles) {
        EXPECT_NE(std::find(wave.toggles.begin(), wave.toggles.end(), toggle), wave.toggles.end());
    }
}

TEST(DrawLine, GlitchesHaveTheGivenRateAndLength) {
    const Transmission sent = rampAt(14.0);
    Line line = lineOn(LineSource::Constant);
    line.timing.glitchEvery = 500.0;
    line.timing.glitchLength = 1.5;
    const Waveform wave = drawLine(sent, line, 0.0, 100000.0);
    EXPECT_NEAR(static_cast<double>(wave.toggles.size()) / 2.0, 200.0, 3.0);
    for (std::size_t index = 0; index + 1 < wave.toggles.size(); index += 2) {
        EXPECT_NEAR(wave.toggles[index + 1] - wave.toggles[index], 1.5, 1e-9);
    }
}

TEST(DrawLine, AFloatingInputChangesSlowly) {
    const Transmission sent = rampAt(14.0);
    const Waveform wave = drawLine(sent, lineOn(LineSource::Floating), 0.0, 512000.0);
    EXPECT_NEAR(static_cast<double>(wave.toggles.size()), 1000.0, 150.0);
}

// --- the signals at the receiver inputs ---

TEST(Wiring, TheConnectorsPinsReachTheirInputs) {
    const std::array<unsigned, 6> inputs{4, 5, 2, 3, 6, 7};
    for (unsigned emu = 0; emu < inputs.size(); ++emu) {
        EXPECT_EQ(receiverInputOfEmu(emu), inputs[emu]);
        EXPECT_EQ(emuOfReceiverInput(inputs[emu]), emu);
    }
    EXPECT_EQ(emuOfReceiverInput(0), std::nullopt);
    EXPECT_EQ(emuOfReceiverInput(8), std::nullopt);
}

TEST(Wiring, TheHighestBitIsTheTopOfTheGroup) {
    const WiringSettings wiring;
    EXPECT_EQ(lineAtReceiver(wiring, pins, 4, 0.0).source, LineSource::Clock);
    EXPECT_EQ(lineAtReceiver(wiring, pins, 6, 0.0).bit, 0U); // EMU 4 carries bit 3
    EXPECT_EQ(lineAtReceiver(wiring, pins, 5, 0.0).bit, 3U); // EMU 1 carries bit 0
    EXPECT_EQ(lineAtReceiver(wiring, pins, 7, 0.0).source, LineSource::Constant);
    EXPECT_EQ(lineAtReceiver(wiring, pins, 1, 0.0).source, LineSource::Constant);
}

TEST(Wiring, SwappedPinsCarryEachOthersSignalAndKeepTheirOwnWiring) {
    WiringSettings wiring;
    PinWiring pin;
    pin.emu = 1;
    pin.swappedWith = 4;
    pin.skew = 2.0;
    wiring.pins.push_back(pin);
    const Line first = lineAtReceiver(wiring, pins, receiverInputOfEmu(1), 0.0);
    EXPECT_EQ(first.bit, 0U);
    EXPECT_EQ(first.timing.skew, 2.0);
    const Line second = lineAtReceiver(wiring, pins, receiverInputOfEmu(4), 0.0);
    EXPECT_EQ(second.bit, 3U);
    EXPECT_EQ(second.timing.skew, 0.0);
}

TEST(Wiring, StuckAndOpenPinsCarryNoSignal) {
    WiringSettings wiring;
    PinWiring stuck;
    stuck.emu = 1;
    stuck.stuck = 1;
    PinWiring open;
    open.emu = 2;
    open.open = true;
    wiring.pins = {stuck, open};
    const Line high = lineAtReceiver(wiring, pins, receiverInputOfEmu(1), 0.0);
    EXPECT_EQ(high.source, LineSource::Constant);
    EXPECT_TRUE(high.level);
    EXPECT_EQ(lineAtReceiver(wiring, pins, receiverInputOfEmu(2), 0.0).source, LineSource::Floating);
}

TEST(Wiring, APinsJitterOverridesTheBusAndDriftAddsUp) {
    WiringSettings wiring;
    wiring.jitter = 0.2;
    PinWiring pin;
    pin.emu = 3;
    pin.jitter = 0.0;
    pin.skew = 1.0;
    pin.drift = 0.5;
    wiring.pins.push_back(pin);
    EXPECT_EQ(lineAtReceiver(wiring, pins, receiverInputOfEmu(2), 0.0).timing.jitter, 0.2);
    const Line line = lineAtReceiver(wiring, pins, receiverInputOfEmu(3), 4.0);
    EXPECT_EQ(line.timing.jitter, 0.0);
    EXPECT_EQ(line.timing.skew, 3.0);
    EXPECT_NE(lineAtReceiver(wiring, pins, receiverInputOfEmu(2), 0.0).timing.seed, line.timing.seed);
}

TEST(Wiring, TheGeneratorDrivesTheProcsThemselves) {
    EXPECT_EQ(lineOfGenerator(0, 4).source, LineSource::Clock);
    EXPECT_EQ(lineOfGenerator(1, 4).bit, 0U);
    EXPECT_EQ(lineOfGenerator(4, 4).bit, 3U);
    EXPECT_EQ(lineOfGenerator(5, 4).source, LineSource::Constant);
}

} // namespace
} // namespace bench
