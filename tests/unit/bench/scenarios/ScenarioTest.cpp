#include "bench/scenarios/Scenario.h"
#include "tests/unit/bench/scenarios/FailureOf.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace bench {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

TEST(Scenario, AnEmptyFileHasTheDefaults) {
    const Scenario scenario = parseScenario("", "file.toml");
    EXPECT_EQ(scenario.kind, ExportKind::Pti);
    EXPECT_EQ(scenario.pins, 4U);
    EXPECT_THAT(scenario.transmitter.frequencies, ElementsAre(50e6));
    EXPECT_EQ(scenario.transmitter.syncEvery, 64U);
    EXPECT_EQ(scenario.wiring.alignment, Alignment::Center);
    EXPECT_EQ(scenario.faults.version, 1U);
    EXPECT_TRUE(scenario.expect.empty());
}

TEST(Scenario, EveryKeyIsRead) {
    const Scenario scenario = parseScenario(R"(
name = "a"
about = "b"
cpu = "c"
kind = "tpiu"
pins = 2
pin_map = "0,1,2"
[settings]
buffer = 3
stop_on_full = true
sync = true
[transmitter]
frequencies = [1e6, 2000000]
sync_every = 0
fail = ["enablePort"]
idle_word = 0x7FFF
idle_before = 5
trace_status = 9
[unit]
generator_frequency = 25e6
error_a = 0x8000
error_b = 1
error_after = 0.5
error_from = 3
comms_stuck = true
bridge_needs_reset = true
[[unit.cell]]
byte = 0x40001
every = 512
bit = 7
stuck = 0
from_recording = 2
[wiring]
alignment = "edge"
jitter = 0.25
seed = 7
drift_stays = true
[[wiring.pin]]
emu = 2
skew = -1
late_fall = 0.5
jitter = 0
stuck = 1
open = true
swapped_with = 3
glitch_every = 100
glitch_length = 2
drift = 4
memory = 2.5
coupling = 0.75
[server]
speed = 10
[faults]
version = 2
refuse_second = true
exit_at_start = true
[[faults.at]]
command = "m"
nth = 3
action = "cut"
seconds = 0.5
byte = 4
code = 5
text = "t"
detail = "d"
)",
                                            "file.toml");
    EXPECT_EQ(scenario.name + scenario.about + scenario.cpu + scenario.pinMap, "abc0,1,2");
    EXPECT_EQ(scenario.kind, ExportKind::Tpiu);
    EXPECT_EQ(scenario.pins, 2U);
    EXPECT_EQ(scenario.settings.buffer, 3U);
    EXPECT_TRUE(scenario.settings.stopOnFull && scenario.settings.sync);
    EXPECT_THAT(scenario.transmitter.frequencies, ElementsAre(1e6, 2e6));
    EXPECT_EQ(scenario.transmitter.syncEvery, 0U);
    EXPECT_THAT(scenario.transmitter.fail, ElementsAre("enablePort"));
    EXPECT_EQ(scenario.transmitter.idleWord, 0x7FFF);
    EXPECT_EQ(scenario.transmitter.idleBefore, 5U);
    EXPECT_EQ(scenario.transmitter.traceStatus, 9U);
    EXPECT_EQ(scenario.unit.generatorFrequency, 25e6);
    EXPECT_EQ(scenario.unit.errorA, 0x8000);
    EXPECT_EQ(scenario.unit.errorB, 1);
    EXPECT_EQ(scenario.unit.errorAfter, 0.5);
    EXPECT_EQ(scenario.unit.errorFrom, 3U);
    EXPECT_TRUE(scenario.unit.commsStuck && scenario.unit.bridgeNeedsReset);
    ASSERT_EQ(scenario.unit.cells.size(), 1U);
    const MemoryCell& cell = scenario.unit.cells[0];
    EXPECT_EQ(cell.byte, 0x40001U);
    EXPECT_EQ(cell.every, 512U);
    EXPECT_EQ(cell.bit, 7U);
    EXPECT_EQ(cell.stuck, 0U);
    EXPECT_EQ(cell.fromRecording, 2U);
    EXPECT_EQ(scenario.wiring.alignment, Alignment::Edge);
    EXPECT_EQ(scenario.wiring.seed, 7U);
    EXPECT_TRUE(scenario.wiring.driftStays);
    const PinWiring pin = scenario.wiring.pin(2);
    EXPECT_EQ(pin.skew, -1.0);
    EXPECT_EQ(pin.lateFall, 0.5);
    EXPECT_EQ(pin.jitter, 0.0);
    EXPECT_EQ(pin.stuck, 1U);
    EXPECT_TRUE(pin.open);
    EXPECT_EQ(pin.swappedWith, 3U);
    EXPECT_EQ(pin.glitchEvery, 100.0);
    EXPECT_EQ(pin.glitchLength, 2.0);
    EXPECT_EQ(pin.drift, 4.0);
    EXPECT_EQ(pin.memory, 2.5);
    EXPECT_EQ(pin.coupling, 0.75);
    EXPECT_EQ(scenario.server.speed, 10.0);
    EXPECT_EQ(scenario.faults.version, 2U);
    EXPECT_TRUE(scenario.faults.refuseSecond && scenario.faults.exitAtStart);
    ASSERT_EQ(scenario.faults.steps.size(), 1U);
    const FaultStep& step = scenario.faults.steps[0];
    EXPECT_EQ(step.command + step.action + step.text + step.detail, "mcuttd");
    EXPECT_EQ(step.nth, 3U);
    EXPECT_EQ(step.seconds, 0.5);
    EXPECT_EQ(step.byte, 4U);
    EXPECT_EQ(step.code, 5U);
}

