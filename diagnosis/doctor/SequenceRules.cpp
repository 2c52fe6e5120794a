#include "diagnosis/analysis/BurstAnalysis.h"
#include "diagnosis/doctor/Rules.h"
#include "diagnosis/files/Patterns.h"
#include "toolkit/Format.h"

#include <algorithm>
#include <cmath>

// What the synchronisation sequences in a burst show. The calibration's pattern repeats itself every other bit, so that
// a wire that is late by more than half a bit looks like one that is early by less; a sequence is unique.

namespace diagnosis::rules {

namespace {

/// In bits: a calibration takes out half a bit in each direction.
constexpr double mostAligned = 0.5;
/// In bits: the same sequence on two pins is no farther apart than this; the next one is some hundred bits away.
constexpr double farthestSequence = 8.0;
/// The distance of an odd wire from the others, as a multiple of that among these.
constexpr double clearlyOdd = 2.0;

/// Where synchronisation sequences are on a pin, in samples. They are the same on every pin: five words and a quarter of
/// one of zeros, ones for half a word, zeros for a quarter.
struct SequencePlaces {
    std::vector<double> marks;  ///< the middle of those ones: a duty error moves both ends, but not the middle
    std::vector<double> starts; ///< the change to the zeros; the pattern ends with a one on every pin
};

SequencePlaces sequencesOn(const Burst& burst, std::size_t proc) {
    const double bit = burst.rates.oversampling / 2.0;
    const auto slots = static_cast<double>(slotsOf(burst.dataPins()));
    const double zeros = (limits::syncZeros + 0.25) * slots - 1.0;
    // Where the burst begins or ends within the zeros: more than follow the ones, and than the pattern has.
    const double someZeros = 0.25 * slots + 1.0;
    SequencePlaces places;
    const std::vector<Edge> edges = edgesOf(burst.pins[proc].levels, burstStart);
    for (std::size_t i = 0; i < edges.size(); ++i) {
        const bool isFirst = i == 0;
        const bool isLast = i + 1 == edges.size();
        const auto at = static_cast<double>(edges[i].at);
        const double before = (at - static_cast<double>(isFirst ? burstStart : edges[i - 1].at)) / bit;
        const double after = (static_cast<double>(isLast ? burst.samples() : edges[i + 1].at) - at) / bit;
        if (edges[i].rise && before > (isFirst ? someZeros : zeros) && std::abs(after - 0.5 * slots) < 1.0) {
            places.marks.push_back(at + after * bit / 2.0);
        } else if (!edges[i].rise && after > (isLast ? someZeros : zeros)) {
            places.starts.push_back(at);
        }
    }
    return places;
}

/// How much later the one come than the other, in bits; nothing without common sequences.
std::optional<double> lagOf(const std::vector<double>& reference, const std::vector<double>& own, double bit) {
    double sum = 0.0;
    std::size_t count = 0;
    for (const double at : own) {
        for (const double other : reference) {
            if (std::abs(at - other) < farthestSequence * bit) {
                sum += at - other;
                ++count;
            }
        }
    }
    return count == 0 ? std::nullopt : std::optional(sum / static_cast<double>(count) / bit);
}

/// How late the wires are, in bits, relative to the first data pin's: without the delays that were set in the burst.
/// Empty unless all pins show a sequence.
std::vector<double> wireLateness(const Burst& burst) {
    const double bit = burst.rates.oversampling / 2.0;
    const SequencePlaces reference = sequencesOn(burst, 1);
    std::vector<double> lateness;
    for (const std::size_t proc : dataProcs(burst.dataPins())) {
        const SequencePlaces own = sequencesOn(burst, proc);
        auto lag = lagOf(reference.marks, own.marks, bit);
        lag = lag ? lag : lagOf(reference.starts, own.starts, bit);
        if (!lag) {
            return {};
        }
        lateness.push_back(*lag - (burst.pins[proc].delay - burst.pins[1].delay) / bit);
    }
    return lateness;
}

/// The odd wire, from 0, and how late it is against the nearest other one. Of two wires the later one.
struct OddLane {
    std::size_t lane = 0;
    double lateness = 0.0;
};
std::optional<OddLane> oddLaneOf(const std::vector<double>& lateness) {
    for (std::size_t lane = 0; lane < lateness.size() && lateness.size() > 1; ++lane) {
        std::vector<double> others = lateness;
        others.erase(others.begin() + static_cast<std::ptrdiff_t>(lane));
        const auto [low, high] = std::minmax_element(others.begin(), others.end());
        const bool isLate = lateness[lane] > *high;
        const double apart = isLate ? lateness[lane] - *high : *low - lateness[lane];
        if (apart > mostAligned && apart > clearlyOdd * (*high - *low) && (isLate || lateness.size() > 2)) {
            return OddLane{lane, isLate ? apart : -apart};
        }
    }
    return std::nullopt;
}

} // namespace

bool addSequenceShift(Case& given, const FileGroup& attempt, const Burst& burst) {
    // A pin that does not follow the clock shows sequences by chance.
    for (const std::size_t proc : dataProcs(burst.dataPins())) {
        if (given.has(FindingKind::PinGarbled, proc) || given.has(FindingKind::PinStuck, proc)) {
            return false;
        }
    }
    const auto odd = oddLaneOf(wireLateness(burst));
    if (!odd) {
        return false;
    }
    const std::size_t proc = odd->lane + 1;
    const std::string bits = toolkit::fixedText(std::abs(odd->lateness), 1) + " bits";
    const bool isLate = odd->lateness > 0.0;
    given
        .add(isLate ? FindingId::PinLate : FindingId::PinEarly, {proc},
             {given.title(proc), bits, burst.dataPins() == 2 ? "the other pin" : "other pins"})
        .evidence.push_back(burstOf(attempt) + "its synchronisation sequences come " + bits +
                            (isLate ? " later than those of " : " earlier than those of ") +
                            (burst.dataPins() == 2 ? "the other pin" : "the others") +
                            ", without the delays that were set");
    return true;
}

} // namespace diagnosis::rules
