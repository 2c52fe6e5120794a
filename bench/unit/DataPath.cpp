#include "bench/unit/DataPath.h"

#include "bench/wiring/ContentShift.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <map>
#include <numbers>

namespace bench {

namespace {

struct Chances {
    double early = 0.0;
    double late = 0.0;
};

// A sample is early before the slot's first edge, and late after the next slot's first edge.
Chances chancesOf(const PathTiming& clock, const PathTiming& data, double half, std::int64_t slot) {
    Chances sum;
    for (int edge = 0; edge < clockEdgesInAll; ++edge) {
        const double at = edge * half + clock.phase + (edge % 2 == 0 ? clock.rise : clock.fall);
        const double begin = (edge + static_cast<double>(slot)) * half + data.phase;
        forEachSample(at, clock.jitter, [&](double sample, double weight) {
            for (const double shift : {data.rise, data.fall}) {
                sum.early += weight * (1.0 - chanceBelow(begin + shift, data.jitter, std::nextafter(sample, 1e300)));
                sum.late += weight * chanceBelow(begin + half + shift, data.jitter, std::nextafter(sample, 1e300));
            }
        });
    }
    sum.early /= 2.0 * clockEdgesInAll;
    sum.late /= 2.0 * clockEdgesInAll;
    return sum;
}

// The latest edge at the start of a slot is the worst there, the earliest one at its end.
void judgeWorst(const PathTiming& clock, const PathTiming& data, double half, PathQuality& quality) {
    const EdgeChances edges(clock, data, half, quality.slot);
    quality.early = edges.early(std::max(data.rise, data.fall) + data.latest);
    quality.late = edges.late(std::min(data.rise, data.fall) + data.earliest);
}

} // namespace

double PathTiming::lostOne(double longer) const {
    return chanceBelow(one + longer, std::numbers::sqrt2 * jitter, shortestOne);
}

double PathTiming::lostZero(double longer) const {
    return chanceBelow(zero + longer, std::numbers::sqrt2 * jitter, shortestZero);
}

PathTiming timePath(const Transmission& transmission, const Line& line, const ProcSettings& settings) {
    const EdgeShift shift = shiftOf(settings);
    PathTiming timing;
    timing.source = line.source;
    timing.phase = line.source == LineSource::Clock ? transmission.clockPhase() : transmission.dataPhase();
    timing.rise = line.timing.skew + shift.rise;
    timing.fall = line.timing.skew + line.timing.lateFall + shift.fall;
    timing.jitter = line.timing.jitter;
    const double shortest = 0.5 * settings.debounce;
    if (line.source == LineSource::Clock || line.source == LineSource::Data) {
        // Jitter can reverse a pulse's edges, which removes it as debounce does.
        const double limit = std::max(shortest, std::numeric_limits<double>::min());
        // Stretching can close a pulse that debounce has kept.
        const double stretch = shift.fall - shift.rise;
        timing.one = transmission.halfPeriod + line.timing.lateFall;
        timing.zero = transmission.halfPeriod - line.timing.lateFall;
        timing.shortestOne = std::max(limit, -stretch);
        timing.shortestZero = std::max(limit, stretch);
        timing.lostOnes = timing.lostOne(0.0);
        timing.lostZeros = timing.lostZero(0.0);
    }
    if (const ContentShift content(line, transmission.halfPeriod); content.any()) {
        timing.earliest = content.earliest();
        timing.latest = content.latest();
        timing.shortest = content.shortest();
    }
    if (line.timing.glitchEvery > 0.0 && line.timing.glitchLength >= shortest) {
        timing.glitchEvery = line.timing.glitchEvery;
        timing.glitchLength = line.timing.glitchLength;
    }
    return timing;
}

PathQuality judgePath(const PathTiming& clock, const PathTiming& line, double half) {
    PathTiming data = line;
    // The middle of what the content can do decides about the slot.
    data.rise += 0.5 * (line.earliest + line.latest);
    data.fall += 0.5 * (line.earliest + line.latest);
    PathQuality quality;
    quality.flip = data.glitchEvery > 0.0 ? data.glitchLength / data.glitchEvery : 0.0;
    if (data.source == LineSource::Constant || data.source == LineSource::Floating) {
        return quality;
    }
    double sum = 0.0;
    double lowest = std::numeric_limits<double>::max();
    double highest = std::numeric_limits<double>::lowest();
    for (int edge = 0; edge < clockEdgesInAll; ++edge) {
        const double shift = edge % 2 == 0 ? clock.rise : clock.fall;
        const double start = edge * half;
        const double at = std::ceil(start + clock.phase + shift) - start - data.phase;
        sum += at;
        lowest = std::min(lowest, at);
        highest = std::max(highest, at);
    }
    const double mean = sum / clockEdgesInAll;
    const auto middle = static_cast<std::int64_t>(std::floor((mean - 0.5 * (data.rise + data.fall)) / half));
    double best = std::numeric_limits<double>::max();
    for (std::int64_t slot = middle - 1; slot <= middle + 1; ++slot) {
        const Chances chances = chancesOf(clock, data, half, slot);
        if (chances.early + chances.late < best) {
            best = chances.early + chances.late;
            quality.slot = slot;
            quality.early = chances.early;
            quality.late = chances.late;
        }
    }
    if (line.shifts()) {
        judgeWorst(clock, line, half, quality);
    }
    if (line.source == LineSource::Data) {
        quality.lost = std::max(line.lostOne(line.shortest), line.lostZero(line.shortest));
    }
    const double begin = static_cast<double>(quality.slot) * half + std::max(line.rise, line.fall) + line.latest;
    quality.offset = mean - begin;
    quality.offsetMin = lowest - begin;
    quality.offsetMax = highest - begin;
    quality.eye = half - std::abs(line.rise - line.fall) - (line.latest - line.earliest);
    return quality;
}

Segment makeSegment(TransmissionPointer transmission, const Line& clock, const ProcSettings& clockSettings,
                    const std::vector<Line>& data, const std::vector<ProcSettings>& dataSettings) {
    Segment segment;
    segment.transmission = std::move(transmission);
    const Transmission& sent = *segment.transmission;
    segment.clock.line = clock;
    segment.clock.timing = timePath(sent, clock, clockSettings);
    std::map<std::int64_t, int> votes;
    for (std::size_t index = 0; index < data.size(); ++index) {
        ProcPath& path = segment.data.emplace_back();
        path.line = data[index];
        path.timing = timePath(sent, data[index], dataSettings[index]);
        path.quality = judgePath(segment.clock.timing, path.timing, sent.halfPeriod);
        if (path.timing.shifts()) {
            path.edges =
                std::make_shared<EdgeChances>(segment.clock.timing, path.timing, sent.halfPeriod, path.quality.slot);
        }
        if (path.line.source == LineSource::Data) {
            ++votes[path.quality.slot];
        }
    }
    if (!votes.empty()) {
        const auto winner = std::max_element(votes.begin(), votes.end(),
                                             [](const auto& a, const auto& b) { return a.second < b.second; });
        for (ProcPath& path : segment.data) {
            path.quality.slot -= winner->first;
        }
    }
    return segment;
}

double clockEdgesPerSlot(const Transmission& transmission, const ProcPath& clock, std::int64_t aroundSlot) {
    double edges = 0.0;
    switch (clock.line.source) {
    case LineSource::Clock:
        edges = 1.0;
        break;
    case LineSource::Data: {
        constexpr std::int64_t slots = 4096;
        std::int64_t changes = 0;
        for (std::int64_t slot = aroundSlot; slot < aroundSlot + slots; ++slot) {
            changes +=
                slotLevel(transmission, clock.line, slot) != slotLevel(transmission, clock.line, slot - 1) ? 1 : 0;
        }
        edges = static_cast<double>(changes) / static_cast<double>(slots);
        break;
    }
    case LineSource::Constant:
        break;
    case LineSource::Floating:
        edges = transmission.halfPeriod / floatingEdgeDistance;
        break;
    }
    // Each removed pulse costs both its edges, each remaining glitch adds two.
    edges *= std::max(0.0, 1.0 - clock.timing.lostOnes - clock.timing.lostZeros);
    if (clock.timing.glitchEvery > 0.0) {
        edges += 2.0 * transmission.halfPeriod / clock.timing.glitchEvery;
    }
    return edges;
}

} // namespace bench
