#include "diagnosis/tune/Choice.h"

#include "diagnosis/analysis/LaneMargins.h"
#include "diagnosis/tune/Conditioning.h"
#include "diagnosis/verdict/RunVerdict.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace diagnosis::tune {

namespace {

/// More room than this is worth nothing: smaller values are.
constexpr double sameSpare = 0.02;

struct Margins {
    double setup = 0.0;
    double hold = 0.0;
    double smaller() const { return std::min(setup, hold); }
};

struct ClockEdges {
    double first = 0.0; ///< the earlier kind, of an even slot
    double last = 0.0;
};

ClockEdges clockEdges(const RawPlaces& places, const PinValue& clock) {
    const EdgeShift shift = shiftOf(clock);
    const double rise = shift.rise;
    const double fall = places.clockFallLate + shift.fall;
    return {std::min(rise, fall), std::max(rise, fall)};
}

/// Of a lane whose slot begins `slot` half periods after its place.
Margins marginsOf(const RawPlaces& places, const LanePlace& lane, const PinValue& value, const ClockEdges& clock,
                  int slot) {
    const EdgeShift shift = shiftOf(value);
    const double rise = lane.rise + shift.rise + slot * places.half;
    const double fall = lane.fall + shift.fall + slot * places.half;
    // The sample at the clock edge itself still has to show the bit.
    return {clock.first - std::max(rise, fall), std::min(rise, fall) + places.half - clock.last - 1.0};
}

double limitOf(const LanePlace& lane, double errorRate) {
    return marginLimit(errorRate, lane.mostWithClock);
}

/// Stretches from the one that evens out rise and fall, outwards.
std::vector<int> stretchesFor(double fallLate) {
    const int best = std::clamp(static_cast<int>(std::lround(-2.0 * fallLate)), -largestStretch, largestStretch);
    std::vector<int> all;
    for (int away = 0; away <= 2; ++away) {
        for (const int stretch : {best + away, best - away}) {
            if (std::abs(stretch) <= largestStretch && std::find(all.begin(), all.end(), stretch) == all.end()) {
                all.push_back(stretch);
            }
        }
    }
    return all;
}

struct LaneChoice {
    PinValue value;
    double spare = -std::numeric_limits<double>::infinity();
    double margin = 0.0;
};

/// The best delay and stretch of one lane for a clock and a slot.
LaneChoice chooseLane(const RawPlaces& places, const LanePlace& lane, double limit, const ClockEdges& clock, int slot) {
    LaneChoice best;
    for (const int stretch : stretchesFor(lane.fall - lane.rise)) {
        PinValue value;
        value.stretch = stretch;
        // Setup and hold are even at one delay; its two whole neighbours are the candidates.
        const Margins atZero = marginsOf(places, lane, value, clock, slot);
        const double even = (atZero.setup - atZero.hold) / 2.0;
        for (const double delay : {std::floor(even), std::ceil(even)}) {
            value.delay = static_cast<int>(std::clamp(delay, 0.0, static_cast<double>(longestDelay)));
            const double margin = marginsOf(places, lane, value, clock, slot).smaller();
            if (margin - limit > best.spare + sameSpare) {
                best = {value, margin - limit, margin};
            }
        }
    }
    return best;
}

double shortestPulse(const RawPlaces& places, double fallLate) {
    return places.half - std::abs(fallLate);
}

void setConditioning(const RawPlaces& places, Values& values, double errorRate) {
    const auto set = [&](PinValue& value, double fallLate, double jitter) {
        const PinValue chosen = conditioningFor(2.0 * places.half, shortestPulse(places, fallLate), jitter, errorRate);
        value.debounce = chosen.debounce;
        value.filter = chosen.filter;
        value.plateau = chosen.plateau;
    };
    set(values.front(), places.clockFallLate, places.clockJitter);
    for (std::size_t i = 0; i < places.lanes.size(); ++i) {
        set(values[i + 1], places.lanes[i].fall - places.lanes[i].rise, places.lanes[i].jitter);
    }
}

/// The slots that a clock within the unit's delays can reach.
std::pair<int, int> slotsInReach(const RawPlaces& places) {
    double earliest = std::numeric_limits<double>::max();
    double latest = std::numeric_limits<double>::lowest();
    for (const LanePlace& lane : places.lanes) {
        earliest = std::min(earliest, std::min(lane.rise, lane.fall));
        latest = std::max(latest, std::max(lane.rise, lane.fall));
    }
    constexpr double reach = longestDelay + largestStretch;
    return {static_cast<int>(std::floor((-reach - latest) / places.half)) - 1,
            static_cast<int>(std::ceil((reach - earliest) / places.half)) + 1};
}

/// The choice with the most to spare; of those alike the one with the smallest values.
class BestChoice {
public:
    BestChoice(const RawPlaces& given, double errorRate) : places(given) {
        for (const LanePlace& lane : places.lanes) {
            limits.push_back(limitOf(lane, errorRate));
        }
    }