TEST(Scenario, ExpectationsAreFree) {
    const Scenario scenario = parseScenario(
        "[expect]\noutcome = 'calibrated'\nfrequency = 50e6\nsetting = 2\nthin = false\ntexts = ['a', 'b']\n", "f");
    EXPECT_EQ(scenario.expect.at("outcome"), "calibrated");
    EXPECT_EQ(std::stod(scenario.expect.at("frequency")), 50e6);
    EXPECT_EQ(scenario.expect.at("setting"), "2");
    EXPECT_EQ(scenario.expect.at("thin"), "false");
    EXPECT_EQ(scenario.expect.at("texts"), "a,b");
}

TEST(Scenario, AnUnknownKeyIsNamedWithFileAndLine) {
    EXPECT_EQ(failureOf("name = \"x\"\nnaem = \"y\"\n"),
              "file.toml:2: 'naem' is not known here; known are name, about, cpu, kind, pins, pin_map, settings, "
              "transmitter, unit, wiring, server, faults, environment, names, expect");
    EXPECT_EQ(failureOf("[wiring]\n[[wiring.pin]]\nemu = 1\nslew = 2\n"),
              "file.toml:4: 'wiring.pin.slew' is not known here; known are emu, skew, late_fall, jitter, stuck, open, "
              "swapped_with, glitch_every, glitch_length, drift, memory, coupling");
    EXPECT_EQ(failureOf("[[unit.cell]]\nword = 1\n"),
              "file.toml:2: 'unit.cell.word' is not known here; known are byte, every, bit, stuck, from_recording");
}

TEST(Scenario, WrongValuesAreNamed) {
    EXPECT_THAT(failureOf("kind = \"stm\"\n"), StartsWith("file.toml:1: 'kind' must be one of \"pti\", \"tpiu\""));
    EXPECT_THAT(failureOf("pins = 8\n"), HasSubstr("'pins' must be a whole number from 1 to 7"));
    EXPECT_THAT(failureOf("pins = \"4\"\n"), HasSubstr("'pins' must be a whole number"));
    EXPECT_THAT(failureOf("[transmitter]\nfrequencies = [1e6, \"a\"]\n"),
                HasSubstr("file.toml:2: 'transmitter.frequencies'"));
    EXPECT_THAT(failureOf("[[faults.at]]\naction = \"vanish\"\n"),
                HasSubstr("'faults.at.action' must be one of die, close, hang, "));
    EXPECT_THAT(failureOf("[settings]\nsync = 1\n"), HasSubstr("'settings.sync' must be true or false"));
}

