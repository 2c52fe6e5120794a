#include "diagnosis/analysis/BurstAnalysis.h"
#include "diagnosis/analysis/LaneMargins.h"
#include "diagnosis/analysis/LaneMatch.h"
#include "diagnosis/doctor/Rules.h"
#include "toolkit/Format.h"

#include <algorithm>
#include <cmath>
#include <vector>

// What bursts show of single pins.

namespace diagnosis::rules {

namespace {

/// Ones and zeros that differ by less than this are alike: half of what one step of the stretch changes.
constexpr double dutyTolerance = 0.5;
/// A pin follows the clock worse than the others do when its concentration is lower by this.
constexpr double clearlyWorse = 0.25;

/// A pin is noisy whose jitter exceeds that of every other this many times, with 95 % confidence in both.
constexpr double clearlyMoreJitter = 1.5;
/// In samples: no pin of a board has less.
constexpr double leastJitterOfOthers = 0.2;

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
    const std::string irregular = alone && loose ? irregularClock(attempt) : std::string();
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
    if (std::abs(raw) <= limits::highestStretch + dutyTolerance) {
        return;
    }
    given.add(FindingId::DutyBeyondCorrection, {proc}, {given.title(proc)}, {raw < 0.0 ? "shorter" : "longer"})
        .evidence.push_back(burstOf(attempt) + "ones last " + toolkit::fixedText(duty->high, 1) + " samples, zeros " +
                            toolkit::fixedText(duty->low, 1) + ", with a stretch of " + std::to_string(stretch) +
                            "; it can correct " + std::to_string(limits::highestStretch) + " of the " +
                            toolkit::fixedText(std::abs(raw), 1));
}

/// The jitter that one data pin has beyond all others; nothing without such a pin.
struct NoisyPin {
    std::size_t proc = 0;
    double jitter = 0.0, others = 0.0; ///< samples rms, the clock's included
};

std::optional<NoisyPin> noisyPin(const Burst& burst) {
    std::vector<LaneMargins> lanes;
    for (const std::size_t proc : dataProcs(burst.dataPins())) {
        const auto lane = measureLane(burst, proc);
        if (!lane) {
            return std::nullopt;
        }
        lanes.push_back(*lane);
    }
    if (lanes.empty() || (lanes.size() == 1 && !dataLessRegular(burst))) {
        return std::nullopt;
    }
    const auto worst = std::max_element(lanes.begin(), lanes.end(),
                                        [](const auto& a, const auto& b) { return a.leastJitter < b.leastJitter; });
    double others = 0.0;
    for (auto lane = lanes.begin(); lane != lanes.end(); ++lane) {
        others = std::max(others, lane == worst ? 0.0 : lane->mostJitter);
    }
    const bool clear = worst->leastJitter > clearlyMoreJitter * std::max(others, leastJitterOfOthers);
    const auto proc = static_cast<std::size_t>(worst - lanes.begin()) + 1;
    return clear ? std::optional(NoisyPin{proc, worst->jitter, others}) : std::nullopt;
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

void findNoisyPins(Case& given) {
    for (std::size_t i = 0; i < given.set.attempts.size() && !given.calibrated; ++i) {
        const FileGroup& attempt = given.set.attempts[i];
        const Verdict::Reason reason = given.verdicts[i].reason;
        const bool lacksMargin = reason == Verdict::Reason::Margin || reason == Verdict::Reason::Position;
        const Burst* burst = lacksMargin ? burstForSinglePins(given, attempt) : nullptr;
        const auto noisy = burst != nullptr ? noisyPin(*burst) : std::nullopt;
        if (!noisy || given.has(FindingKind::PinGarbled, noisy->proc)) {
            continue;
        }
        given.add(FindingId::PinNoisy, {noisy->proc}, {given.title(noisy->proc)})
            .evidence.push_back(
                burstOf(attempt) + "its changes vary by " + toolkit::fixedText(noisy->jitter, 1) + " samples rms" +
                (burst->dataPins() == 1 ? std::string(", while the clock is regular")
                                        : ", those of others by " + toolkit::fixedText(noisy->others, 1) + " at most"));
    }
}

} // namespace diagnosis::rules