    void consider(const PinValue& clock, int slot) {
        const ClockEdges edges = clockEdges(places, clock);
        Choice choice;
        choice.values.push_back(clock);
        choice.spare = std::numeric_limits<double>::infinity();
        int sum = clock.delay + std::abs(clock.stretch);
        for (std::size_t i = 0; i < places.lanes.size(); ++i) {
            const LaneChoice lane = chooseLane(places, places.lanes[i], limits[i], edges, slot);
            if (lane.spare < most - sameSpare) {
                return;
            }
            sum += lane.value.delay + std::abs(lane.value.stretch);
            choice.values.push_back(lane.value);
            if (lane.spare < choice.spare) {
                choice.spare = lane.spare;
                choice.margin = lane.margin;
                choice.limit = limits[i];
                choice.worst = i;
            }
        }
        if (choice.spare > most + sameSpare || sum < smallest) {
            most = std::max(most, choice.spare);
            smallest = sum;
            best = std::move(choice);
        }
    }

    Choice taken() const { return best; }

private:
    const RawPlaces& places;
    std::vector<double> limits;
    Choice best;
    double most = -std::numeric_limits<double>::infinity();
    int smallest = std::numeric_limits<int>::max();
};

} // namespace

Choice choose(const RawPlaces& places, double errorRate) {
    BestChoice best(places, errorRate);
    const auto [firstSlot, lastSlot] = slotsInReach(places);
    for (const int stretch : stretchesFor(places.clockFallLate)) {
        for (int delay = 0; delay <= longestDelay; ++delay) {
            PinValue clock;
            clock.delay = delay;
            clock.stretch = stretch;
            for (int slot = firstSlot; slot <= lastSlot; ++slot) {
                best.consider(clock, slot);
            }
        }
    }
    Choice choice = best.taken();
    setConditioning(places, choice.values, errorRate);
    return choice;
}

Choice judged(const RawPlaces& places, const Values& values, double errorRate) {
    const ClockEdges edges = clockEdges(places, values.front());
    const auto [firstSlot, lastSlot] = slotsInReach(places);
    Choice best;
    best.spare = -std::numeric_limits<double>::infinity();
    for (int slot = firstSlot; slot <= lastSlot; ++slot) {
        Choice choice;
        choice.values = values;
        choice.spare = std::numeric_limits<double>::infinity();
        for (std::size_t i = 0; i < places.lanes.size(); ++i) {
            const LanePlace& lane = places.lanes[i];
            const double margin = marginsOf(places, lane, values[i + 1], edges, slot).smaller();
            const double limit = limitOf(lane, errorRate);
            if (margin - limit < choice.spare) {
                choice.spare = margin - limit;
                choice.margin = margin;
                choice.limit = limit;
                choice.worst = i;
            }
        }
        if (choice.spare > best.spare) {
            best = choice;
        }
    }
    return best;
}

} // namespace diagnosis::tune
