#include "bench/signal/WordStream.h"
#include "diagnosis/stream/RecordingCheck.h"
#include "tests/support/bench_client/BenchRig.h"
#include "tests/support/scratch/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <string>
#include <vector>

// A wire that drifts: the check of the stream finds the place where its bits go wrong, in the middle of a recording.

namespace truth {
namespace {

using bench_client::BenchRig;

/// A wire that reaches another bit slot half way, and stays in it.
struct Drift {
    const char* name;
    unsigned pins;
    unsigned emu;
    bench::Alignment alignment;
    bool isLate;
};

constexpr double hertz = 25e6;
constexpr double bit = bench::Unit::sampleRate / (2.0 * hertz);
constexpr double seconds = 0.4;

bench::Scenario drifting(const Drift& drift) {
    bench::Scenario scenario;
    scenario.name = drift.name;
    scenario.pins = drift.pins;
    scenario.transmitter.frequencies = {hertz};
    scenario.wiring.alignment = drift.alignment;
    bench::PinWiring pin;
    pin.emu = drift.emu;
    // The clock edge is about the middle of the bit, which the wire has left after half of the time.
    pin.drift = (drift.isLate ? 0.5 : -0.5) * bit / (0.5 * seconds);
    scenario.wiring.pins.push_back(pin);
    return scenario;
}

/// The first byte of the recording that is not as sent, and the number of bytes.
struct Wrong {
    std::uint64_t first = 0, bytes = 0;
};

Wrong firstWrong(const BenchRig& rig, const std::string& file) {
    const bench::WordStream sent(bench::makeGeneratedTrace(rig.scenario.wiring.seed),
                                 rig.scenario.transmitter.syncEvery);
    std::ifstream in(file, std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    std::uint64_t word = rig.contents->runs.at(0).firstWord;
    for (std::size_t at = 0; at + 1 < bytes.size(); at += 2) {
        if (at % bench::packetBytes == bench::packetBytes - 2) {
            continue; // the packet's trailer
        }
        const auto low = static_cast<unsigned char>(bytes[at]);
        const unsigned high = static_cast<unsigned char>(bytes[at + 1]);
        const unsigned found = low | high << 8;
        if (found != sent.at(word++)) {
            return {at, bytes.size()};
        }
    }
    return {bytes.size(), bytes.size()};
}

class DriftPlace : public testing::TestWithParam<Drift> {};

TEST_P(DriftPlace, IsNamedWithinOnePacketOfWhereTheWordsGoWrong) {
    const test_support::TemporaryFolder folder;
    BenchRig rig(drifting(GetParam()), folder.path);
    rig.channel->calibrate();
    const std::string file = rig.stem + ".bin";
    const auto bytes = static_cast<std::uint32_t>(2.0 * hertz * GetParam().pins * seconds / 8.0) / 0x4000 * 0x4000;
    rig.inside().internalStart(bytes, "stop", "none",
                               {.prepare = true, .enableTransmitter = true, .bypassProtocol = false});
    rig.inside().control().dataFile = VX_QRS::OutputFile(file, VX_QRS::OutputFile::Mode::binary);
    rig.channel->run();
    const Wrong truth = firstWrong(rig, file);
    const double part = static_cast<double>(truth.first) / static_cast<double>(truth.bytes);
    ASSERT_GT(part, 0.3) << "the drift begins half way";
    ASSERT_LT(part, 0.7) << "the drift begins half way";

    const diagnosis::FileCheck checked = diagnosis::checkRecording(file, folder.path);
    ASSERT_EQ(checked.check.verdict, diagnosis::StreamVerdict::Damaged);
    const diagnosis::Damage& first = checked.check.firstDamage.value();
    EXPECT_NEAR(static_cast<double>(first.place.byte), static_cast<double>(truth.first), bench::packetBytes)
        << diagnosis::recordingText(checked);
    EXPECT_EQ(diagnosis::damageKindName(first.kind), GetParam().isLate ? "drift-late" : "drift-early");
    EXPECT_EQ(first.lane, GetParam().pins - GetParam().emu);
}

INSTANTIATE_TEST_SUITE_P(Wires, DriftPlace,
                         testing::Values(Drift{"late", 4, 2, bench::Alignment::Center, true},
                                         Drift{"early", 4, 3, bench::Alignment::Center, false},
                                         Drift{"edge_late", 4, 4, bench::Alignment::Edge, true},
                                         Drift{"edge_early", 4, 1, bench::Alignment::Edge, false}),
                         [](const auto& drift) { return std::string(drift.param.name); });

} // namespace
} // namespace truth
