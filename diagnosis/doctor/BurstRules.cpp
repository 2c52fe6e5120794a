#include "diagnosis/analysis/BurstAnalysis.h"
#include "diagnosis/analysis/LaneMatch.h"
#include "diagnosis/doctor/Rules.h"
#include "toolkit/Format.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <vector>

// What bursts show of single pins.

namespace diagnosis::rules {

namespace {

/// Ones and zeros that differ by less than this are alike: half of what one step of the stretch changes.
constexpr double dutyTolerance = 0.5;
/// Standard errors by which a duty error has to exceed that, as ones and zeros of a noisy pin vary.
constexpr double surely = 3.0;
/// A pin follows the clock worse than the others do when its concentration is lower by this.
constexpr double clearlyWorse = 0.25;

/// A pin is noisy whose jitter exceeds that of every other this many times.
constexpr double clearlyMoreJitter = 1.4;
/// In bits rms: less costs a setting no margin that it needs.
constexpr double leastNoise = 0.06;
/// In samples rms: rounding alone can make up half a sample.
constexpr double leastNoiseInSamples = 0.55;
/// A pin's changes are apart from those of others by so many bits at least, and so much farther than these are among
/// each other.
constexpr double leastApart = 0.2;
constexpr double clearlyApart = 1.5;

/// The burst of an attempt whose pins are judged one by one: the clock runs, and the pins do not share a fault.
const Burst* burstForSinglePins(const Case& given, const FileGroup& attempt) {
    return given.withSharedFault.contains(&attempt) ? nullptr : liveBurst(attempt);
}

/// The highest concentration of any data pin but this one.
double bestOfOthers(const Burst& burst, std::size_t proc) {
    double best = 0.0;
    for (std::size_t other = 1; other < burst.pins.size(); ++other) {
        const Concentration concentration = concentrationAtClock(burst, other);
        if (other != proc && concentration.changes >= fewestChanges) {
            best = std::max(best, concentration.share);
        }
    }
    return best;
}

void judgeRelation(Case& given, const FileGroup& attempt, const Burst& burst, std::size_t proc) {
    if (patternWasHeld(given, attempt)) {
        return;
    }
    const Concentration concentration = concentrationAtClock(burst, proc);
    const std::size_t clock = edgesOf(burst.pins[0].levels, burstStart).size();
    const bool alone = burst.dataPins() == 1;
    const bool loose = concentration.changes >= fewestChanges && concentration.share <= leastConcentration &&
                       (alone || bestOfOthers(burst, proc) >= concentration.share + clearlyWorse);
    const bool rare = concentration.changes != 0 && changesRarely(concentration.changes, clock, burst.dataPins());
    const std::string irregular = alone && loose ? irregularClock(given.set, attempt) : std::string();
    if (!irregular.empty()) {
        given.add(FindingId::ClockSuspect, {0}, {given.title(0)}).evidence.push_back(irregular);
    } else if (loose || rare) {
        given.add(alone ? FindingId::OnlyPinUnrelated : FindingId::PinUnrelated, {proc}, {given.title(proc)})
            .evidence.push_back(burstOf(attempt) + "it changes " + std::to_string(concentration.changes) +
                                " times, the clock " + std::to_string(clock) + " times" +
                                (loose ? ", and the changes are spread over the clock period" : ""));
    }
}

void judgeDuty(Case& given, const FileGroup& attempt, const Burst& burst, std::size_t proc) {
    const int stretch = burst.pins[proc].stretch;
    const auto duty = dutyOf(burst, proc);
    if (!duty || given.has(FindingKind::PinGarbled, proc) || (proc == 0 && given.has(FindingKind::ClockSuspect, 0))) {
        return;
    }
    // Each step of the stretch makes ones half a sample longer and zeros half a sample shorter.
    const double raw = duty->high - duty->low - stretch;
    if (std::abs(raw) <= limits::highestStretch + dutyTolerance + surely * duty->error) {
        return;
    }
    given.add(FindingId::DutyBeyondCorrection, {proc}, {given.title(proc)}, {raw < 0.0 ? "shorter" : "longer"})
        .evidence.push_back(burstOf(attempt) + "ones last " + toolkit::fixedText(duty->high, 1) + " samples, zeros " +
                            toolkit::fixedText(duty->low, 1) + ", with a stretch of " + std::to_string(stretch) +
                            "; it can correct " + std::to_string(limits::highestStretch) + " of the " +
                            toolkit::fixedText(std::abs(raw), 1));
}

/// Where a data pin changes between clock edges, and by how much that varies, in bits.
struct LanePlace {
    double phase = 0.0, jitter = 0.0;
};

/// Of all data pins; empty when one changes too seldom.
std::vector<LanePlace> placesOf(const Burst& burst) {
    std::vector<LanePlace> places;
    for (const std::size_t proc : dataProcs(burst.dataPins())) {
        const Concentration concentration = concentrationAtClock(burst, proc);
        if (concentration.changes < fewestChanges || concentration.share <= 0.0) {
            return {};
        }
        // The concentration of normal values on a circle is exp(-2 (pi jitter)^2).
        const double jitter = std::sqrt(-0.5 * std::log(std::min(1.0, concentration.share))) / std::numbers::pi;
        places.push_back({concentration.phase, jitter});
    }
    return places;
}

/// What the clock's own edges vary by, in bits, the rounding to samples included: whole periods, which a duty error does
/// not change, have twice the variance of an edge.
double clockJitter(const Burst& burst) {
    const std::vector<Edge> edges = edgesOf(burst.pins[0].levels, burstStart);
    double sum = 0.0;
    double squares = 0.0;
    const std::size_t count = edges.size() < 3 ? 0 : edges.size() - 2;
    for (std::size_t i = 0; i < count; ++i) {
        const double away = static_cast<double>(edges[i + 2].at - edges[i].at) - burst.rates.oversampling;
        sum += away;
        squares += away * away;
    }
    if (count == 0) {
        return 0.0;
    }
    const double mean = sum / static_cast<double>(count);
    const double variance = squares / static_cast<double>(count) - mean * mean;
    return std::sqrt(std::max(0.0, variance) / 2.0) / (burst.rates.oversampling / 2.0);
}

/// In bits rms.
double noiseFloor(const Burst& burst) {
    return std::max(leastNoise, leastNoiseInSamples / (burst.rates.oversampling / 2.0));
}

/// Whether the only data pin jitters, and not the clock that its changes are measured against.
bool isNoisyAlone(const Burst& burst, const LanePlace& place) {
    const double clock = clockJitter(burst);
    const double own = std::sqrt(std::max(0.0, place.jitter * place.jitter - clock * clock));
    return own > std::max(noiseFloor(burst), clearlyMoreJitter * clock);
}

/// The data pin that jitters beyond all others, from 0.
std::optional<std::size_t> noisyLane(const Burst& burst, const std::vector<LanePlace>& places) {
    if (places.size() == 1) {
        return isNoisyAlone(burst, places.front()) ? std::optional<std::size_t>(0) : std::nullopt;
    }
    if (places.empty()) {
        return std::nullopt;
    }
    const auto worst = std::max_element(places.begin(), places.end(),
                                        [](const auto& a, const auto& b) { return a.jitter < b.jitter; });
    double others = noiseFloor(burst);
    for (auto lane = places.begin(); lane != places.end(); ++lane) {
        others = std::max(others, lane == worst ? 0.0 : clearlyMoreJitter * lane->jitter);
    }
    return worst->jitter > others ? std::optional(static_cast<std::size_t>(worst - places.begin())) : std::nullopt;
}

/// In bits, whichever way round is shorter: 0 to a half.
double distanceOf(const LanePlace& one, const LanePlace& other) {
    const double distance = std::abs(one.phase - other.phase);
    return std::min(distance, 1.0 - distance);
}

/// The data pin, from 0, that changes at another place than all others, which agree better. Of two pins the second.
std::optional<std::size_t> laneApart(const std::vector<LanePlace>& places) {
    for (std::size_t lane = places.size(); lane-- > 0 && places.size() > 1;) {
        double nearest = 0.5;
        double among = 0.0;
        for (std::size_t one = 0; one < places.size(); ++one) {
            nearest = one == lane ? nearest : std::min(nearest, distanceOf(places[one], places[lane]));
            for (std::size_t other = 0; other < one; ++other) {
                const bool both = one != lane && other != lane;
                among = both ? std::max(among, distanceOf(places[one], places[other])) : among;
            }
        }
        if (nearest >= leastApart && nearest > clearlyApart * among) {
            return lane;
        }
    }
    return std::nullopt;
}

void addNoisy(Case& given, const FileGroup& attempt, const std::vector<LanePlace>& places, std::size_t lane) {
    const double bit = attempt.rates().oversampling / 2.0;
    double others = 0.0;
    for (std::size_t other = 0; other < places.size(); ++other) {
        others = std::max(others, other == lane ? 0.0 : places[other].jitter);
    }
    given.add(FindingId::PinNoisy, {lane + 1}, {given.title(lane + 1)})
        .evidence.push_back(burstOf(attempt) + "its changes vary by " +
                            toolkit::fixedText(places[lane].jitter * bit, 1) + " samples rms" +
                            (places.size() == 1
                                 ? ", those of the clock by " + toolkit::fixedText(clockJitter(*attempt.burst) * bit, 1)
                                 : ", those of others by " + toolkit::fixedText(others * bit, 1) + " at most"));
}

void addApart(Case& given, const FileGroup& attempt, const std::vector<LanePlace>& places, std::size_t lane) {
    const LanePlace& other = places[lane == 0 ? 1 : 0];
    given
        .add(FindingId::PinShifted, {lane + 1},
             {given.title(lane + 1), "part of a bit", places.size() == 2 ? "the other pin" : "other pins"})
        .evidence.push_back(burstOf(attempt) + "its changes are " +
                            toolkit::percentText(distanceOf(places[lane], other)) +
                            " of a bit, or as much more as whole bits, from those of " +
                            (places.size() == 2 ? "the other pin" : "the others, which agree"));
}

/// Calls `judge` for every pin from `first` on of every burst whose pins are judged one by one.
template <class Judge>
void forSinglePins(Case& given, std::size_t first, const Judge& judge) {
    for (const FileGroup* attempt : given.attempts) {
        const Burst* burst = burstForSinglePins(given, *attempt);
        for (std::size_t proc = first; burst != nullptr && proc < burst->pins.size(); ++proc) {
            judge(given, *attempt, *burst, proc);
        }
    }
}

} // namespace

void findStuckPins(Case& given) {
    for (const FileGroup* attempt : given.attempts) {
        const Burst* burst = burstForSinglePins(given, *attempt);
        if (burst == nullptr) {
            continue;
        }
        std::optional<LaneMatch> match;
        if (attempt->verification) {
            match = matchLanes(*attempt->verification, burst->dataPins(), given.set.verificationPattern());
        }
        for (const std::size_t proc : dataProcs(burst->dataPins())) {
            const auto level = stuckLevel(*burst, proc);
            if (!level || (match && match->lanes[proc - 1].stuck != level)) {
                continue;
            }
            given.add(*level == 0 ? FindingId::PinStuckAtZero : FindingId::PinStuckAtOne, {proc}, {given.title(proc)})
                .evidence.push_back(burstOf(*attempt) + std::to_string(burst->samples()) + " samples at " +
                                    std::to_string(*level) + " while the clock changes " +
                                    std::to_string(edgesOf(burst->pins[0].levels).size()) + " times" +
                                    (match ? "; the same in the verification" : ""));
        }
    }
}

void findUnrelatedPins(Case& given) {
    forSinglePins(given, 1, judgeRelation);
}

void findDutyFaults(Case& given) {
    forSinglePins(given, 0, judgeDuty);
}

void findPinsApart(Case& given) {
    for (std::size_t i = 0; i < given.set.attempts.size() && !given.calibrated; ++i) {
        const FileGroup& attempt = given.set.attempts[i];
        const Verdict::Reason reason = given.verdicts[i].reason;
        const bool lacksMargin = reason == Verdict::Reason::Margin || reason == Verdict::Reason::Position;
        const Burst* burst = lacksMargin ? burstForSinglePins(given, attempt) : nullptr;
        if (burst == nullptr) {
            continue;
        }
        const std::vector<LanePlace> places = placesOf(*burst);
        if (const auto noisy = noisyLane(*burst, places); noisy && !given.has(FindingKind::PinGarbled, *noisy + 1)) {
            addNoisy(given, attempt, places, *noisy);
        } else if (!noisy && !addSequenceShift(given, attempt, *burst)) {
            if (const auto apart = laneApart(places)) {
                addApart(given, attempt, places, *apart);
            }
        }
    }
}

} // namespace diagnosis::rules
