#include "tests/truth/TuneTruth.h"

#include "bench/signal/Random.h"
#include "common/source/Exception.h"
#include "diagnosis/files/ChecksFile.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <set>

namespace truth {

namespace {

using namespace VX_QRS::ORV::CLIENT;
using bench_client::BenchRig;
using diagnosis::tune::PinValue;
using diagnosis::tune::Values;

constexpr double lowestCentral = 0.15;
constexpr double highestCentral = 0.85;
constexpr const char* sentPattern = "walk";

double lostOf(const bench::PathTiming& timing) {
    return timing.lostOnes + timing.lostZeros;
}

double errorsOf(const bench::PathQuality& quality) {
    return quality.early + quality.late + quality.flip + quality.lost;
}

bool isCentral(const bench::PathQuality& quality) {
    return quality.eye > 0.0 && quality.offsetMin >= lowestCentral * quality.eye &&
           quality.offsetMax <= highestCentral * quality.eye;
}

std::uint64_t drawn(double mean, double uniform) {
    constexpr double exact = 30.0;
    if (mean > exact) {
        return static_cast<std::uint64_t>(mean + 0.5);
    }
    double chance = std::exp(-mean);
    double below = chance;
    std::uint64_t value = 0;
    while (uniform >= below && value < 1000) {
        ++value;
        chance *= mean / static_cast<double>(value);
        below += chance;
    }
    return value;
}

/// Share of a lane's bits that differ from a neighbour in the pattern.
constexpr double transitions = 0.4;

bench::ProcSettings settingsOf(const PinValue& value) {
    bench::ProcSettings settings;
    settings.enable = true;
    settings.delay = static_cast<unsigned>(value.delay);
    settings.stretch = value.stretch;
    settings.debounce = static_cast<unsigned>(value.debounce);
    return settings;
}

} // namespace

RigBoard::RigBoard(BenchRig& used, unsigned setting, const char* burstPattern)
    : rig(used), programmed(setting), pattern(burstPattern) {}

double RigBoard::half() const {
    return bench::Unit::sampleRate / (2.0 * rig.scenario.transmitter.frequencies.at(programmed));
}

void RigBoard::send() {
    rig.transmitter.shutdown();
    rig.transmitter.program(pattern, programmed);
    rig.time.pass(1000000);
}

void RigBoard::set(const Values& values) {
    Cal cal(static_cast<std::uint32_t>(values.size()));
    cal = rig.inside().cal();
    rig.inside().setupPins(cal);
    for (std::size_t proc = 0; proc < values.size(); ++proc) {
        const PinValue& value = values[proc];
        cal.proc.at(proc).delay = static_cast<std::uint32_t>(value.delay);
        cal.proc.at(proc).stretch = value.stretch;
        cal.proc.at(proc).filter = static_cast<std::uint32_t>(value.filter);
        cal.proc.at(proc).debounce = static_cast<std::uint32_t>(value.debounce);
        cal.proc.at(proc).plateau = static_cast<std::uint32_t>(value.plateau);
    }
    rig.inside().writeCal(cal);
}

diagnosis::Burst RigBoard::burst(const Values& values) {
    set(values);
    send();
    return captured(values);
}

diagnosis::Burst RigBoard::laterBurst(const Values& values) {
    constexpr std::uint64_t wait = 3141593; // ns, no multiple of any clock's period
    rig.time.pass(wait);
    return captured(values);
}

diagnosis::Burst RigBoard::captured(const Values& values) {
    rig.inside().captureOvs();
    diagnosis::Burst burst;
    for (std::size_t proc = 0; proc < values.size(); ++proc) {
        diagnosis::BurstPin& pin = burst.pins.emplace_back();
        pin.enable = 1;
        pin.delay = values[proc].delay;
        pin.stretch = values[proc].stretch;
        pin.debounce = values[proc].debounce;
        pin.filter = values[proc].filter;
        pin.plateau = values[proc].plateau;
        for (const std::uint16_t word : rig.inside().oversampling().ovsWords.at(proc)) {
            for (unsigned bit = 0; bit < 16; ++bit) {
                pin.levels.push_back((word >> bit & 1) != 0 ? 1 : 0);
            }
        }
    }
    return burst;
}

diagnosis::tune::Words RigBoard::words(const Values& values, double errorRate) {
    set(values);
    send();
    const bench::Segment segment = rig.unit.segmentNow(0).value();
    diagnosis::tune::Words words;
    words.bits = diagnosis::bitsThatExclude(errorRate);
    const double bits = static_cast<double>(words.bits) / static_cast<double>(segment.data.size());
    const double lostClock = lostOf(segment.clock.timing);
    for (std::size_t i = 0; i < segment.data.size(); ++i) {
        const bench::ProcPath& path = segment.data[i];
        diagnosis::tune::Words::Lane& lane = words.lanes.emplace_back();
        const double chance = std::min(0.5, transitions * errorsOf(path.quality) + lostOf(path.timing) + lostClock);
        const double mean = bits * (path.quality.slot != 0 ? transitions : chance);
        lane.errors = drawn(mean, bench::uniformOf(rig.scenario.wiring.seed ^ 0x74756E65, ++draws));
        // A sampled slot that is the next one: the lane's bits are early.
        lane.early = path.quality.slot > 0 ? lane.errors : 0;
        lane.late = path.quality.slot < 0 ? lane.errors : 0;
        words.errors += lane.errors;
    }
    return words;
}

Known knownOf(const bench::Segment& segment) {
    double worst = lostOf(segment.clock.timing);
    bool central = true;
    for (const bench::ProcPath& path : segment.data) {
        if (path.quality.slot != 0 || path.quality.eye <= 0.0) {
            return Known::wrong;
        }
        worst = std::max(worst, errorsOf(path.quality) + lostOf(path.timing));
        central = central && isCentral(path.quality);
    }
    constexpr double visible = 3e-8; // a hundred millionth of the bits, of which a recording of a second has a few
    return worst >= visible          ? Known::wrong
           : worst >= soundErrorRate ? Known::thin
           : central                 ? Known::sound
                                     : Known::safe;
}

Calibrated calibrate(BenchRig& rig) {
    Calibrated result;
    try {
        rig.channel->calibrate();
    } catch (const Exception& e) {
        result.refused = true;
        result.reason = e.detail();
        return result;
    }
    result.setting = rig.inside().clocking().frequencySetting;
    rig.transmitter.program(sentPattern, result.setting);
    result.known = knownOf(rig.unit.segmentNow(0).value());
    return result;
}

unsigned usableSettings(const bench::Scenario& scenario) {
    constexpr double fastest = 120e6;
    constexpr double mostBits = 960e6;
    unsigned count = 0;
    for (const double hertz : scenario.transmitter.frequencies) {
        if (hertz > fastest || 2.0 * hertz * scenario.pins > mostBits) {
            break;
        }
        ++count;
    }
    return count;
}

namespace {

/// What all values make of a wiring at one setting, lane by lane.
class Exhaustive {
public:
    Exhaustive(BenchRig& rig, unsigned setting) {
        RigBoard board(rig, setting);
        board.set(Values(rig.scenario.pins + 1));
        rig.transmitter.program(sentPattern, setting);
        clock = rig.unit.inputOf(0, 0);
        for (unsigned proc = 1; proc <= rig.scenario.pins; ++proc) {
            lanes.push_back(rig.unit.inputOf(0, proc));
        }
        half = board.half();
    }

