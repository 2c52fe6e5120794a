#include "diagnosis/tune/Places.h"

#include "diagnosis/analysis/BurstAnalysis.h"
#include "diagnosis/analysis/LaneMargins.h"
#include "toolkit/LaneNames.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <complex>
#include <numbers>

namespace diagnosis::tune {

namespace {

constexpr std::size_t fewestChanges = 12; ///< of a kind
constexpr double rounding = 1.0 / 12.0;   ///< variance of a position
constexpr double oneSided95 = 1.645;

/// A clock edge and its number on the grid.
struct Numbered {
    double at;
    long number;
};

/// Numbers the edges by their distances; a removed pulse or an inserted one does not disturb those that follow.
std::vector<Numbered> numbered(const std::vector<Edge>& edges, double half) {
    std::vector<Numbered> all;
    if (edges.empty()) {
        return all;
    }
    double last = static_cast<double>(edges.front().at);
    long number = edges.front().rise ? 0 : 1;
    for (const Edge& edge : edges) {
        const double at = static_cast<double>(edge.at);
        const long steps = std::lround((at - last) / half);
        const long next = number + steps;
        if ((next % 2 == 0) != edge.rise) {
            continue; // a glitch's
        }
        number = next;
        last = at;
        all.push_back({at, number});
    }
    return all;
}

/// Least squares for origin, half and the odd edges' lateness.
std::optional<ClockGrid> fitted(const std::vector<Numbered>& edges) {
    // For each kind a line of its own slope would do; one slope for both is sharper.
    std::array<double, 2> count{};
    std::array<double, 2> meanAt{};
    std::array<double, 2> meanNumber{};
    for (const Numbered& edge : edges) {
        const std::size_t kind = edge.number % 2 == 0 ? 0 : 1;
        count[kind] += 1.0;
        meanAt[kind] += edge.at;
        meanNumber[kind] += static_cast<double>(edge.number);
    }
    if (count[0] < static_cast<double>(fewestChanges) || count[1] < static_cast<double>(fewestChanges)) {
        return std::nullopt;
    }
    for (const std::size_t kind : {0U, 1U}) {
        meanAt[kind] /= count[kind];
        meanNumber[kind] /= count[kind];
    }
    double product = 0.0;
    double square = 0.0;
    for (const Numbered& edge : edges) {
        const std::size_t kind = edge.number % 2 == 0 ? 0 : 1;
        const double number = static_cast<double>(edge.number) - meanNumber[kind];
        product += number * (edge.at - meanAt[kind]);
        square += number * number;
    }
    ClockGrid grid;
    grid.half = product / square;
    grid.origin = meanAt[0] - meanNumber[0] * grid.half;
    grid.fallLate = meanAt[1] - meanNumber[1] * grid.half - grid.origin;
    double residue = 0.0;
    for (const Numbered& edge : edges) {
        const double late = edge.number % 2 == 0 ? 0.0 : grid.fallLate;
        const double off = edge.at - grid.origin - static_cast<double>(edge.number) * grid.half - late;
        residue += off * off;
    }
    residue /= count[0] + count[1] - 3.0;
    grid.jitter = std::sqrt(std::max(0.0, residue - rounding));
    return grid;
}

/// Mean of places on a circle of so many samples, and how they spread around it.
struct CircularMean {
    double mean = 0.0;
    double variance = 0.0;
    std::size_t count = 0;
    double concentration = 0.0; ///< 1: all at one place
};

CircularMean circularMean(const std::vector<double>& places, double circle) {
    CircularMean result;
    result.count = places.size();
    if (places.empty()) {
        return result;
    }
    const double scale = 2.0 * std::numbers::pi / circle;
    std::complex<double> sum;
    for (const double place : places) {
        sum += std::polar(1.0, place * scale);
    }
    result.concentration = std::abs(sum) / static_cast<double>(places.size());
    const double about = std::arg(sum) / scale;
    double off = 0.0;
    double squares = 0.0;
    for (const double place : places) {
        const double way = std::remainder(place - about, circle);
        off += way;
        squares += way * way;
    }
    const auto count = static_cast<double>(places.size());
    off /= count;
    result.mean = about + off;
    result.variance = count > 1.0 ? std::max(0.0, squares - count * off * off) / (count - 1.0) : 0.0;
    return result;
}

double weighted(const std::array<double, 3>& values, const std::array<double, 3>& weights) {
    return values[0] * weights[0] + values[1] * weights[1] + values[2] * weights[2];
}

} // namespace

std::optional<ClockGrid> gridOf(const Burst& burst, double expectedHalf) {
    const std::vector<Edge> edges = edgesOf(burst.pins.front().levels, burstStart);
    if (edges.size() < 4 * fewestChanges / 2 || expectedHalf < 2.0) {
        return std::nullopt;
    }
    const auto grid = fitted(numbered(edges, expectedHalf));
    constexpr double widest = 0.03; // of the expected rate
    const bool fits = grid && std::abs(grid->half - expectedHalf) < widest * expectedHalf;
    return fits ? grid : std::nullopt;
}

std::optional<LanePlace> placeOf(const Burst& burst, std::size_t proc, const ClockGrid& grid) {
    std::array<std::vector<double>, 2> places; // of falls and rises
    for (const Edge& edge : edgesOf(burst.pins[proc].levels, burstStart)) {
        places[edge.rise ? 1 : 0].push_back(static_cast<double>(edge.at) - grid.origin);
    }
    const CircularMean fall = circularMean(places[0], grid.half);
    const CircularMean rise = circularMean(places[1], grid.half);
    constexpr double anywhere = 0.4;
    if (fall.count < fewestChanges || rise.count < fewestChanges || fall.concentration < anywhere ||
        rise.concentration < anywhere) {
        return std::nullopt;
    }
    LanePlace place;
    const double apart = std::remainder(fall.mean - rise.mean, grid.half);
    place.rise = rise.mean - grid.half * std::floor((rise.mean + apart / 2.0) / grid.half);
    place.fall = place.rise + apart;
    place.changes = rise.count + fall.count;
    const auto count = static_cast<double>(place.changes - 2);
    const double variance =
        (rise.variance * static_cast<double>(rise.count - 1) + fall.variance * static_cast<double>(fall.count - 1)) /
        count;
    const double most = variance * (1.0 + oneSided95 * std::sqrt(2.0 / count));
    place.jitter = std::sqrt(std::max(0.0, most - rounding));
    return place;
}

Seen rawPlacesOf(const Burst& burst, const Values& held, double expectedHalf) {
    Seen seen;
    if (held.size() != burst.pins.size()) {
        seen.fault = "the burst has another number of pins";
        return seen;
    }
    const auto grid = gridOf(burst, expectedHalf);
    if (!grid) {
        seen.fault = "the clock is not regular";
        return seen;
    }
    RawPlaces places;
    places.half = grid->half;
    const EdgeShift clock = shiftOf(held.front());
    places.clockFallLate = grid->fallLate - (clock.fall - clock.rise);
    places.clockJitter = grid->jitter;
    for (std::size_t proc = 1; proc < burst.pins.size(); ++proc) {
        auto place = placeOf(burst, proc, *grid);
        if (!place) {
            seen.fault = toolkit::laneLabel({proc, burst.dataPins()}) + " does not change with the clock";
            return seen;
        }
        place->likelyWithClock = place->mostWithClock = std::hypot(place->jitter, grid->jitter);
        // It knows what rounding adds where an edge always meets the same part of a sample, but is misled by a lane that
        // changes together with the clock.
        if (const auto measured = measureLane(burst, proc); measured && measured->mostJitter < place->mostWithClock) {
            place->likelyWithClock = measured->jitter;
            place->mostWithClock = measured->mostJitter;
        }
        const EdgeShift shift = shiftOf(held[proc]);
        place->rise += clock.rise - shift.rise;
        place->fall += clock.rise - shift.fall;
        places.lanes.push_back(*place);
    }
    seen.places = std::move(places);
    return seen;
}

RawPlaces combined(const RawPlaces& plain, const RawPlaces& second, const RawPlaces& third) {
    // Of the three the parts of a sample that an edge meets: its own, and half a sample beside it, count alike.
    constexpr std::array<double, 3> ofRises{0.0, 0.5, 0.5};
    constexpr std::array<double, 3> ofFalls{0.25, 0.5, 0.25};
    RawPlaces mean = plain;
    mean.half = (plain.half + second.half + third.half) / 3.0;
    mean.clockFallLate = weighted({plain.clockFallLate, second.clockFallLate, third.clockFallLate}, ofRises);
    mean.clockJitter = std::max({plain.clockJitter, second.clockJitter, third.clockJitter});
    for (std::size_t i = 0; i < mean.lanes.size(); ++i) {
        LanePlace& lane = mean.lanes[i];
        const auto near = [&](double value, double reference) {
            return reference + std::remainder(value - reference, mean.half);
        };
        const LanePlace& one = plain.lanes[i];
        lane.rise =
            weighted({one.rise, near(second.lanes[i].rise, one.rise), near(third.lanes[i].rise, one.rise)}, ofRises);
        lane.fall =
            weighted({one.fall, near(second.lanes[i].fall, one.fall), near(third.lanes[i].fall, one.fall)}, ofFalls);
        const std::array<const LanePlace*, 3> all{&one, &second.lanes[i], &third.lanes[i]};
        const auto meanOf = [&](double LanePlace::* value) {
            return std::sqrt(
                (std::pow(all[0]->*value, 2.0) + std::pow(all[1]->*value, 2.0) + std::pow(all[2]->*value, 2.0)) / 3.0);
        };
        lane.jitter = meanOf(&LanePlace::jitter);
        lane.likelyWithClock = meanOf(&LanePlace::likelyWithClock);
        // Of three measurements the uncertainty is smaller.
        lane.mostWithClock =
            lane.likelyWithClock + (meanOf(&LanePlace::mostWithClock) - lane.likelyWithClock) / std::sqrt(3.0);
    }
    return mean;
}

} // namespace diagnosis::tune
