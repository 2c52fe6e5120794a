#include "tests/truth/MarginTruth.h"

#include "bench/unit/DataPath.h"
#include "bench/unit/EdgeChances.h"
#include "bench/unit/Registers.h"
#include "common/source/Exception.h"
#include "diagnosis/analysis/DiagnosticSet.h"
#include "tests/support/bench_client/BenchRig.h"
#include "tests/support/scratch/TemporaryFolder.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <random>

namespace truth {

namespace {

using bench_client::BenchRig;
using namespace VX_QRS::ORV::CLIENT;

constexpr double transitionShare = 0.4;
constexpr std::uint32_t unitRegister = 1;

/// The chances of a lane at an offset from the kept values, in the slot that it has there.
class ClosedForm {
public:
    ClosedForm(const bench::Segment& segment, std::size_t lane)
        : clock(segment.clock.timing), data(segment.data[lane].timing), half(segment.transmission->halfPeriod),
          slot(bench::judgePath(clock, data, half).slot) {}

    double late(double offset) const {
        const bench::EdgeChances edges = chancesAt(offset);
        return 0.5 * (edges.late(data.rise) + edges.late(data.fall));
    }
    double early(double offset) const {
        const bench::EdgeChances edges = chancesAt(offset);
        return 0.5 * (edges.early(data.rise) + edges.early(data.fall));
    }
    /// The offset at which the next slot is sampled at this rate.
    double hold(double rate) const {
        return crossing([&](double way) { return late(way) > rate; });
    }
    double setup(double rate) const {
        return crossing([&](double way) { return early(-way) > rate; });
    }

private:
    bench::EdgeChances chancesAt(double offset) const {
        bench::PathTiming moved = clock;
        moved.rise += offset;
        moved.fall += offset;
        return bench::EdgeChances(moved, data, half, slot);
    }
    template <class Past>
    double crossing(const Past& past) const {
        double low = -half;
        double high = 2.0 * half;
        for (int step = 0; step < 24; ++step) {
            const double middle = (low + high) / 2.0;
            (past(middle) ? high : low) = middle;
        }
        return (low + high) / 2.0;
    }