    bool possible() const {
        const int best = stretchFor(clock.line);
        for (const int stretch : {best, best - 1, best + 1, best - 2, best + 2}) {
            if (std::abs(stretch) <= 5 && possibleWith(stretch)) {
                return true;
            }
        }
        return false;
    }

private:
    using Distances = std::map<std::int64_t, std::set<int>>; ///< sound ones, by slot

    static int stretchFor(const bench::Line& line) {
        return std::max(-5, static_cast<int>(std::lround(-2.0 * line.timing.lateFall)));
    }

    /// All that can be sound has to be central, which the edges show without chances.
    bool isWorthAJudgement(const bench::PathTiming& at, const bench::PathTiming& data) const {
        const double early = std::max(data.rise, data.fall) + data.phase;
        const double eye = half - std::abs(data.rise - data.fall);
        const double first = std::min(at.rise, at.fall) + at.phase - early;
        const double last = std::max(at.rise, at.fall) + at.phase + 1.0 - early;
        const double slot = std::floor((first + last) / 2.0 / half);
        if (std::abs(slot) > 1.0) {
            return false;
        }
        return first - slot * half >= lowestCentral * eye - 1.0 && last - slot * half <= highestCentral * eye + 1.0;
    }

    Distances distancesOf(const bench::ProcInput& lane, int clockStretch) const {
        Distances sound;
        const int best = stretchFor(lane.line);
        for (int distance = -31; distance <= 31; ++distance) {
            const PinValue at{.delay = std::max(distance, 0), .stretch = clockStretch};
            const bench::PathTiming clockPath = timePath(*clock.transmission, clock.line, settingsOf(at));
            for (const int stretch : {best, best - 1, best + 1, best - 2, best + 2}) {
                const PinValue value{.delay = std::max(-distance, 0), .stretch = std::clamp(stretch, -5, 5)};
                const bench::PathTiming data = timePath(*lane.transmission, lane.line, settingsOf(value));
                if (!isWorthAJudgement(clockPath, data)) {
                    continue;
                }
                const bench::PathQuality quality = judgePath(clockPath, data, half);
                if (isCentral(quality) && errorsOf(quality) + lostOf(data) < soundErrorRate) {
                    sound[quality.slot].insert(distance);
                }
            }
        }
        return sound;
    }

