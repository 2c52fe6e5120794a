#include "diagnosis/faster/AutomaticAttempt.h"

#include "diagnosis/faster/MovedBurst.h"
#include "diagnosis/tune/Conditioning.h"

#include <algorithm>
#include <bitset>
#include <cmath>

namespace diagnosis::faster {

namespace {

constexpr std::size_t mostSamples = 8192; ///< of a pin in a burst
constexpr std::uint32_t noEdge = 0x7FFFFFFF;
constexpr int longestLag = 31;

using PackedLevels = std::bitset<mostSamples>;

int roundedAway(double value) {
    return static_cast<int>(value < 0.0 ? value - 0.5 : value + 0.5);
}

int halfPeriodOf(const Burst& burst) {
    return static_cast<int>(burst.rates.oversampling / 2.0 + 0.5);
}

PackedLevels packed(const BurstPin& pin) {
    PackedLevels levels;
    for (std::size_t at = 0; at < std::min(pin.levels.size(), mostSamples); ++at) {
        levels[at] = pin.levels[at] != 0;
    }
    return levels;
}

/// Those of the window of correlations, of a pin that is read `lag` samples later.
PackedLevels windowOf(const PackedLevels& levels, std::size_t start, int lag) {
    const PackedLevels shifted =
        lag >= 0 ? levels >> static_cast<std::size_t>(lag) : levels << static_cast<std::size_t>(-lag);
    return shifted >> start;
}

double correlationOf(double n, double ones, double others, double common) {
    return (n * common - ones * others) / std::sqrt(n * ones - ones * ones) / std::sqrt(n * others - others * others);
}

/// A vote of three to one decides.
bool isNearMajority(const PositionVote& vote) {
    constexpr double clearlyLess = 2.5;
    constexpr double clearlyMore = 3.6;
    const auto more = static_cast<double>(std::max(vote.between, vote.near));
    const auto less = static_cast<double>(std::min(vote.between, vote.near));
    return more > clearlyLess * less && more < clearlyMore * less;
}

std::uint32_t marginOrNone(const std::optional<std::size_t>& margin) {
    return margin ? static_cast<std::uint32_t>(*margin) : noEdge;
}

/// A match at another place that noise could make the best one.
bool hasRival(const std::vector<double>& amounts, int best, double amount) {
    constexpr double nearlyAsGood = 0.01;
    constexpr int samePlace = 2; // samples
    for (int at = 0; at < static_cast<int>(amounts.size()); ++at) {
        if (std::abs(at - best) > samePlace && amounts[static_cast<std::size_t>(at)] > amount - nearlyAsGood) {
            return true;
        }
    }
    return false;
}

/// All steps of an attempt, with what they have found so far.
class AttemptRun {
public:
    AttemptRun(std::span<const Burst> taken, std::size_t first, std::span<const int> moved, std::vector<int>& left)
        : bursts(taken), next(first), wires(moved), delays(left), pins(taken.front().pins.size()) {
        attempt.values.assign(pins, tune::receiversConditioning(taken.front().rates.oversampling));
        delays.resize(pins, 0);
    }

    AutomaticAttempt run();

private:
    Burst capture() { return movedBurst(bursts[next++ % bursts.size()], attempt.values, wires); }
    void commit() {
        for (std::size_t proc = 0; proc < pins; ++proc) {
            attempt.values[proc].delay = delays[proc];
            attempt.values[proc].stretch = stretches[proc];
        }
    }
    void findMargins(const Burst& burst, bool isEdge);

