#include "diagnosis/analysis/BurstAnalysis.h"
#include "diagnosis/analysis/LaneMatch.h"
#include "diagnosis/doctor/Rules.h"
#include "toolkit/Format.h"

#include <algorithm>
#include <cmath>

// Faults that all data pins have in common indicate what they share: the clock, the ground, the target's export.

namespace diagnosis::rules {

namespace {

/// Pins whose changes are concentrated like this against each other are clean, whatever the clock does.
constexpr double aligned = 0.85;
/// A lane that follows its clock at a usable rate is never below this share.
constexpr double following = 0.65;
/// Data change at most once at each clock edge; the ends of the burst may add some.
constexpr double mostChanges = 1.5;
/// Counted and apparent rates that differ by more than this share are two rates.
constexpr double sameRate = 0.1;

/// How the lanes of a burst align with the clock and with each other.
struct LaneAlignment {
    std::vector<Concentration> toClock; ///< of each data pin
    std::vector<double> toEachOther;    ///< of each data pin, against the other that it follows most
    std::size_t clockChanges = 0;

    template <class Test>
    bool all(const Test& test) const {
        return std::all_of(toClock.begin(), toClock.end(), test);
    }
    double bestToClock() const {
        return std::max_element(toClock.begin(), toClock.end(),
                                [](const auto& a, const auto& b) { return a.share < b.share; })
            ->share;
    }
    bool alignedToEachOther() const { return *std::min_element(toEachOther.begin(), toEachOther.end()) >= aligned; }
};

LaneAlignment alignmentOf(const Burst& burst) {
    LaneAlignment alignment;
    alignment.clockChanges = edgesOf(burst.pins[0].levels, burstStart).size();
    for (const std::size_t proc : dataProcs(burst.dataPins())) {
        alignment.toClock.push_back(concentrationAtClock(burst, proc));
        alignment.toClock.back().changes = edgesOf(burst.pins[proc].levels, burstStart).size();
        double best = 0.0;
        for (const std::size_t other : dataProcs(burst.dataPins())) {
            if (other != proc) {
                best = std::max(best, concentrationAtPin(burst, proc, other).share);
            }
        }
        alignment.toEachOther.push_back(best);
    }
    return alignment;
}

enum class SharedFault { None, AllStuck, ClockUnrelated, NoActivity, AllNoisy };

SharedFault sharedFaultOf(const Burst& burst, const LaneAlignment& alignment) {
    std::size_t stuck = 0;
    for (const std::size_t proc : dataProcs(burst.dataPins())) {
        stuck += stuckLevel(burst, proc).has_value();
    }
    if (stuck != 0) {
        return stuck == burst.dataPins() ? SharedFault::AllStuck : SharedFault::None;
    }
    const auto rare = [&](const Concentration& pin) { return pin.changes * rarestChange < alignment.clockChanges; };
    const auto loose = [](const Concentration& pin) { return pin.share <= leastConcentration; };
    const auto enough = [](const Concentration& pin) { return pin.changes >= fewestChanges; };
    if (alignment.all(rare)) {
        return SharedFault::NoActivity;
    }
    const bool unlikeClock = alignment.bestToClock() <= following;
    const bool oftener = alignment.all([&](const Concentration& pin) {
        return static_cast<double>(pin.changes) > mostChanges * static_cast<double>(alignment.clockChanges);
    });
    if (alignment.all(enough) && (oftener || (unlikeClock && alignment.alignedToEachOther()))) {
        return SharedFault::ClockUnrelated;
    }
    const bool allUnrelated =
        alignment.all([&](const Concentration& pin) { return rare(pin) || (enough(pin) && loose(pin)); });
    const bool someLoose = std::any_of(alignment.toClock.begin(), alignment.toClock.end(), loose);
    return allUnrelated || (alignment.all(enough) && someLoose && unlikeClock) ? SharedFault::AllNoisy
                                                                               : SharedFault::None;
}

/// "14", or "0 to 1".
std::string rangeText(const std::vector<std::size_t>& values) {
    const auto [low, high] = std::minmax_element(values.begin(), values.end());
    return *low == *high ? std::to_string(*low) : std::to_string(*low) + " to " + std::to_string(*high);
}

std::string countsText(const FileGroup& attempt, const LaneAlignment& alignment) {
    std::vector<std::size_t> changes;
    for (const Concentration& pin : alignment.toClock) {
        changes.push_back(pin.changes);
    }
    return burstOf(attempt) + "the data pins change " + rangeText(changes) + " times, the clock " +
           std::to_string(alignment.clockChanges) + " times";
}

/// The clock that the data would fit: in the pattern of a calibration they change at each of its edges.
std::string rateText(const Burst& burst) {
    std::vector<std::size_t> intervals;
    for (const std::size_t proc : dataProcs(burst.dataPins())) {
        intervals.push_back(medianInterval(burst, proc).value_or(0));
    }
    const auto [low, high] = std::minmax_element(intervals.begin(), intervals.end());
    if (*low == 0 || *high > *low + 1) {
        return {};
    }
    const double apparent = burst.rates.sampleRate() / (2.0 * static_cast<double>(*low));
    const double counted = burst.rates.exportFrequency;
    if (std::abs(apparent - counted) <= sameRate * apparent) {
        return {};
    }
    return "; the data change every " + std::to_string(*low) + " samples, as with a clock of " +
           toolkit::frequencyText(apparent) + ", where " + toolkit::frequencyText(counted) + " was counted";
}

/// The middle nine tenths of the intervals between a pin's changes: how regular they are.
struct IntervalRange {
    std::size_t low = 0, high = 0;
    std::size_t width() const { return high - low; }
    std::string text() const { return rangeText({low, high}); }
};
IntervalRange intervalRange(const Burst& burst, std::size_t proc) {
    std::vector<std::size_t> lengths = intervalsOf(burst, proc);
    if (lengths.empty()) {
        return {};
    }
    std::sort(lengths.begin(), lengths.end());
    return {lengths[lengths.size() / 20], lengths[lengths.size() - 1 - lengths.size() / 20]};
}

std::string intervalsText(const DiagnosticSet& set, const Burst& burst) {
    return "the clock's changes are " + intervalRange(burst, 0).text() + " samples apart, " +
           intervalRange(burst, 1).text() + " on " + pinLabel(set, 1);
}

void addAllStuck(Case& given, const FileGroup& attempt) {
    const Burst& burst = *attempt.burst;
    std::vector<std::size_t> levels;
    for (const std::size_t proc : dataProcs(burst.dataPins())) {
        levels.push_back(*stuckLevel(burst, proc));
    }
    given.add(FindingId::AllPinsStuck, dataProcs(burst.dataPins()), {allPinsTitle(burst.dataPins())})
        .evidence.push_back(burstOf(attempt) + std::to_string(burst.samples()) + " samples at " + rangeText(levels) +
                            " while the clock changes " + std::to_string(edgesOf(burst.pins[0].levels).size()) +
                            " times");
}

void addClockUnrelated(Case& given, const FileGroup& attempt, const LaneAlignment& alignment) {
    Finding& finding = given.add(FindingId::ClockSuspect, {0}, {given.title(0)});
    finding.evidence.push_back(countsText(attempt, alignment) + rateText(*attempt.burst));
    finding.evidence.push_back(burstOf(attempt) + intervalsText(given.set, *attempt.burst) +
                               (alignment.alignedToEachOther() ? "; the data pins follow each other" : ""));
}

void add(SharedFault fault, Case& given, const FileGroup& attempt, const LaneAlignment& alignment) {
    const std::size_t dataPins = attempt.burst->dataPins();
    switch (fault) {
    case SharedFault::None:
        return;
    case SharedFault::AllStuck:
        addAllStuck(given, attempt);
        break;
    case SharedFault::ClockUnrelated:
        addClockUnrelated(given, attempt, alignment);
        break;
    case SharedFault::NoActivity:
        given.add(FindingId::PinsSilent, dataProcs(dataPins), {allPinsTitle(dataPins)})
            .evidence.push_back(countsText(attempt, alignment));
        break;
    case SharedFault::AllNoisy:
        given.add(FindingId::PinsNoisy, dataProcs(dataPins), {allPinsTitle(dataPins)})
            .evidence.push_back(countsText(attempt, alignment) + "; " + intervalsText(given.set, *attempt.burst));
        break;
    }
    given.withSharedFault.insert(&attempt);
}

} // namespace

std::string irregularClock(const DiagnosticSet& set, const FileGroup& attempt) {
    const Burst* burst = liveBurst(attempt);
    if (burst == nullptr || burst->dataPins() == 0) {
        return {};
    }
    // Sampling moves any change by up to a sample in both directions.
    const bool irregular = intervalRange(*burst, 0).width() > 2 * intervalRange(*burst, 1).width() + 2;
    return irregular ? burstOf(attempt) + intervalsText(set, *burst) : std::string();
}

void findSharedFaults(Case& given) {
    for (const FileGroup* attempt : given.attempts) {
        const Burst* burst = liveBurst(*attempt);
        if (burst == nullptr || burst->dataPins() < 2) {
            continue;
        }
        if (patternWasHeld(given, *attempt) || given.withSharedFault.contains(attempt)) {
            continue;
        }
        const LaneAlignment alignment = alignmentOf(*burst);
        add(sharedFaultOf(*burst, alignment), given, *attempt, alignment);
    }
}

} // namespace diagnosis::rules
