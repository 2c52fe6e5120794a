#include "tests/support/bench_client/BenchRig.h"
#include "tests/support/scratch/TemporaryFolder.h"
#include "tests/truth/Judgement.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

// Quality of a calibration on known wirings, and its repeatability.

namespace truth {
namespace {

using namespace VX_QRS::ORV::CLIENT;
using bench_client::BenchRig;

bench::Scenario cleanScenario() {
    bench::Scenario scenario;
    scenario.name = "clean";
    scenario.pins = 4;
    scenario.transmitter.frequencies = {12e6, 25e6, 50e6};
    return scenario;
}

/// Skews of 0.4 samples from pin to pin.
bench::Scenario skewedScenario(double jitter) {
    bench::Scenario scenario = cleanScenario();
    scenario.wiring.jitter = jitter;
    for (unsigned emu = 0; emu <= 4; ++emu) {
        bench::PinWiring pin;
        pin.emu = emu;
        pin.skew = 0.4 * emu;
        scenario.wiring.pins.push_back(pin);
    }
    return scenario;
}

/// The largest difference of a delay or stretch between a first calibration and ten more.
double spreadOfTen(double jitter) {
    const test_support::TemporaryFolder folder;
    BenchRig rig(skewedScenario(jitter), folder.path);
    rig.channel->calibrate();
    const Cal first = rig.inside().cal();
    double spread = 0.0;
    for (int i = 0; i < 10; ++i) {
        rig.channel->applySettings();
        rig.channel->calibrate();
        EXPECT_EQ(rig.inside().clocking().frequencySetting, 2U) << "run " << i;
        for (std::uint32_t p = 0; p < 5; ++p) {
            const ProcCal& now = rig.inside().cal().proc[p];
            const ProcCal& then = first.proc[p];
            spread = std::max(spread, std::abs(static_cast<double>(now.delay) - static_cast<double>(then.delay)));
            spread = std::max(spread, std::abs(static_cast<double>(now.stretch) - static_cast<double>(then.stretch)));
        }
    }
    return spread;
}

TEST(CalibrationOnTheBench, OfACleanBusChoosesTheFastestRateAndSamplesInTheMiddle) {
    const test_support::TemporaryFolder folder;
    const Verdict verdict = calibrateAndJudge(cleanScenario(), folder.path);
    EXPECT_EQ(verdict.setting, 2U);
    EXPECT_EQ(verdict.outcome, Outcome::right) << verdict.description;
}

TEST(CalibrationOnTheBench, OfACleanBusHoldsForARecordingTenTimesAsLong) {
    const test_support::TemporaryFolder folder;
    BenchRig rig(cleanScenario(), folder.path);
    rig.channel->calibrate();
    EXPECT_EQ(rig.recordPattern(10 * verificationBytes).value_or(""), "");
}

TEST(CalibrationOnTheBench, ReportsTheMarginsOfItsLastBurst) {
    const test_support::TemporaryFolder folder;
    BenchRig rig(skewedScenario(0.2), folder.path, "verifyCal=false\n");
    rig.channel->calibrate();
    Metrics again = rig.inside().metrics();
    rig.inside().findMargin(again);
    for (std::uint32_t p = 1; p < 5; ++p) {
        const ProcMetrics& reported = rig.inside().metrics().proc[p];
        EXPECT_EQ(reported.marginBefore, again.proc[p].marginBefore) << p;
        EXPECT_EQ(reported.marginAfter, again.proc[p].marginAfter) << p;
        EXPECT_LE(std::abs(static_cast<int>(reported.marginBefore) - static_cast<int>(reported.marginAfter)), 2) << p;
    }
}

TEST(CalibrationOnTheBench, TenTimesHasTheSameResult) {
    EXPECT_EQ(spreadOfTen(0.0), 0.0);
}

TEST(CalibrationOnTheBench, TenTimesWithJitterHasTheSameResultWithinASample) {
    // Every burst has its own jitter, and margins are whole samples.
    EXPECT_LE(spreadOfTen(0.2), 1.0);
}

} // namespace
} // namespace truth