    bench::PathTiming clock, data;
    double half;
    std::int64_t slot;
};

void setDelay(bench::Unit& unit, unsigned proc, unsigned delay) {
    const auto address = bench::reg::procFirst(0, proc);
    const std::uint32_t now = unit.read(unitRegister, address);
    unit.write(unitRegister, address, (now & ~0xFFU) | delay);
}

diagnosis::TapCount drawCount(const bench::Segment& segment, std::uint64_t bits, std::mt19937_64& random) {
    diagnosis::TapCount count;
    count.bits = bits;
    const double places = static_cast<double>(bits) * transitionShare;
    const auto draw = [&](double chance) {
        const double mean = std::max(places * chance, 1e-30);
        std::poisson_distribution<std::uint64_t> poisson(mean);
        return std::min(poisson(random), static_cast<std::uint64_t>(places));
    };
    for (const bench::ProcPath& path : segment.data) {
        const bench::PathQuality& quality = path.quality;
        diagnosis::LaneCount lane;
        if (quality.slot == 0) {
            const std::uint64_t toNext = draw(quality.late);
            const std::uint64_t toPreceding = draw(quality.early);
            lane = {toNext + toPreceding, toNext / 2, toPreceding / 2};
        } else {
            lane.errors = draw(1.0 - (quality.slot > 0 ? quality.early : quality.late));
            (quality.slot > 0 ? lane.early : lane.late) = lane.errors / 2;
        }
        count.lanes.push_back(lane);
    }
    return count;
}

/// What the burst of the kept attempt shows.
void addBursts(diagnosis::RateScan& rate, const std::filesystem::path& folder) {
    const diagnosis::DiagnosticSet set = diagnosis::readDiagnostics(folder);
    for (const diagnosis::FileGroup& attempt : set.attempts) {
        if (attempt.setting != rate.setting || !attempt.burst) {
            continue;
        }
        for (std::size_t pin = 1; pin < attempt.burst->pins.size(); ++pin) {
            rate.bursts.push_back(diagnosis::measureLane(*attempt.burst, pin));
            const auto& burst = rate.bursts.back();
            rate.plan.expected.push_back(burst ? std::optional(diagnosis::ExpectedWalls{burst->setup, burst->hold})
                                               : std::nullopt);
        }
    }
}

} // namespace

std::optional<ScannedWiring> scanWiring(const bench::Scenario& scenario, std::uint64_t seed) {
    const test_support::TemporaryFolder folder;
    BenchRig rig(scenario, folder.path);
    try {
        rig.channel->calibrate();
    } catch (const Exception&) {
        return std::nullopt;
    }
    ScannedWiring scanned;
    diagnosis::RateScan& rate = scanned.rate;
    rate.setting = rig.inside().clocking().frequencySetting;
    rate.hertz = rig.inside().clocking().exportFrequency;
    rate.sampleRate = bench::Unit::sampleRate;
    if (rate.hertz < diagnosis::limits::lowestAnalysedClock) {
        return std::nullopt;
    }
    addBursts(rate, folder.path);
    const Cal& cal = rig.inside().cal();
    rate.plan.kept.clock = cal.proc[0].delay;
    for (unsigned lane = 1; lane <= scenario.pins; ++lane) {
        rate.plan.kept.lanes.push_back(cal.proc[lane].delay);
        rate.titles.push_back("data " + std::to_string(lane));
    }
    rate.plan.bitSamples = rate.sampleRate / (2.0 * rate.hertz);
    rate.plan.transitionShare = transitionShare;
    rate.plan.coarseBits = 100'000;
    rate.plan.wallBits = 20'000'000;
    rate.plan.keptBits = 1'000'000;

    bench::TargetProgram program{"walk", rate.setting, scenario.kind, {}};
    for (unsigned pin = 0; pin <= scenario.pins; ++pin) {
        program.pins.push_back(pin);
    }
    rig.unit.programTarget(program);
    std::mt19937_64 random(seed);
    const auto segmentAt = [&](const diagnosis::Delays& delays) {
        setDelay(rig.unit, 0, delays.clock);
        for (unsigned lane = 0; lane < delays.lanes.size(); ++lane) {
            setDelay(rig.unit, lane + 1, delays.lanes[lane]);
        }
        return rig.unit.segmentNow(0).value();
    };
    const bench::Segment kept = segmentAt(rate.plan.kept);
    for (std::size_t lane = 0; lane < kept.data.size(); ++lane) {
        const ClosedForm form(kept, lane);
        scanned.walls.push_back(
            {form.setup(diagnosis::wallRate), form.hold(diagnosis::wallRate), form.setup(1e-9), form.hold(1e-9)});
    }
    rate.scan = diagnosis::scanEyes(
        rate.plan, [&](const diagnosis::Delays& delays, std::uint64_t bits) -> std::optional<diagnosis::TapCount> {
            return drawCount(segmentAt(delays), bits, random);
        });
    for (std::size_t lane = 0; lane < rate.scan.lanes.size(); ++lane) {
        rate.eyes.push_back(diagnosis::eyeOf(static_cast<unsigned>(lane), rate.scan.lanes[lane], rate.plan));
    }
    return scanned;
}

void MarginTable::add(std::uint64_t seed, const std::optional<ScannedWiring>& scanned) {
    ++wirings;
    if (!scanned) {
        ++refused;
        return;
    }
    recordings += scanned->rate.scan.recordings;
    for (std::size_t lane = 0; lane < scanned->walls.size(); ++lane) {
        ++lanes;
        const diagnosis::LaneEye& eye = scanned->rate.eyes[lane];
        const WallTruth& wall = scanned->walls[lane];
        double worst = 0.0;
        for (const bool isSetup : {true, false}) {
            const diagnosis::LaneWall& found = isSetup ? eye.setup : eye.hold;
            const double known = isSetup ? wall.setup : wall.hold;
            if (found.state == diagnosis::WallState::Clipped && found.margin) {
                ++clipped;
                boundsBroken += known < *found.margin - 0.5 ? 1U : 0U;
                continue;
            }
            const bool isMeasured = found.state == diagnosis::WallState::Measured ||
                                    found.state == diagnosis::WallState::Extrapolated ||
                                    found.state == diagnosis::WallState::BoundOnly;
            if (!isMeasured || !found.margin) {
                ++others;
                continue;
            }
            const double error = std::abs(*found.margin - known);
            ++walls;
            within1 += error <= 1.0 ? 1U : 0U;
            within2 += error <= 2.0 ? 1U : 0U;
            worst = std::max(worst, error);
            if (error > 1.0) {
                char line[200];
                std::snprintf(line, sizeof line, "seed %s, %.2f MHz, lane %zu: %s margin %.2f, in truth %.2f",
                              std::to_string(seed).c_str(), scanned->rate.hertz / 1e6, lane, isSetup ? "setup" : "hold",
                              *found.margin, known);
                misses.emplace_back(line);
            }
        }
        lanesWithin1 += worst <= 1.0 ? 1U : 0U;
        lanesWithin2 += worst <= 2.0 ? 1U : 0U;
        if (const auto width = eye.widthAt1e9()) {
            const double known = wall.setupAt1e9 + wall.holdAt1e9;
            ++claimed;
            const bool isNear = std::abs(*width - known) <= 0.15 * known;
            claimsWithin += isNear ? 1U : 0U;
            claimsTooWide += !isNear && *width > known ? 1U : 0U;
        }
    }
}

std::string MarginTable::text() const {
    char text[600];
    std::snprintf(text, sizeof text,
                  "%u wirings, %u of them refused or not analysed, %u lanes, %.1f recordings a scan\n"
                  "walls found: %u, within 1 sample %u, within 2 samples %u\n"
                  "lanes: within 1 sample %u, within 2 samples %u\n"
                  "walls out of range: %u, nearer than stated %u; closed, unstable or not measured: %u\n"
                  "eye widths claimed at 1e-9: %u, within 15 %% %u, too wide %u\n",
                  wirings, refused, lanes,
                  wirings > refused ? static_cast<double>(recordings) / (wirings - refused) : 0.0, walls, within1,
                  within2, lanesWithin1, lanesWithin2, clipped, boundsBroken, others, claimed, claimsWithin,
                  claimsTooWide);
    return text;
}

MarginTable judgeMargins(std::uint64_t firstSeed, unsigned wirings, double jitter) {
    MarginTable table;
    for (std::uint64_t seed = firstSeed; seed < firstSeed + wirings; ++seed) {
        bench::Scenario scenario = drawScenario(seed, bench::ExportKind::Pti);
        scenario.wiring.jitter *= jitter;
        table.add(seed, scanWiring(scenario, seed));
    }
    return table;
}

} // namespace truth
