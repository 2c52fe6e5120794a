#include "diagnosis/margin/EyeScan.h"

#include "diagnosis/margin/Counting.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace diagnosis {

namespace {

constexpr double certainRate = 0.25;     ///< above it a tap is past the wall
constexpr double beyondExpected = 0.5;   ///< samples past the expected wall at which a clean tap is the next slot's
constexpr double fittedRate = 0.1;       ///< taps below it are counted in full
constexpr double growth = 10.0;          ///< of the bits from count to count
constexpr std::uint64_t repeatable = 10; ///< errors of a tap that is repeated
constexpr double lostRate = 0.6;         ///< of all lanes: the pattern itself was not found
constexpr double smallestMove = 1.5;     ///< factor between two counts below which a wall has not moved by much

enum Side : int { setupSide = -1, holdSide = 1 };

class Scan {
public:
    Scan(const ScanPlan& given, const MeasureTap& taps, const ScanProgress& shown)
        : plan(given), measureTap(taps), progress(shown), moved{} {
        for (std::size_t i = 0; i < plan.kept.lanes.size(); ++i) {
            LaneScan& lane = result.lanes.emplace_back();
            const int kept = static_cast<int>(plan.kept.clock) - static_cast<int>(plan.kept.lanes[i]);
            const int longest = static_cast<int>(plan.longestDelay);
            lane.lowest = -longest - kept;
            lane.highest = longest - kept;
        }
    }

    EyeScanResult run();

private:
    bool measure(int offset, std::uint64_t bits);
    void walk(Side side);
    void countWalls();
    bool countNext(Side side, int& offset);
    void repeat(Side side);
    std::uint64_t missing(int offset, Side side) const;
    std::uint64_t missingOf(const LaneScan& lane, int offset, Side side) const;
    bool allReached(Side side) const;
    bool mayFollow(int offset) const;
    void take(LaneScan& lane, std::size_t index, int offset, const TapCount& count, bool nextSlot);
    bool isNextSlot(const TapCount& count, int offset) const;
    bool mayBeNextSlot(int offset) const;
    bool isPast(std::size_t index, int offset) const;
    bool isInside(std::size_t index, int offset) const;
    void show(double share) const {
        if (progress) {
            progress(share);
        }
    }

