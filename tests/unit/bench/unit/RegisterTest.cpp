#include "tests/unit/bench/unit/UnitFixture.h"

#include <cmath>

namespace bench {
namespace {

class UnitRegisters : public UnitFixture {
protected:
    double measure(std::uint32_t cpi = 1000000) {
        write(reg::windowLow(0), cpi & 0xFFFF);
        write(reg::windowHigh(0), (cpi >> 16) & 0xFF);
        pass(12.0 * cpi / 1050e6 + 0.001);
        const double count = read(reg::countLow(0)) + 65536.0 * read(reg::countHigh(0));
        return count * 1050e6 / (8.0 * cpi * 3.0);
    }

    void trigger() {
        for (const std::uint32_t value : {0x001FU, 0x801FU, 0x0000U}) {
            write(reg::capture, value);
        }
    }
};

TEST_F(UnitRegisters, KeepWhatIsWritten) {
    make();
    write(0x8008120, 0x1234);
    EXPECT_EQ(read(0x8008120), 0x1234U);
    EXPECT_EQ(read(0x8008122), 0U);
    unit->write(reg::kindBridge, 0x1C70000, 0x12345678);
    EXPECT_EQ(unit->read(reg::kindBridge, 0x1C70000), 0x12345678U);
    EXPECT_EQ(read(0x1C70000), 0U);
}

TEST_F(UnitRegisters, TheClockIsFiftyMegahertzTimesTwentyOneByThree) {
    make();
    write(0x8000032, 1);
    EXPECT_EQ(read(0x8000032), 0x02FAU);
    EXPECT_EQ(read(0x8000030), 0xF080U);
    EXPECT_EQ(read(0x8000034), 0x1503U);
}

TEST_F(UnitRegisters, TheCounterMeasuresTheClockOfTheTarget) {
    scenario.transmitter.frequencies = {11.0, 12e6, 50e6, 120e6};
    make();
    setProcs(4);
    EXPECT_EQ(measure(), 0.0);
    for (unsigned setting = 1; setting < 4; ++setting) {
        program("f0", 4, setting);
        EXPECT_NEAR(measure(), scenario.transmitter.frequencies[setting], 100.0);
    }
    unit->shutdownTarget();
    EXPECT_EQ(measure(), 0.0);
}

TEST_F(UnitRegisters, TheCounterCountsBothEdgesOverItsWindow) {
    scenario.transmitter.frequencies = {25e6};
    make();
    setProcs(4);
    program("f0");
    measure(1000000);
    // 12e6 / 1.05e9 seconds of 25 MHz, two edges a period.
    EXPECT_NEAR(read(reg::countLow(0)) + 65536.0 * read(reg::countHigh(0)), 571428.57, 1.0);
    EXPECT_NEAR(measure(0x123456), 25e6, 50.0);
    measure(0);
    EXPECT_EQ(read(reg::countLow(0)) + read(reg::countHigh(0)), 0U) << "no window, no edges";
}

TEST_F(UnitRegisters, TheCountIsKeptUntilTheNextWindowEnds) {
    scenario.transmitter.frequencies = {25e6, 50e6};
    make();
    setProcs(4);
    program("f0");
    measure();
    const std::uint32_t before = read(reg::countLow(0));
    program("f0", 4, 1);
    write(reg::windowLow(0), 1000000 & 0xFFFF);
    pass(0.005);
    EXPECT_EQ(read(reg::countLow(0)), before);
    pass(0.010);
    EXPECT_NE(read(reg::countLow(0)), before);
}

TEST_F(UnitRegisters, AStoppedClockCountsNothingAndAStuckPinNeither) {
    scenario.transmitter.frequencies = {0.0, 50e6};
    PinWiring stuck;
    stuck.emu = 0;
    stuck.stuck = 1;
    make();
    setProcs(4);
    program("f0");
    EXPECT_EQ(measure(), 0.0);
    scenario.wiring.pins.push_back(stuck);
    make();
    setProcs(4);
    program("f0", 4, 1);
    EXPECT_EQ(measure(), 0.0);
}

TEST_F(UnitRegisters, DebounceHidesGlitchesOnTheClockFromTheCounter) {
    PinWiring noisy;
    noisy.emu = 0;
    noisy.glitchEvery = 1000.0;
    noisy.glitchLength = 1.5;
    scenario.wiring.pins.push_back(noisy);
    make();
    setProcs(4);
    program("f0");
    EXPECT_NEAR(measure(), 50e6, 100.0); // debounce 4: pulses below 2 samples
    write(reg::procSecond(0, 0), 0x7802);
    EXPECT_NEAR(measure(), 50e6 * 1.028, 1e4); // 28 samples in 1000 have one glitch more: two edges
}

TEST_F(UnitRegisters, ABurstFillsAllFifosAndEachReadPops) {
    make();
    setProcs(4);
    program("f0");
    pass(0.001);
    EXPECT_EQ(read(reg::fifoStatus(0)), 0U);
    EXPECT_EQ(read(reg::fifoData(0)), 0U);
    trigger();
    for (unsigned proc = 0; proc < reg::procs; ++proc) {
        EXPECT_EQ(read(reg::fifoStatus(proc)), 0x200U);
    }
    read(reg::fifoData(1));
    EXPECT_EQ(read(reg::fifoStatus(1)), 511U);
    for (unsigned word = 1; word < 512; ++word) {
        read(reg::fifoData(1));
    }
    EXPECT_EQ(read(reg::fifoStatus(1)), 0U);
    EXPECT_EQ(read(reg::fifoStatus(2)), 0x200U);
}

TEST_F(UnitRegisters, ABurstStartsAtTheSameTimeForAllPins) {
    unit.emplace(scenario, [this] { return now += 12345; });
    setProcs(4);
    // Two procs have the same input.
    write(reg::procFirst(0, 2), read(reg::procFirst(0, 1)));
    program("ramp");
    trigger();
    for (unsigned word = 0; word < 512; ++word) {
        ASSERT_EQ(read(reg::fifoData(1)), read(reg::fifoData(2))) << word;
    }
}

TEST_F(UnitRegisters, ATriggerDiscardsOldSamplesAndASyncDoesNot) {
    make();
    setProcs(4);
    program("f0");
    trigger();
    read(reg::fifoData(0));
    for (const std::uint32_t value : {0x0000U, 0x0800U, 0x0000U}) {
        write(reg::capture, value);
    }
    EXPECT_EQ(read(reg::fifoStatus(0)), 511U);
    trigger();
    EXPECT_EQ(read(reg::fifoStatus(0)), 0x200U);
}

TEST_F(UnitRegisters, ABurstShowsTheSignalOfEachProcsInput) {
    scenario.transmitter.frequencies = {25e6};
    make();
    setProcs(4);
    program("ramp");
    pass(0.0001);
    trigger();
    // 25 MHz: 28 samples in each half period, so that a clock changes 292 times in a burst.
    std::array<int, 5> edges{};
    for (unsigned proc = 0; proc < edges.size(); ++proc) {
        bool before = false;
        for (unsigned word = 0; word < 512; ++word) {
            const std::uint32_t samples = read(reg::fifoData(proc));
            for (unsigned bit = 0; bit < 16; ++bit) {
                const bool level = ((samples >> bit) & 1) != 0;
                edges[proc] += level != before && word + bit != 0 ? 1 : 0;
                before = level;
            }
        }
    }
    EXPECT_NEAR(edges[0], 292, 2);
    EXPECT_GT(edges[4], 200); // the lowest bit of the ramp
    EXPECT_LT(edges[1], 100); // the highest
    EXPECT_GT(edges[1], 5);
}

TEST_F(UnitRegisters, ErrorsReadZeroUnlessSetByTheScenarioAndAWriteClearsThem) {
    make();
    setProcs(4);
    beginRecording(0x40000, 1);
    EXPECT_EQ(read(reg::errorA(0)), 0U);
    scenario.unit.errorA = 0x8000;
    scenario.unit.errorB = 0x4000;
    scenario.unit.errorAfter = 0.5;
    make();
    setProcs(4);
    write(reg::errorA(0), 0xF800);
    EXPECT_EQ(read(reg::errorA(0)), 0U);
    beginRecording(0x40000, 1);
    program("f0");
    pass(0.4);
    EXPECT_EQ(read(reg::errorA(0)), 0U);
    pass(0.2);
    EXPECT_EQ(read(reg::errorA(0)), 0x8000U);
    EXPECT_EQ(read(reg::errorB(0)), 0x4000U);
    write(reg::errorB(0), 0x800F);
    EXPECT_EQ(read(reg::errorA(0)), 0U);
    EXPECT_EQ(read(reg::errorB(0)), 0U);
}

TEST_F(UnitRegisters, CommsBecomeIdleSoonAfterCaptureEnableIsCleared) {
    make();
    EXPECT_EQ(read(reg::commsStatus(0)) & 0x9F, 0x80U);
    write(reg::stmControl(0), 1);
    EXPECT_NE(read(reg::commsStatus(0)) & 0x9F, 0x80U);
    write(reg::stmControl(0), 0);
    EXPECT_NE(read(reg::commsStatus(0)) & 0x9F, 0x80U);
    pass(0.001);
    EXPECT_EQ(read(reg::commsStatus(0)) & 0x9F, 0x80U);
    scenario.unit.commsStuck = true;
    make();
    EXPECT_NE(read(reg::commsStatus(0)) & 0x9F, 0x80U);
}

TEST_F(UnitRegisters, TheBridgeRequestsAResetOnlyIfTheScenarioSetsIt) {
    make();
    EXPECT_EQ(unit->read(reg::kindBridge, reg::bridgeStatus) & 2, 0U);
    scenario.unit.bridgeNeedsReset = true;
    make();
    EXPECT_EQ(unit->read(reg::kindBridge, reg::bridgeStatus) & 2, 2U);
    unit->write(reg::kindBridge, reg::bridgeControl, 4);
    unit->write(reg::kindBridge, reg::bridgeControl, 0);
    EXPECT_EQ(unit->read(reg::kindBridge, reg::bridgeStatus) & 2, 0U);
}

TEST_F(UnitRegisters, ThePatternControlRunsAndStopsTheUnitsOwnGenerator) {
    scenario.unit.generatorFrequency = 40e6;
    make();
    setProcs(4);
    write(reg::patternControl, 0x0730);
    EXPECT_NEAR(measure(), 40e6, 100.0);
    write(reg::patternControl, 0);
    EXPECT_EQ(measure(), 0.0);
    write(reg::patternControl, 0x0430);
    EXPECT_EQ(measure(), 0.0) << "no such pattern";
}

} // namespace
} // namespace bench