TEST(Scenario, JitterIsLimitedToWhatABurstCanBeComputedWith) {
    EXPECT_EQ(parseScenario("[wiring]\njitter = 1000\n", "f").wiring.jitter, 1000.0);
    EXPECT_THAT(failureOf("[wiring]\njitter = 1001\n"), HasSubstr("'wiring.jitter' must be a number from 0 to 1000"));
    EXPECT_THAT(failureOf("[[wiring.pin]]\njitter = 1e6\n"),
                HasSubstr("'wiring.pin.jitter' must be a number from 0 to 1000"));
}

TEST(Scenario, CellsAreInTheLargestBufferAndHaveEightBits) {
    const auto cell = [](const std::string& line) { return failureOf("[[unit.cell]]\n" + line + "\n"); };
    EXPECT_EQ(cell("byte = 0x7FFFFFF"), "");
    EXPECT_EQ(cell("byte = 0x8000000"), "file.toml:2: 'unit.cell.byte' must be a whole number from 0 to 134217727");
    EXPECT_EQ(cell("every = -1"), "file.toml:2: 'unit.cell.every' must be a whole number from 0 to 134217728");
    EXPECT_EQ(cell("bit = 8"), "file.toml:2: 'unit.cell.bit' must be a whole number from 0 to 7");
    EXPECT_EQ(cell("stuck = 2"), "file.toml:2: 'unit.cell.stuck' must be a whole number from 0 to 1");
    EXPECT_THAT(cell("from_recording = 0"), HasSubstr("'unit.cell.from_recording' must be a whole number from 1 to"));
    EXPECT_EQ(failureOf("[unit]\ncell = 3\n"), "file.toml:2: 'unit.cell' must be a list of tables");
    EXPECT_FALSE(parseScenario("[[unit.cell]]\nbyte = 1\n", "f").unit.cells.at(0).stuck) << "it reads inverted";
}

TEST(Scenario, MemoryAndCouplingAreOffAndHaveTheirRanges) {
    const auto pin = [](const std::string& line) { return failureOf("[[wiring.pin]]\nemu = 1\n" + line + "\n"); };
    EXPECT_EQ(parseScenario("[[wiring.pin]]\nemu = 1\n", "f").wiring.pin(1).memory, 0.0);
    EXPECT_EQ(parseScenario("[[wiring.pin]]\nemu = 1\n", "f").wiring.pin(1).coupling, 0.0);
    for (const std::string value : {"0", "0.0", "5", "5.0"}) {
        EXPECT_EQ(pin("memory = " + value), "");
    }
    for (const std::string value : {"-0.1", "5.001", "nan", "inf", "-inf", "\"2\"", "true", "[1]"}) {
        EXPECT_EQ(pin("memory = " + value), "file.toml:3: 'wiring.pin.memory' must be a number from 0 to 5") << value;
    }
    EXPECT_EQ(pin("coupling = 2"), "");
    for (const std::string value : {"-0.1", "2.001", "nan", "inf", "-inf", "\"1\""}) {
        EXPECT_EQ(pin("coupling = " + value), "file.toml:3: 'wiring.pin.coupling' must be a number from 0 to 2")
            << value;
    }
}

TEST(Scenario, BrokenTomlIsReportedWithItsLine) {
    EXPECT_THAT(failureOf("name = \"x\"\npins = = 4\n"), StartsWith("file.toml:2: "));
}

TEST(Scenario, AMissingFileIsNamed) {
    try {
        loadScenario("no-such-scenario.toml");
        FAIL();
    } catch (const ScenarioError& error) {
        EXPECT_THAT(error.what(), HasSubstr("no-such-scenario.toml: cannot be opened"));
    }
}

} // namespace
} // namespace bench
