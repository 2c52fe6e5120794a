#include "client/analysis/Alignment.h"
#include "client/analysis/Margins.h"
#include "client/analysis/SamplingPosition.h"
#include "diagnosis/faster/MovedBurst.h"
#include "diagnosis/tune/Conditioning.h"
#include "tests/support/scratch/TemporaryFolder.h"
#include "tests/truth/NextRateTruth.h"
#include "tests/truth/Wirings.h"

#include <gtest/gtest.h>

#include <cstdio>

// The computed calibration against the receiver's own functions, and a small part of what truth_next_rate does.

namespace truth {
namespace {

using namespace VX_QRS::ORV::CLIENT;
using bench_client::BenchRig;
using diagnosis::tune::Values;

analysis::Burst asReceiver(BenchRig& rig, double hertz) {
    analysis::Burst burst;
    burst.numPins = rig.scenario.pins + 1;
    for (unsigned proc = 0; proc < burst.numPins; ++proc) {
        burst.pin.at(proc) = rig.inside().oversampling().ovsWords.at(proc);
    }
    burst.length = 8192;
    burst.skip = 16;
    burst.oversampling = bench::Unit::sampleRate / hertz;
    burst.bitSamples = analysis::halfPeriod(burst.oversampling);
    return burst;
}

diagnosis::Burst captured(BenchRig& rig, const Values& values, double hertz) {
    diagnosis::Burst burst = RigBoard(rig, 0, "calibration").burst(values);
    burst.rates.exportFrequency = hertz;
    burst.rates.oversampling = bench::Unit::sampleRate / hertz;
    return burst;
}

std::vector<int> delaysOf(const Metrics& metrics, std::size_t pins) {
    std::vector<int> delays;
    for (std::size_t proc = 0; proc < pins; ++proc) {
        delays.push_back(metrics.proc.at(proc).delay);
    }
    return delays;
}

TEST(AutomaticAttempts, FollowTheReceiversFormulas) {
    unsigned near = 0;
    for (std::uint64_t seed = 750001; seed <= 750060; ++seed) {
        SCOPED_TRACE(seed);
        bench::Scenario scenario = drawScenario(seed, bench::ExportKind::Pti);
        const double hertz = scenario.transmitter.frequencies.back();
        scenario.transmitter.frequencies = {hertz};
        const test_support::TemporaryFolder folder;
        BenchRig rig(scenario, folder.path);
        const std::size_t pins = scenario.pins + 1;
        const diagnosis::Burst burst =
            captured(rig, Values(pins, diagnosis::tune::receiversConditioning(bench::Unit::sampleRate / hertz)), hertz);
        const analysis::Burst own = asReceiver(rig, hertz);
        Metrics metrics;
        analysis::stretch(own, 0.5, metrics);
        const std::vector<int> stretches = diagnosis::faster::dutyStretches(burst);
        for (std::size_t proc = 0; proc < pins; ++proc) {
            EXPECT_EQ(stretches[proc], metrics.proc.at(proc).stretch) << proc;
        }
        analysis::alignDataWithData(own, 1, metrics);
        diagnosis::faster::Alignment alignment = diagnosis::faster::alignedDelays(burst);
        EXPECT_EQ(alignment.delays, delaysOf(metrics, pins));
        near += alignment.isNear ? 1U : 0U;
        alignment.delays.front() = metrics.proc.front().delay = static_cast<int>(own.bitSamples);
        analysis::formatDelays(own.numPins, metrics);
        const bool wasCut = diagnosis::faster::fitToRange(alignment.delays);
        EXPECT_EQ(alignment.delays, delaysOf(metrics, pins));
        EXPECT_EQ(wasCut, own.bitSamples > 31);
        const auto counts = analysis::countSamplingPositions(own);
        const diagnosis::PositionVote vote = diagnosis::votePosition(burst);
        EXPECT_EQ(vote.between, counts.center);
        EXPECT_EQ(vote.near, counts.edge);
    }
    EXPECT_LT(near, 40U);
}

TEST(AutomaticAttempts, EndAsTheReceiversOnItsOwnBursts) {
    unsigned compared = 0;
    unsigned alike = 0;
    for (std::uint64_t seed = 751001; seed <= 751240; ++seed) {
        bench::Scenario scenario = drawScenario(seed, bench::ExportKind::Pti);
        const double hertz = scenario.transmitter.frequencies.back();
        scenario.transmitter.frequencies = {hertz};
        const test_support::TemporaryFolder folder;
        BenchRig rig(scenario, folder.path, "verifyCal=false\n");
        const Calibrated result = calibrate(rig);
        if (hertz < diagnosis::limits::lowestAnalysedClock || result.reason.find("frequenc") != std::string::npos) {
            continue;
        }
        const Metrics& metrics = rig.inside().metrics();
        const std::vector<int> found = delaysOf(metrics, scenario.pins + 1);
        const std::vector<diagnosis::Burst> bursts{captured(
            rig, Values(found.size(), diagnosis::tune::receiversConditioning(bench::Unit::sampleRate / hertz)), hertz)};
        std::vector<int> carried;
        const diagnosis::faster::AutomaticAttempt attempt =
            diagnosis::faster::attemptAutomatically(bursts, 0, std::vector<int>(found.size(), 0), carried);
        // Where data and clock change together a single stray edge decides about both margins.
        const bool areTogether = attempt.end == diagnosis::faster::AutomaticAttempt::End::LittleMargin &&
                                 attempt.setup <= 1 && attempt.hold <= 1;
        if (attempt.isNear || areTogether) {
            continue;
        }
        ++compared;
        bool isAlike = result.refused == (attempt.end != diagnosis::faster::AutomaticAttempt::End::Values);
        for (std::size_t proc = 0; proc < found.size() && !result.refused; ++proc) {
            isAlike = isAlike && std::abs(carried[proc] - found[proc]) <= 1;
        }
        alike += isAlike ? 1U : 0U;
    }
    std::printf("%u of %u alike\n", alike, compared);
    EXPECT_GT(compared, 30U);
    EXPECT_GE(alike * 100, compared * 95);
}

TEST(MovedBursts, MoveWholeSamplesExactlyAndHalfOnesInTurn) {
    diagnosis::Burst raw;
    raw.pins.resize(1);
    for (int period = 0; period < 100; ++period) {
        for (int at = 0; at < 20; ++at) {
            raw.pins[0].levels.push_back(at < 10 ? 0 : 1);
        }
    }
    Values values(1);
    values[0].delay = 3;
    const diagnosis::Burst later = diagnosis::faster::movedBurst(raw, values, std::vector<int>{2});
    EXPECT_TRUE(std::equal(raw.pins[0].levels.begin(), raw.pins[0].levels.end() - 5, later.pins[0].levels.begin() + 5));
    values[0] = {.stretch = 1};
    const diagnosis::Burst longer = diagnosis::faster::movedBurst(raw, values, std::vector<int>{0});
    const auto ones = [](const diagnosis::Burst& burst) { return std::ranges::count(burst.pins[0].levels, 1); };
    EXPECT_NEAR(static_cast<double>(ones(longer) - ones(raw)), 50.0, 15.0); // half of the falls are a sample later
    values[0] = {.stretch = 4};
    EXPECT_EQ(ones(diagnosis::faster::movedBurst(raw, values, std::vector<int>{0})) - ones(raw), 2 * 99);
}

TEST(NextRates, ClaimsOfRandomWiringsHoldWhereTheWireIsMoved) {
    const NextRateTable table = judgeNextRates(732201, 60, bench::ExportKind::Pti, false);
    std::printf("%s", table.text().c_str());
    for (const std::string& line : table.lines) {
        std::printf("%s\n", line.c_str());
    }
    EXPECT_GE(table.claimed, 5U);
    EXPECT_GE(table.right * 100, table.claimed * 90);
}

} // namespace
} // namespace truth
