#include "bench/wiring/Line.h"

#include "bench/signal/Random.h"
#include "bench/signal/SlotLevels.h"
#include "bench/wiring/ContentShift.h"

#include <algorithm>
#include <cmath>

namespace bench {

namespace {

// An open input picks up slow noise.
constexpr double floatingCell = floatingEdgeDistance / 2.0; // every other boundary of a cell is an edge
// Conditioning moves edges by up to 31 + 4 samples and joins pulses of up to 16; noise adds a few more.
constexpr double reach = 96.0;
constexpr double gaussReach = 8.0;
// Edges, glitches and floating inputs have separate noise.
constexpr std::uint64_t glitchSeed = 0x676C;
constexpr std::uint64_t floatSeed = 0x666C;

// The moment of an edge at the start of a slot, but for what the content shifts it.
double edgeTime(const Transmission& transmission, const Line& line, double phase, std::int64_t slot, bool level) {
    const LineTiming& timing = line.timing;
    double time =
        static_cast<double>(slot) * transmission.halfPeriod + phase + timing.skew + (level ? 0.0 : timing.lateFall);
    if (timing.jitter > 0.0) {
        time += timing.jitter * gaussOf(timing.seed, static_cast<std::uint64_t>(slot));
    }
    return time;
}

// The slots whose edges can be in [from, to), with a slot more at either end.
struct SlotRange {
    std::int64_t first;
    std::int64_t last;
};
SlotRange slotsIn(double from, double to, double half, double offset, double spread) {
    return {static_cast<std::int64_t>(std::floor((from - offset - spread) / half)) - 1,
            static_cast<std::int64_t>(std::ceil((to - offset + spread) / half)) + 1};
}

double spreadOf(const LineTiming& timing) {
    return gaussReach * timing.jitter + std::abs(timing.lateFall);
}

void drawEdges(const Transmission& transmission, const Line& line, double from, double to, Waveform& wave) {
    const double half = transmission.halfPeriod;
    const double phase = line.source == LineSource::Clock ? transmission.clockPhase() : transmission.dataPhase();
    const SlotRange slots = slotsIn(from - phase, to - phase, half, line.timing.skew, spreadOf(line.timing));
    bool level = slotLevel(transmission, line, slots.first - 1);
    wave.first = level;
    for (std::int64_t slot = slots.first; slot <= slots.last; ++slot) {
        const bool now = slotLevel(transmission, line, slot);
        if (now == level) {
            continue;
        }
        level = now;
        wave.toggles.push_back(edgeTime(transmission, line, phase, slot, now));
    }
}

// The same for edges that the content shifts. An edge that is overtaken by the next one vanishes together with it.
void drawShiftedEdges(const Transmission& transmission, const Line& line, const ContentShift& content, double from,
                      double to, Waveform& wave) {
    const double half = transmission.halfPeriod;
    const double phase = transmission.dataPhase();
    const double spread = spreadOf(line.timing) + std::max(content.latest(), -content.earliest());
    const SlotRange slots = slotsIn(from - phase, to - phase, half, line.timing.skew, spread);
    SlotLevels levels(transmission.words, transmission.dataPins);
    bool level = levels(line.bit, slots.first - 1);
    double state = content.stateBefore(slots.first, levels);
    wave.first = level;
    for (std::int64_t slot = slots.first; slot <= slots.last; ++slot) {
        const bool now = levels(line.bit, slot);
        if (now != level) {
            level = now;
            const double time = edgeTime(transmission, line, phase, slot, now) + content.shift(state, slot, levels);
            if (!wave.toggles.empty() && time <= wave.toggles.back()) {
                wave.toggles.pop_back();
            } else {
                wave.toggles.push_back(time);
            }
        }
        state = content.memory().after(state, now);
    }
}

void drawFloating(const Line& line, double from, double to, Waveform& wave) {
    const std::uint64_t seed = line.timing.seed + floatSeed;
    const auto level = [&](std::int64_t cell) { return (hashOf(seed, static_cast<std::uint64_t>(cell)) & 1) != 0; };
    const auto first = static_cast<std::int64_t>(std::floor(from / floatingCell)) - 1;
    const auto last = static_cast<std::int64_t>(std::ceil(to / floatingCell)) + 1;
    wave.first = level(first - 1);
    for (std::int64_t cell = first; cell <= last; ++cell) {
        if (level(cell) != level(cell - 1)) {
            const double inside = uniformOf(seed, ~static_cast<std::uint64_t>(cell));
            wave.toggles.push_back((static_cast<double>(cell) + inside) * floatingCell);
        }
    }
}

void addGlitches(const LineTiming& timing, double from, double to, Waveform& wave) {
    const double every = timing.glitchEvery;
    const auto first = static_cast<std::int64_t>(std::floor(from / every));
    const auto last = static_cast<std::int64_t>(std::ceil(to / every));
    for (std::int64_t index = first; index <= last; ++index) {
        const double inside = uniformOf(timing.seed + glitchSeed, static_cast<std::uint64_t>(index));
        const double start = static_cast<double>(index) * every + inside * (every - timing.glitchLength);
        invertBetween(wave, start, start + timing.glitchLength);
    }
}

} // namespace

bool slotLevel(const Transmission& transmission, const Line& line, std::int64_t slot) {
    switch (line.source) {
    case LineSource::Clock:
        return slot >= 0 && slot % 2 == 0;
    case LineSource::Data:
        return slot >= 0 && line.bit < transmission.dataPins &&
               lineBit(transmission.words, transmission.dataPins, static_cast<std::uint64_t>(slot), line.bit);
    case LineSource::Constant:
    case LineSource::Floating:
        break;
    }
    return line.level;
}

Waveform drawLine(const Transmission& transmission, const Line& line, double from, double to) {
    Waveform wave;
    from -= reach;
    to += reach;
    switch (line.source) {
    case LineSource::Clock:
        drawEdges(transmission, line, from, to, wave);
        break;
    case LineSource::Data:
        if (const ContentShift content(line, transmission.halfPeriod); content.any()) {
            drawShiftedEdges(transmission, line, content, from, to, wave);
        } else {
            drawEdges(transmission, line, from, to, wave);
        }
        break;
    case LineSource::Constant:
        wave.first = line.level;
        break;
    case LineSource::Floating:
        drawFloating(line, from, to, wave);
        break;
    }
    if (line.timing.glitchEvery > 0.0 && line.timing.glitchLength > 0.0) {
        addGlitches(line.timing, from, to, wave);
    }
    putInOrder(wave);
    return wave;
}

} // namespace bench
