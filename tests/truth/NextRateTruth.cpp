#include "tests/truth/NextRateTruth.h"

#include "diagnosis/tune/Conditioning.h"
#include "tests/support/scratch/TemporaryFolder.h"
#include "tests/truth/Wirings.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace truth {

namespace {

using bench_client::BenchRig;
using diagnosis::faster::NextRate;
using diagnosis::faster::RefusedRate;
using diagnosis::tune::Values;

constexpr unsigned capturedBursts = 6;
constexpr int longestTried = 16;

RefusedRate measureRate(BenchRig& rig, unsigned setting) {
    RefusedRate rate;
    rate.setting = setting;
    rate.hertz = rig.scenario.transmitter.frequencies.at(setting);
    rate.sampleRate = bench::Unit::sampleRate;
    RigBoard sender(rig, setting, "calibration");
    const Values plain(rig.scenario.pins + 1, diagnosis::tune::receiversConditioning(2.0 * sender.half()));
    for (unsigned i = 0; i < capturedBursts; ++i) {
        rate.bursts.push_back(i == 0 ? sender.burst(plain) : sender.laterBurst(plain));
        rate.bursts.back().rates.exportFrequency = rate.hertz;
        rate.bursts.back().rates.oversampling = 2.0 * sender.half();
    }
    RigBoard board(rig, setting);
    diagnosis::tune::Task task;
    task.lanes = rig.scenario.pins;
    task.half = board.half();
    task.pattern = diagnosis::tune::patternOfBursts(task.lanes);
    rate.found = diagnosis::tune::search(board, task);
    return rate;
}

/// How a calibration with one data wire moved ends. The clock has the lowest pin.
Calibrated calibratedWith(const bench::Scenario& scenario, std::size_t lane, int samples) {
    bench::Scenario moved = scenario;
    // Lane 0 carries the top bit: the highest pin.
    moved.wiring.pins.at(scenario.pins - lane).skew += samples;
    const test_support::TemporaryFolder folder;
    BenchRig rig(moved, folder.path);
    return calibrate(rig);
}

bool isFasterAndSound(const Calibrated& result, unsigned kept) {
    return !result.refused && result.setting > kept && (result.known == Known::sound || result.known == Known::safe);
}

/// The single moves that do it, and whether one of them does with a sample more and less, too.
struct PossibleMoves {
    bool any = false, safe = false;
};

PossibleMoves possibleMoves(const bench::Scenario& scenario, unsigned kept) {
    PossibleMoves possible;
    for (std::size_t lane = 0; lane < scenario.pins; ++lane) {
        int inARow = 0;
        for (int samples = -longestTried; samples <= longestTried; ++samples) {
            inARow = samples != 0 && isBought(scenario, lane, samples, kept) ? inARow + 1 : 0;
            possible.any = possible.any || inARow > 0;
            possible.safe = possible.safe || inARow >= 3;
        }
    }
    return possible;
}

} // namespace

std::vector<RefusedRate> measureRefused(BenchRig& rig, unsigned kept) {
    std::vector<RefusedRate> rates;
    for (unsigned setting = usableSettings(rig.scenario); setting-- > kept + 1;) {
        rates.push_back(measureRate(rig, setting));
    }
    return rates;
}

bool isBought(const bench::Scenario& scenario, std::size_t lane, int samples, unsigned kept) {
    return isFasterAndSound(calibratedWith(scenario, lane, samples), kept);
}

namespace {

void judgeOne(std::uint64_t seed, bench::ExportKind kind, bool exhaustive, NextRateTable& table) {
    const bench::Scenario scenario = drawScenario(seed, kind);
    ++table.wirings;
    const test_support::TemporaryFolder folder;
    BenchRig rig(scenario, folder.path);
    const Calibrated first = calibrate(rig);
    if (first.refused || (first.known != Known::sound && first.known != Known::safe)) {
        ++table.notSound;
        return;
    }
    if (first.setting + 1 >= usableSettings(scenario)) {
        ++table.fastest;
        return;
    }
    ++table.candidates;
    const NextRate next = nextRateOf(measureRefused(rig, first.setting), soundErrorRate);
    if (!next.move) {
        const PossibleMoves possible = exhaustive ? possibleMoves(scenario, first.setting) : PossibleMoves();
        table.possible += possible.any ? 1U : 0U;
        table.possibleSafe += possible.safe ? 1U : 0U;
        if (possible.safe) {
            table.lines.push_back("possible, seed " + std::to_string(seed) + ": " + next.limit);
        }
        return;
    }
    ++table.claimed;
    const Calibrated result = calibratedWith(scenario, next.move->lane, next.move->samples);
    if (isFasterAndSound(result, first.setting)) {
        ++table.right;
        return;
    }
    table.thin += !result.refused && result.setting > first.setting && result.known == Known::thin ? 1U : 0U;
    char line[200];
    std::snprintf(line, sizeof line, "wrong, seed %s: lane %zu by %d for %.1f MHz, margin %.1f; setting %u of %u: %s",
                  std::to_string(seed).c_str(), next.move->lane, next.move->samples, next.move->hertz / 1e6,
                  next.move->margin, result.setting, usableSettings(scenario), result.reason.c_str());
    table.lines.emplace_back(line);
}

} // namespace

std::string NextRateTable::text() const {
    char text[400];
    std::snprintf(
        text, sizeof text,
        "%u wirings: %u end refused or not sound, %u at their fastest rate, %u below it\n"
        "of these %u claims, %u right (%.1f %%), %u of the others thin\n"
        "without a claim %u; in %u of them some single move does it, in %u with a sample more and less, too\n",
        wirings, notSound, fastest, candidates, claimed, right, claimed == 0 ? 0.0 : 100.0 * right / claimed, thin,
        candidates - claimed, possible, possibleSafe);
    return text;
}

NextRateTable judgeNextRates(std::uint64_t firstSeed, unsigned wirings, bench::ExportKind kind, bool exhaustive) {
    NextRateTable table;
    for (std::uint64_t seed = firstSeed; seed < firstSeed + wirings; ++seed) {
        judgeOne(seed, kind, exhaustive, table);
    }
    return table;
}

} // namespace truth
