#include "diagnosis/analysis/BurstAnalysis.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <numbers>

namespace diagnosis {

namespace {

constexpr double shortestPeriod = 2.0;
constexpr double longestPeriod = 4096.0;

bool periodUsable(const Burst& burst) {
    return burst.rates.oversampling >= shortestPeriod && burst.rates.oversampling <= longestPeriod;
}

/// Clock edges around a position: the last at or before it, the first after it.
struct Neighbours {
    std::optional<std::size_t> before, after;
};
Neighbours around(const std::vector<Edge>& clock, std::size_t at) {
    const auto next = std::upper_bound(clock.begin(), clock.end(), at,
                                       [](std::size_t position, const Edge& edge) { return position < edge.at; });
    Neighbours found;
    if (next != clock.end()) {
        found.after = next->at;
    }
    if (next != clock.begin()) {
        found.before = std::prev(next)->at;
    }
    return found;
}

/// The receiver searches backwards for the last sample of the earlier level, one before the edge.
std::size_t backwards(std::size_t at, std::size_t edge) {
    return at - edge + 1;
}

} // namespace

std::vector<Edge> edgesOf(std::span<const std::uint8_t> levels, std::size_t from) {
    std::vector<Edge> edges;
    for (std::size_t at = from + 1; at < levels.size(); ++at) {
        if (levels[at] != levels[at - 1]) {
            edges.push_back({at, levels[at] != 0});
        }
    }
    return edges;
}

BurstMargins marginsOf(const Burst& burst, std::size_t proc) {
    BurstMargins margins;
    if (!periodUsable(burst)) {
        return margins;
    }
    const std::vector<Edge> clock = edgesOf(burst.pins[0].levels);
    const double period = burst.rates.oversampling;
    const auto first = static_cast<std::size_t>(period + static_cast<double>(burstStart));
    for (const Edge& edge : edgesOf(burst.pins[proc].levels, first)) {
        if (period + static_cast<double>(edge.at) > static_cast<double>(burst.samples())) {
            break;
        }
        // A clock edge in the same sample counts as before the data's.
        const Neighbours near = around(clock, edge.at);
        if (near.before) {
            const std::size_t hold = backwards(edge.at, *near.before);
            if (!margins.holdMargin || hold < *margins.holdMargin) {
                margins.holdMargin = hold;
                margins.holdAt = edge.at;
            }
        }
        if (near.after && (!margins.setupMargin || *near.after - edge.at < *margins.setupMargin)) {
            margins.setupMargin = *near.after - edge.at;
            margins.setupAt = edge.at;
        }
    }
    return margins;
}

std::optional<Eye> foldEye(const Burst& burst, std::size_t proc) {
    const std::vector<Edge> clock = edgesOf(burst.pins[0].levels, burstStart);
    if (!periodUsable(burst) || clock.size() < 3) {
        return std::nullopt;
    }
    Eye eye;
    eye.reach = static_cast<std::size_t>(burst.rates.oversampling * 0.6) + 1;
    eye.rises.assign(2 * eye.reach + 1, 0);
    eye.falls.assign(2 * eye.reach + 1, 0);
    eye.clockEdges.assign(2 * eye.reach + 1, 0);
    for (const Edge& edge : edgesOf(burst.pins[proc].levels, burstStart)) {
        const Neighbours near = around(clock, edge.at);
        std::vector<std::size_t>& counts = edge.rise ? eye.rises : eye.falls;
        if (near.before && edge.at - *near.before <= eye.reach) {
            ++counts[eye.reach + (edge.at - *near.before)];
        }
        if (near.after && *near.after - edge.at <= eye.reach) {
            ++counts[eye.reach - (*near.after - edge.at)];
        }
        ++eye.edges;
    }
    for (std::size_t i = 0; i + 1 < clock.size(); ++i) {
        const std::size_t distance = clock[i + 1].at - clock[i].at;
        if (distance <= eye.reach) {
            ++eye.clockEdges[eye.reach + distance];
            ++eye.clockEdges[eye.reach - distance];
        }
    }
    return eye;
}

EyeOpening openingOf(const Eye& eye) {
    EyeOpening opening{eye.reach, eye.reach};
    for (std::size_t i = 0; i < eye.rises.size(); ++i) {
        if (eye.rises[i] + eye.falls[i] == 0) {
            continue;
        }
        if (i < eye.reach) {
            opening.setupMargin = std::min(opening.setupMargin, eye.reach - i);
        } else {
            opening.holdMargin = std::min(opening.holdMargin, i - eye.reach);
        }
    }
    return opening;
}

EyeOpening narrower(const EyeOpening& one, const EyeOpening& other) {
    return {std::min(one.setupMargin, other.setupMargin), std::min(one.holdMargin, other.holdMargin)};
}

std::optional<Duty> dutyOf(const Burst& burst, std::size_t proc) {
    if (!periodUsable(burst)) {
        return std::nullopt;
    }
    const std::vector<Edge> edges = edgesOf(burst.pins[proc].levels, burstStart);
    double sums[2] = {0.0, 0.0};
    double squares[2] = {0.0, 0.0};
    std::size_t counts[2] = {0, 0};
    for (std::size_t i = 0; i + 1 < edges.size(); ++i) {
        const auto length = static_cast<double>(edges[i + 1].at - edges[i].at);
        // Two neighbours that last about half a period each: their sum is about a whole one.
        const double before = i == 0 ? 0.0 : static_cast<double>(edges[i].at - edges[i - 1].at);
        const double after = i + 2 < edges.size() ? static_cast<double>(edges[i + 2].at - edges[i + 1].at) : 0.0;
        const double low = burst.rates.oversampling * 0.8;
        const double high = burst.rates.oversampling * 1.2;
        const auto whole = [&](double sum) { return sum >= low && sum <= high; };
        if (!whole(length + before) || !whole(length + after)) {
            continue;
        }
        sums[edges[i].rise ? 1 : 0] += length;
        squares[edges[i].rise ? 1 : 0] += length * length;
        ++counts[edges[i].rise ? 1 : 0];
    }
    if (counts[0] == 0 || counts[1] == 0) {
        return std::nullopt;
    }
    Duty duty;
    duty.high = sums[1] / static_cast<double>(counts[1]);
    duty.low = sums[0] / static_cast<double>(counts[0]);
    duty.runs = counts[0] + counts[1];
    double variance = 0.0;
    for (const std::size_t level : {std::size_t{0}, std::size_t{1}}) {
        const auto count = static_cast<double>(counts[level]);
        const double mean = sums[level] / count;
        variance += std::max(0.0, squares[level] / count - mean * mean) / count;
    }
    duty.error = std::sqrt(2.0 * variance);
    return duty;
}

namespace {

Concentration concentrationAt(const Burst& burst, std::size_t proc, std::size_t reference, double bit) {
    Concentration concentration;
    const std::vector<Edge> marks = edgesOf(burst.pins[reference].levels, burstStart);
    // A duty error moves rises and falls apart: each is measured by itself.
    std::complex<double> sums[2] = {0.0, 0.0};
    for (const Edge& edge : edgesOf(burst.pins[proc].levels, burstStart)) {
        const Neighbours near = around(marks, edge.at);
        if (!near.before || !near.after) {
            continue;
        }
        const double turn = static_cast<double>(edge.at - *near.before) / bit;
        sums[edge.rise ? 1 : 0] += std::polar(1.0, 2.0 * std::numbers::pi * turn);
        ++concentration.changes;
    }
    if (concentration.changes != 0) {
        concentration.share = (std::abs(sums[0]) + std::abs(sums[1])) / static_cast<double>(concentration.changes);
        const double turn = std::arg(sums[0] + sums[1]) / (2.0 * std::numbers::pi);
        concentration.phase = turn < 0.0 ? turn + 1.0 : turn;
    }
    return concentration;
}

} // namespace

Concentration concentrationAtClock(const Burst& burst, std::size_t proc) {
    return periodUsable(burst) ? concentrationAt(burst, proc, 0, burst.rates.oversampling / 2.0) : Concentration{};
}

Concentration concentrationAtPin(const Burst& burst, std::size_t proc, std::size_t reference) {
    const auto bit = medianInterval(burst, reference);
    return bit ? concentrationAt(burst, proc, reference, static_cast<double>(*bit)) : Concentration{};
}

std::vector<std::size_t> intervalsOf(const Burst& burst, std::size_t proc) {
    const std::vector<Edge> edges = edgesOf(burst.pins[proc].levels, burstStart);
    std::vector<std::size_t> lengths;
    for (std::size_t i = 0; i + 1 < edges.size(); ++i) {
        lengths.push_back(edges[i + 1].at - edges[i].at);
    }
    return lengths;
}

std::optional<std::size_t> medianInterval(const Burst& burst, std::size_t proc) {
    std::vector<std::size_t> lengths = intervalsOf(burst, proc);
    if (lengths.empty()) {
        return std::nullopt;
    }
    const auto middle = lengths.begin() + static_cast<std::ptrdiff_t>(lengths.size() / 2);
    std::nth_element(lengths.begin(), middle, lengths.end());
    return *middle;
}

bool PositionVote::undecided() const {
    if (between != 0 && (near == 0 || between / near >= 3)) {
        return false;
    }
    return near == 0 || (between != 0 && near / between < 3);
}

PositionVote votePosition(const Burst& burst) {
    PositionVote vote;
    if (!periodUsable(burst)) {
        return vote;
    }
    const std::vector<Edge> clock = edgesOf(burst.pins[0].levels);
    const std::size_t bit = burst.rates.bitSamples();
    const std::size_t low = bit / 2;
    for (std::size_t proc = 1; proc < burst.pins.size(); ++proc) {
        for (const Edge& edge : edgesOf(burst.pins[proc].levels, bit + burstStart)) {
            const Neighbours near = around(clock, edge.at);
            std::optional<std::size_t> distance;
            if (near.after) {
                distance = *near.after - edge.at;
            }
            if (near.before) {
                const std::size_t before = backwards(edge.at, *near.before);
                distance = distance ? std::min(*distance, before) : before;
            }
            const bool middle = distance && *distance > low && *distance <= low * 3;
            (middle ? vote.between : vote.near) += 1;
        }
    }
    return vote;
}

std::optional<MarginFailure> findMarginFailure(const Burst& burst, int margin) {
    const std::size_t bit = burst.rates.bitSamples();
    std::int64_t clockEdges = 0;
    std::int64_t lastDataEdge = 0;
    std::size_t run = 0;
    for (std::size_t at = burstStart + 1; at < burst.samples(); ++at) {
        const auto changed = [&](const BurstPin& pin) { return pin.levels[at] != pin.levels[at - 1]; };
        if (changed(burst.pins[0])) {
            ++clockEdges;
            if (clockEdges - lastDataEdge < margin) {
                return MarginFailure{true, at, at / limits::burstWordSamples};
            }
        }
        if (std::any_of(burst.pins.begin() + 1, burst.pins.end(), changed) && run >= bit) {
            if (lastDataEdge != 0 && lastDataEdge == clockEdges) {
                return MarginFailure{false, at, at / limits::burstWordSamples};
            }
            lastDataEdge = clockEdges;
            run = 0;
        } else {
            ++run;
        }
    }
    return std::nullopt;
}

std::optional<unsigned> stuckLevel(const Burst& burst, std::size_t proc) {
    const std::vector<std::uint8_t>& levels = burst.pins[proc].levels;
    const bool still =
        std::all_of(levels.begin(), levels.end(), [&](std::uint8_t level) { return level == levels[0]; });
    return still ? std::optional<unsigned>(levels[0]) : std::nullopt;
}

} // namespace diagnosis
