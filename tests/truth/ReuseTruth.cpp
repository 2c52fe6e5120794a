#include "tests/truth/ReuseTruth.h"

#include "bench/signal/Random.h"
#include "tests/support/scratch/TemporaryFolder.h"
#include "tests/truth/Wirings.h"

#include <algorithm>
#include <cstdio>

namespace truth {

namespace {

using bench_client::BenchRig;
using diagnosis::tune::Values;

constexpr std::uint64_t driftDraws = 0x6472696674;
constexpr std::uint64_t otherNoise = 31337;

Values valuesOf(BenchRig& rig) {
    Values values;
    for (unsigned proc = 0; proc <= rig.scenario.pins; ++proc) {
        const auto& held = rig.inside().cal().proc.at(proc);
        diagnosis::tune::PinValue& value = values.emplace_back();
        value.delay = static_cast<int>(held.delay);
        value.stretch = held.stretch;
        value.debounce = static_cast<int>(held.debounce);
        value.filter = static_cast<int>(held.filter);
        value.plateau = static_cast<int>(held.plateau);
    }
    return values;
}

diagnosis::KeptCalibration shownBy(BenchRig& rig, const Values& values, unsigned setting) {
    RigBoard board(rig, setting, "f0");
    diagnosis::DiagnosticSet set;
    set.base.burst = board.burst(values);
    diagnosis::KeptCalibration kept;
    kept.calibrated = true;
    kept.setting = setting;
    kept.hertz = rig.scenario.transmitter.frequencies.at(setting);
    kept.exportKind = "pti";
    kept.pins = diagnosis::pinsOfBurst(set, *set.base.burst);
    return kept;
}

bench::Scenario moved(bench::Scenario scenario, std::uint64_t seed, double drift) {
    std::uint64_t draw = 0;
    for (bench::PinWiring& pin : scenario.wiring.pins) {
        pin.skew += drift * (2.0 * bench::uniformOf(seed ^ driftDraws, ++draw) - 1.0);
    }
    return scenario;
}

/// As a run decides: margins first, then about 0.2 s of known words.
bool isReused(BenchRig& rig, const diagnosis::KeptCalibration& kept, const Values& values) {
    const diagnosis::KeptCalibration now = shownBy(rig, values, *kept.setting);
    const diagnosis::KeptFit fit = diagnosis::fitOf(kept, now.pins, *now.hertz, soundErrorRate);
    constexpr double seconds = 0.2;
    const double bits = seconds * 2.0 * *kept.hertz * static_cast<double>(kept.pins.size() - 1);
    const double asked = fit.thin ? soundErrorRate : 3.0 / bits;
    return fit.holds() && RigBoard(rig, *kept.setting).words(values, asked).sound();
}

Known knownWith(BenchRig& rig, const Values& values, unsigned setting) {
    RigBoard(rig, setting).set(values);
    rig.transmitter.program("walk", setting);
    return knownOf(rig.unit.segmentNow(0).value());
}

void compareAgain(const bench::Scenario& scenario, const diagnosis::KeptCalibration& kept, ReuseCounts& counts) {
    const test_support::TemporaryFolder folder;
    BenchRig rig(scenario, folder.path);
    rig.time.roundTrip += otherNoise;
    const Calibrated again = calibrate(rig);
    if (again.refused || again.setting != *kept.setting) {
        return; // another rate is a difference
    }
    const diagnosis::Comparison comparison = compare(kept, shownBy(rig, valuesOf(rig), again.setting));
    ++counts.compared;
    counts.unequal += comparison.equal ? 0U : 1U;
    if (comparison.shrink) {
        counts.largestShrink = std::max(counts.largestShrink, comparison.shrink->samples);
    }
}

void judgeOne(std::uint64_t seed, double drift, ReuseCounts& counts) {
    const bench::Scenario scenario = drawScenario(seed, bench::ExportKind::Pti);
    diagnosis::KeptCalibration kept;
    Values values;
    {
        const test_support::TemporaryFolder folder;
        BenchRig rig(scenario, folder.path);
        const Calibrated first = calibrate(rig);
        if (first.refused || first.known == Known::wrong) {
            return;
        }
        values = valuesOf(rig);
        kept = shownBy(rig, values, first.setting);
    }
    const test_support::TemporaryFolder folder;
    BenchRig rig(moved(scenario, seed, drift), folder.path);
    rig.time.roundTrip += otherNoise;
    calibrate(rig); // measures the rate, as a run does first
    const bool reused = isReused(rig, kept, values);
    const Known known = knownWith(rig, values, *kept.setting);
    ++counts.boards;
    counts.reused += reused ? 1U : 0U;
    counts.reusedSound += reused && (known == Known::sound || known == Known::safe) ? 1U : 0U;
    counts.reusedThin += reused && known == Known::thin ? 1U : 0U;
    counts.reusedWrong += reused && known == Known::wrong ? 1U : 0U;
    counts.notReusable += !reused && known != Known::sound && known != Known::safe ? 1U : 0U;
    if (drift == 0.0) {
        compareAgain(scenario, kept, counts);
    }
}

} // namespace

std::string ReuseCounts::text() const {
    char text[400];
    std::snprintf(
        text, sizeof text,
        "%u boards: %u used again (%u sound, %u thin, %u wrong), %u not, of which %u do not fit any longer\n"
        "calibrated again at the same rate: %u, of which %u are not equal; a margin shrank by %.1f samples at "
        "most\n",
        boards, reused, reusedSound, reusedThin, reusedWrong, boards - reused, notReusable, compared, unequal,
        largestShrink);
    return text;
}

ReuseCounts judgeReuse(std::uint64_t first, unsigned boards, double drift) {
    ReuseCounts counts;
    for (std::uint64_t seed = first; counts.boards < boards; ++seed) {
        judgeOne(seed, drift, counts);
    }
    return counts;
}

} // namespace truth
