// Edges that depend on what the lines carry: a line's own memory, and its neighbours.
#include "bench/signal/SlotLevels.h"
#include "bench/wiring/ContentShift.h"
#include "bench/wiring/Wiring.h"
#include "tests/unit/bench/wiring/Ramp.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <string_view>

namespace bench {
namespace {

using testing::ElementsAre;

// The levels of lines, one text of slots for each, '0' and '1'. Slots before the first are low.
struct Levels {
    std::vector<std::string> lines;
    bool operator()(unsigned line, std::int64_t slot) const {
        return slot >= 0 && lines.at(line).at(static_cast<std::size_t>(slot)) == '1';
    }
};

std::string repeated(std::string_view text, int times) {
    std::string all;
    for (int count = 0; count < times; ++count) {
        all += text;
    }
    return all;
}

Line dataLine(double memory, double coupling = 0.0, std::vector<unsigned> neighbours = {}) {
    Line line;
    line.source = LineSource::Data;
    line.timing.memory = memory;
    line.timing.coupling = coupling;
    line.neighbours = std::move(neighbours);
    return line;
}

double shiftIn(const Line& line, double halfPeriod, const Levels& levels, std::int64_t slot) {
    return ContentShift(line, halfPeriod).shiftAt(slot, levels);
}

// The time at which a line driven through these slots crosses the threshold, by integration in small steps.
double crossingByIntegration(const std::string& slots, double halfPeriod, double memory) {
    constexpr double step = 1e-4;
    double state = 0.0;
    double time = 0.0;
    const double last = static_cast<double>(slots.size() - 1) * halfPeriod;
    const auto level = [&] { return slots[static_cast<std::size_t>(time / halfPeriod + 1e-9)] == '1' ? 1.0 : 0.0; };
    for (; time < last - step / 2.0; time += step) {
        state += (level() - state) * step / memory;
    }
    const bool rises = slots.back() == '1';
    for (time = 0.0; rises ? state < 0.5 : state > 0.5; time += step) {
        state += ((rises ? 1.0 : 0.0) - state) * step / memory;
    }
    return time;
}

TEST(LineMemory, EdgesComeWhenTheStepResponseCrossesTheThreshold) {
    constexpr double half = 7.0;
    constexpr double memory = 4.0;
    const double toggling = crossingByIntegration(repeated("10", 12), half, memory);
    const std::string before = repeated("01", 10);
    for (const std::string run : {"0", "00", "0000", "01110", "0010", "1110", "11101", "00000000", "0110100"}) {
        const std::string slots = before + run + (run.back() == '1' ? '0' : '1');
        const double expected = crossingByIntegration(slots, half, memory) - toggling;
        EXPECT_NEAR(shiftIn(dataLine(memory), half, {{slots}}, static_cast<std::int64_t>(slots.size()) - 1), expected,
                    1e-3)
            << run;
    }
}

TEST(LineMemory, ALineThatAlwaysTogglesIsNotShifted) {
    for (const double memory : {0.5, 2.0, 5.0}) {
        EXPECT_NEAR(shiftIn(dataLine(memory), 6.0, {{repeated("01", 60)}}, 100), 0.0, 1e-9) << memory;
    }
}

TEST(LineMemory, TheLongestRunHasTheLatestEdgeAndTheSlotAfterItTheEarliest) {
    constexpr double half = 7.0;
    constexpr double memory = 4.0;
    const double q = std::exp(-half / memory);
    const LineMemory response(memory, half);
    EXPECT_NEAR(response.latest(), memory * std::log(1.0 + q), 1e-12);
    EXPECT_NEAR(response.earliest(), memory * std::log(1.0 - q * q), 1e-12);
    EXPECT_NEAR(response.latest(), 0.6409, 0.0001);
    const Levels levels{{std::string(40, '0') + "10"}};
    EXPECT_NEAR(shiftIn(dataLine(memory), half, levels, 40), response.latest(), 1e-8);
    EXPECT_NEAR(shiftIn(dataLine(memory), half, levels, 41), response.earliest(), 1e-8);
    // Edges of any content are in between.
    const Levels random{{"0110100110010110100101100110100110010110011010010110100110010110"}};
    for (std::int64_t slot = 1; slot < 64; ++slot) {
        const double shift = shiftIn(dataLine(memory), half, random, slot);
        if (random(0, slot) != random(0, slot - 1)) {
            EXPECT_GE(shift, response.earliest() - 1e-9);
            EXPECT_LE(shift, response.latest() + 1e-9);
        }
    }
}

TEST(LineMemory, AShortTimeConstantOrASlowClockForgetsEachSlot) {
    EXPECT_LT(LineMemory(0.6, 5.8).latest(), 1e-4);
    EXPECT_LT(LineMemory(4.0, 28.0).latest(), 0.004);
    EXPECT_EQ(LineMemory(0.0, 7.0).latest(), 0.0);
    EXPECT_EQ(LineMemory(0.0, 7.0).earliest(), 0.0);
}

TEST(LineMemory, TheLongestTimeConstantPassesSingleSlotsOfEveryUsableClock) {
    // 200 MHz; calibration ends at 120.
    const LineMemory response(PinWiring::longestMemory, 3.5);
    EXPECT_GT(3.5 + response.earliest() - response.latest(), 0.0);
}

TEST(Coupling, ANeighbourThatGoesTheSameWayPullsAnEdgeAndAnOppositeOneHoldsIt) {
    const Line line = dataLine(0.0, 0.5, {1, 2});
    const auto shift = [&](const char* own, const char* first, const char* second) {
        return shiftIn(line, 7.0, {{own, first, second}}, 1);
    };
    EXPECT_EQ(shift("01", "00", "11"), 0.0);
    EXPECT_EQ(shift("01", "01", "11"), -0.5);
    EXPECT_EQ(shift("01", "10", "00"), 0.5);
    EXPECT_EQ(shift("01", "10", "01"), 0.0);
    EXPECT_EQ(shift("10", "01", "01"), 1.0);
    EXPECT_EQ(shift("10", "10", "10"), -1.0);
    EXPECT_EQ(ContentShift(line, 7.0).latest(), 1.0);
    EXPECT_EQ(ContentShift(line, 7.0).earliest(), -1.0);
}

TEST(ContentShift, AddsMemoryAndCoupling) {
    const Levels levels{{std::string(40, '0') + "1", std::string(40, '1') + "0"}};
    const double memory = shiftIn(dataLine(4.0), 7.0, levels, 40);
    EXPECT_NEAR(shiftIn(dataLine(4.0, 0.5, {1}), 7.0, levels, 40), memory + 0.5, 1e-12);
}

TEST(ContentShift, NeighboursShortenASingleSlotByOneShiftEach) {
    const Line line = dataLine(0.0, 0.5, {1, 2});
    const ContentShift content(line, 7.0);
    double shortest = 0.0;
    for (unsigned bits = 0; bits < 64; ++bits) { // three slots of two neighbours
        Levels levels{{"010", "000", "000"}};
        for (unsigned slot = 0; slot < 3; ++slot) {
            levels.lines[1][slot] = (bits >> slot & 1U) != 0 ? '1' : '0';
            levels.lines[2][slot] = (bits >> (3 + slot) & 1U) != 0 ? '1' : '0';
        }
        shortest = std::min(shortest, content.shiftAt(2, levels) - content.shiftAt(1, levels));
    }
    EXPECT_EQ(shortest, -1.0);
    EXPECT_EQ(content.shortest(), shortest);
}

TEST(ContentShift, IsNoneForClocksAndForLinesWithoutNeighbours) {
    Line clock = dataLine(4.0, 0.5, {1});
    clock.source = LineSource::Clock;
    EXPECT_FALSE(ContentShift(clock, 7.0).any());
    EXPECT_FALSE(ContentShift(dataLine(0.0, 0.5), 7.0).any());
    EXPECT_FALSE(ContentShift(dataLine(0.0, 0.0, {1}), 7.0).any());
    EXPECT_TRUE(ContentShift(dataLine(0.1), 7.0).any());
}

// --- the drawn line ---

TEST(DrawLine, EveryEdgeIsShiftedByItsContent) {
    const Transmission sent = rampAt(7.0);
    Line usual = dataLine(0.0);
    usual.bit = 2;
    Line shifted = dataLine(4.0, 0.3, {1, 3});
    shifted.bit = 2;
    const Waveform before = drawLine(sent, usual, 0.0, 2000.0);
    const Waveform after = drawLine(sent, shifted, 0.0, 2000.0);
    ASSERT_EQ(before.toggles.size(), after.toggles.size());
    SlotLevels levels(sent.words, 4);
    const ContentShift content(shifted, 7.0);
    for (std::size_t index = 0; index < before.toggles.size(); ++index) {
        const auto slot = static_cast<std::int64_t>(std::round(before.toggles[index] / 7.0));
        EXPECT_NEAR(after.toggles[index] - before.toggles[index], content.shiftAt(slot, levels), 1e-9) << slot;
    }
    // The same edges from a later window.
    const Waveform later = drawLine(sent, shifted, 1000.0, 1100.0);
    for (const double toggle : later.toggles) {
        const auto found = std::lower_bound(after.toggles.begin(), after.toggles.end(), toggle - 1e-6);
        ASSERT_NE(found, after.toggles.end());
        EXPECT_NEAR(*found, toggle, 1e-6);
    }
}

TEST(DrawLine, APulseWhoseEdgesMeetVanishes) {
    // The ramp's second bit rises against the first, and falls with it: every other time with the third bit, too, which
    // makes a pulse of 4 samples 6 shorter.
    const Transmission sent = rampAt(2.0);
    Line usual = dataLine(0.0);
    usual.bit = 2;
    Line shifted = dataLine(0.0, 2.0, {1, 3});
    shifted.bit = 2;
    const Waveform before = drawLine(sent, usual, 0.0, 2000.0);
    const Waveform wave = drawLine(sent, shifted, 0.0, 2000.0);
    EXPECT_TRUE(std::is_sorted(wave.toggles.begin(), wave.toggles.end()));
    EXPECT_NEAR(static_cast<double>(wave.toggles.size()), static_cast<double>(before.toggles.size()) / 2.0, 2.0);
}

// --- neighbours at the connector ---

WiringSettings coupledWiring(std::vector<PinWiring> more = {}) {
    WiringSettings wiring;
    wiring.pins = std::move(more);
    for (unsigned emu = 0; emu < 6; ++emu) {
        auto found = std::find_if(wiring.pins.begin(), wiring.pins.end(), [&](auto& pin) { return pin.emu == emu; });
        if (found == wiring.pins.end()) {
            PinWiring pin;
            pin.emu = emu;
            found = wiring.pins.insert(wiring.pins.end(), pin);
        }
        found->coupling = 0.5;
    }
    return wiring;
}

std::vector<unsigned> neighboursOf(const WiringSettings& wiring, unsigned emu) {
    return lineAtReceiver(wiring, pins, receiverInputOfEmu(emu), 0.0).neighbours;
}

TEST(Wiring, NeighboursAreTheDataPinsNextOnTheConnector) {
    const WiringSettings wiring = coupledWiring();
    EXPECT_THAT(neighboursOf(wiring, 1), ElementsAre(2U)) << "the clock is none";
    EXPECT_THAT(neighboursOf(wiring, 2), ElementsAre(3U, 1U));
    EXPECT_THAT(neighboursOf(wiring, 4), ElementsAre(1U)) << "nothing is driven on EMU 5";
    EXPECT_THAT(neighboursOf(wiring, 0), ElementsAre());
    EXPECT_THAT(neighboursOf(WiringSettings(), 2), ElementsAre()) << "without coupling they do not matter";
}

TEST(Wiring, AWireWithoutASignalDisturbsNoNeighbourAndASwappedOneDoesSoWithItsOwn) {
    PinWiring stuck;
    stuck.emu = 1;
    stuck.stuck = 1;
    PinWiring open;
    open.emu = 3;
    open.open = true;
    EXPECT_THAT(neighboursOf(coupledWiring({stuck, open}), 2), ElementsAre());
    PinWiring swapped;
    swapped.emu = 1;
    swapped.swappedWith = 4;
    EXPECT_THAT(neighboursOf(coupledWiring({swapped}), 2), ElementsAre(0U, 1U));
}

} // namespace
} // namespace bench
