#pragma once

#include "bench/unit/Conditioning.h"
#include "bench/wiring/Line.h"

#include <cstdint>
#include <vector>

namespace bench {

// The data path in closed form: what the recorder takes at the clock edges follows from where those edges lie
// in each pin's eye and from the jitter, without looking at single samples. The recorder takes a data pin's
// level in the first sample at or behind a clock edge, just as the sampled waveform shows it.

// How a line's edges and disturbances come out of the conditioning. All lengths are in samples.
struct PathTiming {
    LineSource source = LineSource::Constant;
    double phase = 0.0; // of the edge of slot 0
    double rise = 0.0;
    double fall = 0.0;
    double jitter = 0.0;
    double lostOnes = 0.0; // chance that a one of a single slot is taken for a pulse and removed
    double lostZeros = 0.0;
    double glitchEvery = 0.0; // of the pulses that survive
    double glitchLength = 0.0;
};
PathTiming timePath(const Transmission& transmission, const Line& line, const ProcSettings& settings);

// Where the clock edges lie in one pin's eye. Slot m means that clock edge k takes what was sent in slot k +
// m.
struct PathQuality {
    std::int64_t slot = 0;
    double early = 0.0;     // chance that an edge takes the slot before, wherever the two differ
    double late = 0.0;      // the same for the slot behind
    double flip = 0.0;      // chance that a glitch is taken instead
    double offset = 0.0;    // mean distance of the taken sample from the beginning of the eye
    double offsetMin = 0.0; // over all clock edges, jitter left aside
    double offsetMax = 0.0;
    double eye = 0.0; // width of the eye
};
PathQuality judgePath(const PathTiming& clock, const PathTiming& data, double halfPeriod);

// One proc as the recorder sees it.
struct ProcPath {
    Line line;
    PathTiming timing;
    PathQuality quality; // slot 0 is where most data pins are: the unit finds the word boundary itself
};

// A stretch of recording during which nothing was reprogrammed.
struct Segment {
    TransmissionPointer transmission;
    ProcPath clock;
    std::vector<ProcPath> data;  // the enabled data procs, top bit first
    std::vector<unsigned> procs; // their numbers
    std::uint64_t firstWord = 0; // of the transmission's stream
    std::uint64_t seed = 0;
};

// Works out `timing` and `quality` of all procs from their lines and settings.
Segment makeSegment(TransmissionPointer transmission, const Line& clock, const ProcSettings& clockSettings,
                    const std::vector<Line>& data, const std::vector<ProcSettings>& dataSettings);

// Clock edges per half period of the transmitter, as the unit counts and uses them: 1 for a sound clock, 0
// for none.
double clockEdgesPerSlot(const Transmission& transmission, const ProcPath& clock, std::int64_t aroundSlot);

} // namespace bench