    bool possibleWith(int clockStretch) const {
        const bench::PathTiming path =
            timePath(*clock.transmission, clock.line, settingsOf({.delay = 0, .stretch = clockStretch}));
        if (lostOf(path) >= soundErrorRate) {
            return false;
        }
        std::vector<Distances> all;
        for (const bench::ProcInput& lane : lanes) {
            all.push_back(distancesOf(lane, clockStretch));
            if (all.back().empty()) {
                return false;
            }
        }
        for (const auto& first : all.front()) {
            const auto& slot = first.first;
            for (int delay = 0; delay <= 31; ++delay) {
                const bool fits = std::ranges::all_of(all, [&](const Distances& lane) {
                    const auto found = lane.find(slot);
                    return found != lane.end() && std::ranges::any_of(found->second, [&](int distance) {
                               return delay - distance >= 0 && delay - distance <= 31;
                           });
                });
                if (fits) {
                    return true;
                }
            }
        }
        return false;
    }

    bench::ProcInput clock;
    std::vector<bench::ProcInput> lanes;
    double half = 0.0;
};

} // namespace

bool soundIsPossible(BenchRig& rig, unsigned setting) {
    return Exhaustive(rig, setting).possible();
}

Tuned tuneAll(BenchRig& rig) {
    Tuned tuned;
    for (unsigned setting = usableSettings(rig.scenario); setting-- > 0;) {
        RigBoard board(rig, setting);
        diagnosis::tune::Task task;
        task.lanes = rig.scenario.pins;
        task.half = board.half();
        task.pattern = diagnosis::tune::patternOfBursts(task.lanes);
        diagnosis::tune::Found found = diagnosis::tune::search(board, task);
        if (!tuned.setting || isBetter(found, tuned.found)) {
            tuned.found = std::move(found);
            tuned.setting = setting;
        }
        if (tuned.found.kind == diagnosis::tune::Found::Kind::Sound) {
            break;
        }
    }
    if (tuned.found.kind == diagnosis::tune::Found::Kind::Nothing) {
        tuned.setting.reset();
        return tuned;
    }
    RigBoard board(rig, *tuned.setting);
    board.set(tuned.found.choice.values);
    rig.transmitter.program(sentPattern, *tuned.setting);
    tuned.known = knownOf(rig.unit.segmentNow(0).value());
    return tuned;
}

} // namespace truth
