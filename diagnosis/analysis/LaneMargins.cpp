#include "diagnosis/analysis/LaneMargins.h"

#include "diagnosis/analysis/BurstAnalysis.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <complex>
#include <numbers>
#include <vector>

namespace diagnosis {

namespace {

constexpr std::size_t fewestOfAKind = 8;
constexpr double oneSided95 = 1.645;

/// Mean and variance of distances that are added one by one.
class Spread {
public:
    void add(double value) {
        ++number;
        const double step = value - average;
        average += step / static_cast<double>(number);
        squares += step * (value - average);
    }
    std::size_t count() const { return number; }
    double mean() const { return average; }
    double sumOfSquares() const { return squares; }
    double variance() const { return number > 1 ? squares / static_cast<double>(number - 1) : 0.0; }

private:
    std::size_t number = 0;
    double average = 0.0;
    double squares = 0.0;
};

/// Where the clock's falling edges are relative to the middle between two rising ones, and half of its period.
struct ClockShape {
    double half = 0.0;
    double fallLate = 0.0;
};

std::optional<ClockShape> shapeOf(const std::vector<Edge>& clock) {
    Spread high;
    Spread low;
    for (std::size_t i = 0; i + 1 < clock.size(); ++i) {
        (clock[i].rise ? high : low).add(static_cast<double>(clock[i + 1].at - clock[i].at));
    }
    if (high.count() < fewestOfAKind || low.count() < fewestOfAKind) {
        return std::nullopt;
    }
    return ClockShape{(high.mean() + low.mean()) / 2.0, (high.mean() - low.mean()) / 2.0};
}

/// Distances of one direction of a pin's changes from the clock edge before them, apart for rising and falling ones.
struct Direction {
    std::array<Spread, 2> after{}; ///< of falling and rising clock edges
    /// Relative to a rising clock edge in the nominal place.
    std::optional<double> place(const ClockShape& clock) const {
        const auto count = static_cast<double>(after[0].count() + after[1].count());
        if (count < static_cast<double>(fewestOfAKind)) {
            return std::nullopt;
        }
        const double sum = after[1].mean() * static_cast<double>(after[1].count()) +
                           (after[0].mean() + clock.fallLate) * static_cast<double>(after[0].count());
        return sum / count;
    }
};

/// A change of a data pin, with the number of the clock edge before it.
struct ClockedEdge {
    Edge edge;
    std::size_t before = 0;
};

std::vector<ClockedEdge> clockedEdges(const std::vector<Edge>& data, const std::vector<Edge>& clock) {
    std::vector<ClockedEdge> all;
    std::size_t next = 0;
    for (const Edge& edge : data) {
        while (next < clock.size() && clock[next].at <= edge.at) {
            ++next;
        }
        if (next != 0 && next != clock.size()) {
            all.push_back({edge, next - 1});
        }
    }
    return all;
}

double distanceFrom(const Edge& clock, const Edge& data) {
    return static_cast<double>(data.at) - static_cast<double>(clock.at);
}

/// The mean distance of one direction's changes from the clock edge before them, on the circle of half a clock period: from
/// 0 up to that.
double usualDistance(const std::vector<ClockedEdge>& edges, bool isRise, const std::vector<Edge>& clock, double half) {
    std::complex<double> sum;
    for (const ClockedEdge& each : edges) {
        if (each.edge.rise != isRise) {
            continue;
        }
        sum += std::polar(1.0, 2.0 * std::numbers::pi * distanceFrom(clock[each.before], each.edge) / half);
    }
    const double turn = std::arg(sum) / (2.0 * std::numbers::pi);
    return half * (turn < 0.0 ? turn + 1.0 : turn);
}

/// The clock edge that a change belongs to: jitter takes changes that come near a clock edge to its other side.
std::size_t nearestReference(const ClockedEdge& edge, const std::vector<Edge>& clock, double usual) {
    const auto away = [&](std::size_t index) { return std::abs(distanceFrom(clock[index], edge.edge) - usual); };
    std::size_t nearest = edge.before;
    if (edge.before != 0 && away(edge.before - 1) < away(nearest)) {
        nearest = edge.before - 1;
    }
    return away(edge.before + 1) < away(nearest) ? edge.before + 1 : nearest;
}

/// The variance that rounding adds to a distance whose jitter around the mean is this much.
double roundingVariance(double mean, double jitter) {
    // The mean of f (1 - f) for the fraction f of a normal value: the first term of its Fourier series suffices.
    const double wave = std::cos(2.0 * std::numbers::pi * mean) *
                        std::exp(-2.0 * std::numbers::pi * std::numbers::pi * jitter * jitter);
    return std::max(0.0, 1.0 / 6.0 - wave / (std::numbers::pi * std::numbers::pi));
}

/// Changes of the same kind: direction of the data and of the clock edge before them.
struct Kinds {
    std::vector<Spread> all;
    double count = 0.0;
    double variance = 0.0; ///< around the mean of each kind
};

Kinds kindsOf(const std::array<Direction, 2>& directions) {
    Kinds kinds;
    double squares = 0.0;
    for (const Direction& direction : directions) {
        for (const Spread& kind : direction.after) {
            if (kind.count() >= fewestOfAKind) {
                kinds.all.push_back(kind);
                kinds.count += static_cast<double>(kind.count() - 1);
                squares += kind.sumOfSquares();
            }
        }
    }
    kinds.variance = kinds.count > 0.0 ? squares / kinds.count : 0.0;
    return kinds;
}

/// The jitter that makes positions vary that much in all when they are rounded to samples.
double jitterOf(const Kinds& kinds, double variance) {
    const auto expected = [&](double jitter) {
        double rounding = 0.0;
        for (const Spread& kind : kinds.all) {
            rounding += roundingVariance(kind.mean(), jitter) * static_cast<double>(kind.count() - 1) / kinds.count;
        }
        return jitter * jitter + rounding;
    };
    double low = 0.0;
    double high = std::sqrt(variance);
    for (int step = 0; step < 40; ++step) {
        const double middle = (low + high) / 2.0;
        (expected(middle) < variance ? low : high) = middle;
    }
    return (low + high) / 2.0;
}

void addJitter(LaneMargins& lane, const std::array<Direction, 2>& directions) {
    const Kinds kinds = kindsOf(directions);
    if (kinds.all.empty()) {
        return;
    }
    const double error = oneSided95 * std::sqrt(2.0 / kinds.count);
    lane.jitter = jitterOf(kinds, kinds.variance);
    lane.mostJitter = jitterOf(kinds, kinds.variance * (1.0 + error));
    lane.leastJitter = jitterOf(kinds, kinds.variance * std::max(0.0, 1.0 - error));
}

} // namespace

double deviationsAt(double probability) {
    double low = 0.0;
    double high = 40.0;
    for (int step = 0; step < 60; ++step) {
        const double middle = (low + high) / 2.0;
        const bool above = 0.5 * std::erfc(middle / std::numbers::sqrt2) > probability;
        (above ? low : high) = middle;
    }
    return (low + high) / 2.0;
}

std::optional<LaneMargins> measureLane(const Burst& burst, std::size_t proc) {
    const std::vector<Edge> clock = edgesOf(burst.pins[0].levels, burstStart);
    const auto shape = shapeOf(clock);
    if (!shape) {
        return std::nullopt;
    }
    std::array<Direction, 2> directions{}; // falls and rises
    LaneMargins lane;
    const std::vector<ClockedEdge> edges = clockedEdges(edgesOf(burst.pins[proc].levels, burstStart), clock);
    const double usual[] = {usualDistance(edges, false, clock, shape->half),
                            usualDistance(edges, true, clock, shape->half)};
    for (const ClockedEdge& edge : edges) {
        const std::size_t direction = edge.edge.rise ? 1 : 0;
        const Edge& reference = clock[nearestReference(edge, clock, usual[direction])];
        directions[direction].after[reference.rise ? 1 : 0].add(distanceFrom(reference, edge.edge));
        ++lane.changes;
    }
    const auto fall = directions[0].place(*shape);
    const auto rise = directions[1].place(*shape);
    if (!fall || !rise) {
        return std::nullopt;
    }
    lane.bit = shape->half;
    lane.lateFall = *fall - *rise;
    // The sample at the clock edge itself still has to show the bit.
    lane.hold = std::min(*rise, *fall) - std::max(0.0, shape->fallLate) - 1.0;
    lane.setup = shape->half + std::min(0.0, shape->fallLate) - std::max(*rise, *fall);
    addJitter(lane, directions);
    return lane;
}

} // namespace diagnosis
