#include "common/source/Exception.h"
#include "tests/support/bench_client/BenchRig.h"
#include "tests/support/scratch/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <filesystem>
#include <string>

// Wires warm up: skews drift during a recording, and watching the margins ends it.

namespace truth {
namespace {

using bench_client::BenchRig;

/// At 50 MHz half a clock period has 14 samples, so data in the middle are 7 from either clock edge.
constexpr double toTheClockEdge = 7.0;

bench::Scenario warmScenario(double drift, double jitter) {
    bench::Scenario scenario;
    scenario.name = "warm";
    scenario.pins = 4;
    scenario.transmitter.frequencies = {50e6};
    scenario.wiring.jitter = jitter;
    for (unsigned emu = 0; emu <= 4; ++emu) {
        bench::PinWiring pin;
        pin.emu = emu;
        pin.drift = emu == 0 ? 0.0 : drift;
        scenario.wiring.pins.push_back(pin);
    }
    return scenario;
}

struct Ending {
    std::string error;  ///< empty for none
    double seconds = 0; ///< of the recording
    bool burst = false; ///< the burst of the failure was written
};

/// Calibrates, then records with watched margins until a failure or the end of the buffer.
Ending recordWatched(const bench::Scenario& scenario, const char* ovsMargin) {
    const test_support::TemporaryFolder folder;
    BenchRig rig(scenario, folder.path, std::string("ovsMargin=") + ovsMargin + "\n");
    rig.channel->calibrate();
    const std::uint64_t begin = rig.time.now;
    rig.inside().internalStart(0x8000000, "stop", "none",
                               {.prepare = true, .enableTransmitter = true, .bypassProtocol = false});
    rig.inside().control().dataFile = VX_QRS::OutputFile(rig.stem + ".bin", VX_QRS::OutputFile::Mode::binary);
    rig.channel->run();
    Ending ending;
    ending.error = rig.inside().control().errorText;
    ending.seconds = static_cast<double>(rig.time.now - begin) / 1e9;
    ending.burst = std::filesystem::exists(rig.stem + ".err.cap.txt");
    return ending;
}

class Heat : public testing::TestWithParam<double> {};

TEST_P(Heat, EndsARecordingWhenTheDataHaveDriftedToTheClockEdge) {
    const double perSecond = GetParam();
    const Ending ending = recordWatched(warmScenario(perSecond, 0.3), "1");
    EXPECT_THAT(ending.error, testing::HasSubstr("oversampling data margin failure at index "));
    EXPECT_TRUE(ending.burst);
    const double drifted = std::fabs(perSecond) * ending.seconds;
    std::printf("drift of %+.0f samples a second: failed at %.1f samples\n", perSecond, drifted);
    // With jitter and remaining skews, single edges reach the clock edge a little before the mean does.
    EXPECT_GE(drifted, toTheClockEdge - 2.5);
    EXPECT_LE(drifted, toTheClockEdge + 1.5);
}

INSTANTIATE_TEST_SUITE_P(LaterAndEarlier, Heat, testing::Values(10.0, -10.0, 5.0, -5.0));

TEST(HeatWatch, KeepsARecordingWithoutDrift) {
    const Ending ending = recordWatched(warmScenario(0.0, 0.3), "1");
    EXPECT_EQ(ending.error, "");
    EXPECT_FALSE(ending.burst);
}

TEST(HeatWatch, OfTwoAndMoreFailsAtTheFirstClockEdgeOfASoundSignal) {
    // The verification is a recording too and is watched like any other: calibration fails with such a setting.
    for (const char* margin : {"2", "3"}) {
        const test_support::TemporaryFolder folder;
        BenchRig rig(warmScenario(0.0, 0.0), folder.path, std::string("ovsMargin=") + margin + "\n");
        try {
            rig.channel->calibrate();
            ADD_FAILURE() << "calibrated with a margin of " << margin;
        } catch (const VX_QRS::ORV::CLIENT::Exception& e) {
            EXPECT_EQ(e.status(), VX_QRS::ORV::CLIENT::eCALIBRATE);
            EXPECT_THAT(e.detail(), testing::EndsWith("oversampling clock margin failure at index 1"));
        }
        EXPECT_TRUE(std::filesystem::exists(rig.stem + ".freq0.err.cap.txt"));
    }
}

TEST(HeatWatch, DoesNotSeeACleanSignalDriftThroughTheClockEdge) {
    // The known limit: with whole samples in half a period and no jitter, two data edges between the same clock edges
    // are never far enough apart to count, wherever the data have drifted.
    const Ending ending = recordWatched(warmScenario(10.0, 0.0), "1");
    EXPECT_EQ(ending.error, "");
    EXPECT_GT(10.0 * ending.seconds, 2 * toTheClockEdge);
}

TEST(HeatWatch, SwitchedOffChecksNothing) {
    const Ending ending = recordWatched(warmScenario(10.0, 0.3), "0");
    EXPECT_EQ(ending.error, "");
    EXPECT_FALSE(ending.burst);
}

} // namespace
} // namespace truth
