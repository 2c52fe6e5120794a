#pragma once

#include "bench/scenarios/Scenario.h"
#include "bench/signal/WordStream.h"
#include "bench/wiring/Waveform.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace bench {

/// One run of a transmitter, from the moment it was programmed. Clock edge k samples data slot k; slot k begins
/// k half periods after the start, and its clock edge is half a half period later ("center") or at the same
/// time ("edge"). Even clock edges rise. Before the start all lines are low.
struct Transmission {
    std::int64_t start = 0;   ///< sample of the unit at the start
    double phase = 0.0;       ///< of its slots against the unit's samples, 0 to 1
    double halfPeriod = 14.0; ///< samples
    unsigned dataPins = 4;
    Alignment alignment = Alignment::Center;
    WordStream words{makePattern(PatternName::F0, 4), 0};

    double dataPhase() const { return phase; }
    double clockPhase() const { return phase + (alignment == Alignment::Center ? halfPeriod / 2.0 : 0.0); }
};

using TransmissionPointer = std::shared_ptr<const Transmission>;

/// The source of a receiver input's signal.
enum class LineSource { Clock, Data, Constant, Floating };

/// The disturbances on the way to a receiver input, and at the input.
struct LineTiming {
    double skew = 0.0;     ///< samples, both edges
    double lateFall = 0.0; ///< samples, falling edges in addition
    double jitter = 0.0;   ///< samples rms, every edge
    double glitchEvery = 0.0;
    double glitchLength = 0.0;
    std::uint64_t seed = 0; ///< of the jitter and the glitches
    double memory = 0.0;    ///< samples: time constant with which the line settles; 0: at once
    double coupling = 0.0;  ///< samples by which an edge of a neighbour shifts an edge in the same slot
};

struct Line {
    LineSource source = LineSource::Constant;
    unsigned bit = 0;   ///< Data: which bit of the group, 0 the top one
    bool level = false; ///< Constant
    LineTiming timing;
    std::vector<unsigned> neighbours; ///< Data with coupling: bits of the group on the adjacent wires
};

/// Mean distance between the edges of a floating input, in samples.
inline constexpr double floatingEdgeDistance = 512.0;

/// The level of a line in a slot, without the effects of wiring. Slots before the start are low.
bool slotLevel(const Transmission& transmission, const Line& line, std::int64_t slot);

/// The signal at the receiver input over the samples [from, to), counted from the transmission's start. Toggles
/// extend a little beyond both ends, as conditioning needs.
Waveform drawLine(const Transmission& transmission, const Line& line, double from, double to);

} // namespace bench
