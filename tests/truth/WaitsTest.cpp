#include "tests/support/bench_client/BenchRig.h"
#include "tests/support/scratch/TemporaryFolder.h"

#include <gtest/gtest.h>

// All waits of a calibration go through one interface, which counts them here.

namespace truth {
namespace {

using bench_client::BenchRig;

bench::Scenario fiveRates() {
    bench::Scenario scenario;
    scenario.name = "five rates";
    scenario.pins = 4;
    scenario.transmitter.frequencies = {12e6, 25e6, 40e6, 50e6, 70e6};
    return scenario;
}

TEST(CalibrationOnTheBench, OfFiveRatesWaitsForItsCountsAndNothingElse) {
    const test_support::TemporaryFolder folder;
    BenchRig rig(fiveRates(), folder.path, "verifyCal=false\n");
    rig.time.waited = 0;
    rig.time.waits = 0;
    rig.channel->calibrate();
    EXPECT_EQ(rig.time.waits, 10U); // two counts for each rate
    EXPECT_EQ(rig.time.waited, 10U * 21U);
}

TEST(CalibrationOnTheBench, ALongerWindowIsWaitedForInFull) {
    const test_support::TemporaryFolder folder;
    BenchRig rig(fiveRates(), folder.path, "verifyCal=false\ncpi=4000000\n");
    rig.time.waited = 0;
    rig.channel->calibrate();
    EXPECT_EQ(rig.time.waited, 10U * (45U + 10U)); // 45.7 ms
}

TEST(CalibrationOnTheBench, WithGivenValuesWaitsForNothingSoThatAPointOfAScanWaitsForItsRecordingOnly) {
    const test_support::TemporaryFolder folder;
    BenchRig rig(fiveRates(), folder.path, "verifyCal=false\n");
    rig.channel->calibrate();
    rig.channel->setProperty("calMode", "manual");
    rig.time.waited = 0;
    rig.time.waits = 0;
    rig.channel->calibrate();
    EXPECT_EQ(rig.time.waits, 0U);
    EXPECT_EQ(rig.time.waited, 0U);
}

TEST(CalibrationOnTheBench, AVerificationWaitsForTheBufferInPassesOfFiveMilliseconds) {
    const test_support::TemporaryFolder folder;
    BenchRig rig(fiveRates(), folder.path);
    rig.time.waited = 0;
    rig.channel->calibrate();
    const std::uint64_t rest = rig.time.waited - 210;
    // 256 KiB at 70 MHz on four pins are 3.8 ms: a pass to see them, one to fetch them, and the last.
    EXPECT_GE(rest, 10U);
    EXPECT_LE(rest, 30U);
}

} // namespace
} // namespace truth