    std::span<const Burst> bursts;
    std::size_t next;
    std::span<const int> wires;
    std::vector<int>& delays;
    std::size_t pins;
    std::vector<int> stretches;
    std::uint32_t firstSetup = noEdge, firstHold = noEdge; ///< of the reference pin
    AutomaticAttempt attempt;
};

void AttemptRun::findMargins(const Burst& captured, bool isEdge) {
    Burst burst = captured;
    if (isEdge && delays.front() == 0) {
        // Half a period that the clock's delay does not have yet.
        std::vector<int> later(pins, 0);
        later.front() = halfPeriodOf(captured);
        burst = movedBurst(captured, tune::Values(pins), later);
    }
    attempt.setup = attempt.hold = noEdge;
    for (std::size_t proc = 1; proc < pins; ++proc) {
        const BurstMargins margins = marginsOf(burst, proc);
        const std::uint32_t setup = marginOrNone(margins.setupMargin);
        const std::uint32_t hold = marginOrNone(margins.holdMargin);
        if (proc == 1) {
            firstSetup = setup;
            firstHold = hold;
        }
        if (setup < attempt.setup) {
            attempt.setup = setup;
            attempt.setupProc = proc;
        }
        if (hold < attempt.hold) {
            attempt.hold = hold;
            attempt.holdProc = proc;
        }
    }
}

AutomaticAttempt AttemptRun::run() {
    const Burst plain = capture();
    attempt.need = plain.rates.neededMargin();
    attempt.vote = votePosition(plain);
    attempt.isNear = isNearMajority(attempt.vote);
    if (attempt.vote.undecided()) {
        return attempt;
    }
    const bool isEdge = attempt.vote.between == 0 || attempt.vote.between < attempt.vote.near;
    stretches = dutyStretches(plain);
    commit(); // with the delays that an earlier attempt has left
    const Alignment aligned = alignedDelays(capture());
    attempt.isNear = attempt.isNear || aligned.isNear;
    std::copy(aligned.delays.begin() + 1, aligned.delays.end(), delays.begin() + 1);
    delays.front() += isEdge ? halfPeriodOf(plain) : 0;
    attempt.isCut = fitToRange(delays);
    commit();
    findMargins(capture(), isEdge);
    // The smallest of some hundred distances differs by a sample from burst to burst.
    const std::uint32_t sum = attempt.setup + attempt.hold;
    attempt.isNear = attempt.isNear || sum == attempt.need || sum + 1 == attempt.need;
    if (sum < attempt.need) {
        attempt.end = AutomaticAttempt::End::LittleMargin;
        return attempt;
    }
    delays.front() += roundedAway((static_cast<double>(firstHold) - static_cast<double>(firstSetup)) / 2.0);
    attempt.isCut = fitToRange(delays) || attempt.isCut;
    commit();
    attempt.end = AutomaticAttempt::End::Values;
    return attempt;
}

} // namespace

std::vector<int> dutyStretches(const Burst& burst) {
    const double total = static_cast<double>(burst.samples()) - halfPeriodOf(burst) - static_cast<double>(burstStart);
    std::vector<int> stretches;
    for (const BurstPin& pin : burst.pins) {
        const auto ones = static_cast<double>(std::ranges::count(pin.levels, 1));
        const double excess = (total - ones) - ones;
        stretches.push_back(std::clamp(roundedAway(excess / (total / burst.rates.oversampling)), -tune::largestStretch,
                                       tune::largestStretch));
    }
    return stretches;
}

Alignment alignedDelays(const Burst& burst) {
    const int bit = static_cast<int>(burst.rates.bitSamples());
    const std::size_t start = static_cast<std::size_t>(bit) + burstStart;
    const int range = std::min(bit, longestLag);
    const std::size_t count = burst.samples() - start;
    const PackedLevels inWindow = ~PackedLevels() >> (mostSamples - count);
    const PackedLevels reference = windowOf(packed(burst.pins[1]), start, 0) & inWindow;
    const auto n = static_cast<double>(count);
    Alignment alignment;
    alignment.delays.assign(burst.pins.size(), 0);
    for (std::size_t proc = 1; proc < burst.pins.size(); ++proc) {
        const PackedLevels pin = packed(burst.pins[proc]);
        std::vector<double> amounts;
        double best = 0.0;
        for (int lag = -range; lag <= range; ++lag) {
            const PackedLevels window = windowOf(pin, start, lag) & inWindow;
            amounts.push_back(
                std::abs(correlationOf(n, static_cast<double>(reference.count()), static_cast<double>(window.count()),
                                       static_cast<double>((reference & window).count()))));
            if (amounts.back() > best) {
                best = amounts.back();
                alignment.delays[proc] = -lag;
            }
        }
        alignment.isNear = alignment.isNear || hasRival(amounts, -alignment.delays[proc] + range, best);
    }
    return alignment;
}

bool fitToRange(std::vector<int>& delays) {
    const int lowest = *std::ranges::min_element(delays);
    bool isCut = false;
    for (int& delay : delays) {
        delay -= lowest;
        isCut = isCut || delay > tune::longestDelay;
        delay = std::min(delay, tune::longestDelay);
    }
    return isCut;
}

AutomaticAttempt attemptAutomatically(std::span<const Burst> bursts, std::size_t first, std::span<const int> wires,
                                      std::vector<int>& carried) {
    return AttemptRun(bursts, first, wires, carried).run();
}

} // namespace diagnosis::faster