    const ScanPlan& plan;
    const MeasureTap& measureTap;
    const ScanProgress& progress;
    EyeScanResult result;
    std::array<std::optional<int>, 2> moved; ///< the offset that each side repeats
};

LaneTap& tapOf(LaneScan& lane, int offset) {
    const auto at = std::lower_bound(lane.taps.begin(), lane.taps.end(), offset,
                                     [](const LaneTap& tap, int wanted) { return tap.offset < wanted; });
    if (at != lane.taps.end() && at->offset == offset) {
        return *at;
    }
    LaneTap made;
    made.offset = offset;
    return *lane.taps.insert(at, made);
}

const LaneTap* findTap(const LaneScan& lane, int offset) {
    const auto at =
        std::find_if(lane.taps.begin(), lane.taps.end(), [=](const LaneTap& tap) { return tap.offset == offset; });
    return at == lane.taps.end() ? nullptr : &*at;
}

bool& reachedOf(LaneScan& lane, Side side) {
    return side == setupSide ? lane.setupReached : lane.holdReached;
}

/// A unit follows most lanes to the slot that they show, so that many wrong bits in all of them come from words that were
/// compared with the wrong place of the pattern.
bool isLost(const TapCount& count, double transitionShare) {
    return count.astray || std::ranges::all_of(count.lanes, [&](const LaneCount& lane) {
               return static_cast<double>(lane.errors) > lostRate * transitionShare * static_cast<double>(count.bits);
           });
}

/// Whether the offset is so far past the wall that the burst shows that clean bits are the next slot's.
bool Scan::isPast(std::size_t index, int offset) const {
    const auto& expected = plan.expected.size() > index ? plan.expected[index] : std::nullopt;
    if (expected) {
        return offset > 0 ? offset > expected->hold + beyondExpected : -offset > expected->setup + beyondExpected;
    }
    return std::abs(offset) >= plan.bitSamples;
}

bool Scan::isInside(std::size_t index, int offset) const {
    const auto& expected = plan.expected.size() > index ? plan.expected[index] : std::nullopt;
    return expected && (offset > 0 ? offset < expected->hold : -offset < expected->setup);
}

/// The unit follows most lanes. It stays in the own slot as long as the burst shows fewer than half of them at their wall.
bool Scan::mayBeNextSlot(int offset) const {
    std::size_t inside = 0;
    for (std::size_t i = 0; i < plan.expected.size(); ++i) {
        inside += plan.expected[i] && isInside(i, offset + (offset > 0 ? 1 : -1)) ? 1U : 0U;
    }
    return 2 * inside <= result.lanes.size();
}

/// Wrong bits of all lanes that are the neighbour's on the side that the sampling point leaves.
struct Opposite {
    std::uint64_t errors = 0, bits = 0;
};

/// The same at a tap that was counted in the own slot.
Opposite oppositeAt(const EyeScanResult& result, int offset, bool isHold) {
    Opposite sum;
    for (const LaneScan& lane : result.lanes) {
        const LaneTap* tap = findTap(lane, offset);
        if (tap != nullptr && !tap->beyond && !tap->nextSlot) {
            sum.errors += isHold ? tap->late : tap->early;
            sum.bits += tap->bits;
        }
    }
    return sum;
}

/// Lanes that sample too late show the next slot's bits. If the wrong bits are those of the other neighbour, the unit has
/// followed most lanes into the next slot; unless the burst shows them in their own one, or the errors are those that
/// jitter at the opposite wall causes, fewer than a tap before.
bool Scan::isNextSlot(const TapCount& count, int offset) const {
    if (offset == 0 || !mayBeNextSlot(offset)) {
        return false;
    }
    const bool isHold = offset > 0;
    std::uint64_t towards = 0;
    Opposite now;
    for (const LaneCount& lane : count.lanes) {
        towards += isHold ? lane.early : lane.late;
        now.errors += isHold ? lane.late : lane.early;
        now.bits += count.bits;
    }
    if (now.errors <= towards) {
        return false;
    }
    const Opposite inner = oppositeAt(result, offset - (isHold ? 1 : -1), isHold);
    const double innerRate =
        inner.bits == 0 ? 0.0 : static_cast<double>(inner.errors) / static_cast<double>(inner.bits);
    const bool hasMore = static_cast<double>(now.errors) > innerRate * static_cast<double>(now.bits);
    return inner.errors == 0 || (hasMore && hasMoved(inner.errors, inner.bits, now.errors, now.bits));
}

void Scan::take(LaneScan& lane, std::size_t index, int offset, const TapCount& count, bool nextSlot) {
    const Side side = offset < 0 ? setupSide : holdSide;
    const bool lost = isLost(count, plan.transitionShare);
    const LaneTap* before = findTap(lane, offset);
    const bool contradicts = before != nullptr && before->bits != 0 && before->nextSlot != nextSlot;
    if ((lost || contradicts) && isInside(index, offset)) {
        return; // another lane is to blame; this one's bits are unknown here
    }
    LaneTap& tap = tapOf(lane, offset);
    const LaneCount& own = count.lanes[index];
    if (lost || contradicts) {
        tap.beyond = tap.beyond || offset != 0;
    } else {
        tap.bits += count.bits;
        tap.errors += own.errors;
        tap.early += own.early;
        tap.late += own.late;
        tap.nextSlot = nextSlot;
    }
    const SlotCount slot = countOf(tap, plan.transitionShare);
    if (offset != 0 && isPast(index, offset) && slot.rate() < certainRate) {
        tap.beyond = true;
    }
    if (offset != 0 && (tap.beyond || slot.rate() >= certainRate)) {
        reachedOf(lane, side) = true;
    }
}

/// False when the user has interrupted.
bool Scan::measure(int offset, std::uint64_t bits) {
    const MovedDelays delays = movedBy(plan, offset);
    const auto count = measureTap(delays.delays, bits);
    if (!count) {
        result.interrupted = true;
        return false;
    }
    ++result.recordings;
    const bool nextSlot = isNextSlot(*count, offset);
    for (std::size_t i = 0; i < result.lanes.size(); ++i) {
        if (delays.follows[i]) {
            take(result.lanes[i], i, offset, *count, nextSlot);
        }
    }
    return true;
}

bool Scan::allReached(Side side) const {
    return std::ranges::all_of(
        result.lanes, [=](const LaneScan& lane) { return side == setupSide ? lane.setupReached : lane.holdReached; });
}

bool Scan::mayFollow(int offset) const {
    return std::ranges::any_of(result.lanes, [=](const LaneScan& lane) {
        const bool reached = offset < 0 ? lane.setupReached : lane.holdReached;
        return !reached && offset >= lane.lowest && offset <= lane.highest;
    });
}

void Scan::walk(Side side) {
    for (int offset = side; !allReached(side) && mayFollow(offset) && !result.interrupted; offset += side) {
        const double done = std::min(1.0, std::abs(offset) / std::max(1.0, plan.bitSamples / 2.0));
        show((side == setupSide ? 0.0 : 0.2) + 0.2 * done);
        measure(offset, plan.coarseBits);
    }
}

/// Bits that a lane still needs at an offset: until enough errors are counted, to the first tap without any.
std::uint64_t Scan::missingOf(const LaneScan& lane, int offset, Side side) const {
    const LaneTap* tap = findTap(lane, offset);
    if (tap == nullptr || tap->beyond) {
        return 0;
    }
    const SlotCount count = countOf(*tap, plan.transitionShare);
    if (count.rate() >= fittedRate || count.errors >= plan.wantedErrors || tap->bits >= plan.wallBits) {
        return 0;
    }
    const bool ended = std::ranges::any_of(lane.taps, [&](const LaneTap& other) {
        const bool isOutside = side == setupSide ? other.offset < offset : other.offset > offset;
        return isOutside && !other.beyond && other.bits >= plan.wallBits &&
               countOf(other, plan.transitionShare).errors == 0;
    });
    if (ended) {
        return 0;
    }
    // Without an error so far there are at most three in as many bits, with 95 % confidence: more than `growth` times as
    // many bits are needed for the wanted ones.
    constexpr double excluded = 3.0;
    const double times = count.errors == 0 ? static_cast<double>(plan.wantedErrors) / excluded : growth;
    const double most =
        std::max(std::max(times, growth) * static_cast<double>(tap->bits), static_cast<double>(plan.coarseBits));
    return std::min(plan.wallBits - tap->bits, static_cast<std::uint64_t>(most));
}

std::uint64_t Scan::missing(int offset, Side side) const {
    std::uint64_t most = 0;
    for (const LaneScan& lane : result.lanes) {
        most = std::max(most, missingOf(lane, offset, side));
    }
    return most;
}

/// Counts the next tap of a wall, from the outside; false when the wall is done.
bool Scan::countNext(Side side, int& offset) {
    while (offset != 0 && missing(offset, side) == 0) {
        offset -= side;
    }
    if (offset == 0) {
        return false;
    }
    while (const std::uint64_t bits = missing(offset, side)) {
        if (!measure(offset, bits)) {
            return false;
        }
    }
    auto& repeated = moved[side == setupSide ? 0 : 1];
    const bool hasErrors = std::ranges::any_of(result.lanes, [&](const LaneScan& lane) {
        const LaneTap* tap = findTap(lane, offset);
        return tap != nullptr && !tap->beyond && countOf(*tap, plan.transitionShare).errors >= repeatable;
    });
    if (!repeated && hasErrors) {
        repeated = offset;
    }
    offset -= side;
    return true;
}

/// Both walls at once, in the order setup, hold, hold, setup: a steady drift then moves neither the eye's width nor its
/// middle.
void Scan::countWalls() {
    int lowest = 0;
    int highest = 0;
    for (const LaneScan& lane : result.lanes) {
        if (!lane.taps.empty()) {
            lowest = std::min(lowest, lane.taps.front().offset);
            highest = std::max(highest, lane.taps.back().offset);
        }
    }
    const double span = std::max(1.0, static_cast<double>(highest - lowest));
    constexpr std::array order{setupSide, holdSide, holdSide, setupSide};
    bool setupGoesOn = true;
    bool holdGoesOn = true;
    for (std::size_t turn = 0; (setupGoesOn || holdGoesOn) && !result.interrupted; ++turn) {
        show(0.4 + 0.4 * (1.0 - (highest - lowest) / span));
        const Side side = order[turn % order.size()];
        bool& goesOn = side == setupSide ? setupGoesOn : holdGoesOn;
        if (goesOn) {
            goesOn = countNext(side, side == setupSide ? lowest : highest);
        }
    }
}

/// The first counted tap once more: a count that differs too much means that the wall has moved meanwhile.
void Scan::repeat(Side side) {
    const auto offset = moved[side == setupSide ? 0 : 1];
    if (!offset || result.interrupted) {
        return;
    }
    const MovedDelays delays = movedBy(plan, *offset);
    std::uint64_t bits = plan.coarseBits;
    for (const LaneScan& lane : result.lanes) {
        const LaneTap* tap = findTap(lane, *offset);
        const SlotCount count = tap != nullptr ? countOf(*tap, plan.transitionShare) : SlotCount();
        if (count.errors >= repeatable && count.rate() < fittedRate) {
            bits = std::max(bits, std::min(tap->bits, plan.wallBits));
        }
    }
    const auto again = measureTap(delays.delays, bits);
    if (!again) {
        result.interrupted = true;
        return;
    }
    ++result.recordings;
    const bool nextSlot = isNextSlot(*again, *offset);
    for (std::size_t i = 0; i < result.lanes.size(); ++i) {
        LaneScan& lane = result.lanes[i];
        const LaneTap* tap = findTap(lane, *offset);
        if (tap == nullptr || tap->beyond || again->astray || tap->nextSlot != nextSlot) {
            continue;
        }
        LaneTap later;
        later.bits = again->bits;
        later.errors = again->lanes[i].errors;
        later.nextSlot = nextSlot;
        const SlotCount first = countOf(*tap, plan.transitionShare);
        const SlotCount second = countOf(later, plan.transitionShare);
        const double larger = std::max(first.rate(), second.rate());
        const double smaller = std::min(first.rate(), second.rate());
        if (first.rate() < fittedRate && larger > smallestMove * smaller &&
            hasMoved(first.errors, first.opportunities, second.errors, second.opportunities)) {
            (side == setupSide ? lane.setupMoved : lane.holdMoved) = true;
        }
    }
}

EyeScanResult Scan::run() {
    show(0.0);
    measure(0, plan.coarseBits);
    walk(setupSide);
    walk(holdSide);
    countWalls();
    show(0.8);
    repeat(setupSide);
    repeat(holdSide);
    if (!result.interrupted && plan.keptBits > plan.coarseBits) {
        show(0.9);
        measure(0, plan.keptBits - plan.coarseBits);
    }
    return result;
}

} // namespace

SlotCount countOf(const LaneTap& tap, double transitionShare) {
    const auto places = static_cast<std::uint64_t>(static_cast<double>(tap.bits) * transitionShare + 0.5);
    const std::uint64_t errors = std::min(tap.errors, places);
    return {tap.nextSlot ? places - errors : errors, places};
}

MovedDelays movedBy(const ScanPlan& plan, int offset) {
    const int longest = static_cast<int>(plan.longestDelay);
    const int clock = std::clamp(static_cast<int>(plan.kept.clock) + offset, 0, longest);
    const int rest = offset - (clock - static_cast<int>(plan.kept.clock));
    MovedDelays moved;
    moved.delays.clock = static_cast<unsigned>(clock);
    for (const unsigned kept : plan.kept.lanes) {
        const int wanted = static_cast<int>(kept) - rest;
        moved.delays.lanes.push_back(static_cast<unsigned>(std::clamp(wanted, 0, longest)));
        moved.follows.push_back(wanted >= 0 && wanted <= longest);
    }
    return moved;
}

EyeScanResult scanEyes(const ScanPlan& plan, const MeasureTap& measure, const ScanProgress& progress) {
    return Scan(plan, measure, progress).run();
}

} // namespace diagnosis
