#pragma once

#include "bench/scenarios/Scenario.h"
#include "bench/signal/WordStream.h"
#include "bench/wiring/Waveform.h"

#include <cstdint>
#include <memory>

namespace bench {

// One run of a transmitter, from the moment it was programmed. Clock edge k samples data slot k; slot k lies
// on the wire from k half periods on, and the clock edge half a half period behind that ("center") or
// together with it
// ("edge"). Even clock edges rise. Before its start everything is low.
struct Transmission {
    std::int64_t start = 0;   // the unit's sample in which it began
    double phase = 0.0;       // of its slots against the unit's samples, 0 to 1
    double halfPeriod = 14.0; // samples
    unsigned dataPins = 4;
    Alignment alignment = Alignment::Center;
    WordStream words{makePattern(PatternName::F0, 4), 0};

    double dataPhase() const { return phase; }
    double clockPhase() const { return phase + (alignment == Alignment::Center ? halfPeriod / 2.0 : 0.0); }
};

using TransmissionPointer = std::shared_ptr<const Transmission>;

// Where a receiver input's signal comes from.
enum class LineSource { Clock, Data, Constant, Floating };

// What a signal meets on its way to a receiver input, and at it.
struct LineTiming {
    double skew = 0.0;     // samples, both edges
    double lateFall = 0.0; // samples, falling edges in addition
    double jitter = 0.0;   // samples rms, every edge
    double glitchEvery = 0.0;
    double glitchLength = 0.0;
    std::uint64_t seed = 0; // of the jitter and the glitches
};

struct Line {
    LineSource source = LineSource::Constant;
    unsigned bit = 0;   // Data: which bit of the group, 0 the top one
    bool level = false; // Constant
    LineTiming timing;
};

// Mean distance between the edges of a floating input, in samples.
inline constexpr double floatingEdgeDistance = 512.0;

// The level that a line carries in a slot, wiring left aside. Slots before the start are low.
bool slotLevel(const Transmission& transmission, const Line& line, std::int64_t slot);

// What arrives at the receiver input over the samples [from, to) counted from the transmission's start. The
// toggles reach a little beyond both ends, so that conditioning has something to look at.
Waveform drawLine(const Transmission& transmission, const Line& line, double from, double to);

} // namespace bench
