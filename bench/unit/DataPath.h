#pragma once

#include "bench/unit/Conditioning.h"
#include "bench/unit/EdgeChances.h"
#include "bench/wiring/Line.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace bench {

/// The data path in closed form: the recorded bits follow from the position of the clock edges in each pin's eye
/// and from the jitter, without computing single samples; where the content shifts edges, also from the content
/// (ContentChances). The recorder uses a data pin's level in the first
/// sample at or after a clock edge, as in the sampled waveform.

/// A line's edges and disturbances after conditioning. All lengths are in samples.
struct PathTiming {
    LineSource source = LineSource::Constant;
    double phase = 0.0; ///< of the edge of slot 0
    double rise = 0.0;
    double fall = 0.0;
    double jitter = 0.0;
    double lostOnes = 0.0; ///< probability that debounce removes a one of a single slot
    double lostZeros = 0.0;
    double one = 0.0; ///< length of a one of a single slot, and that below which it is removed
    double zero = 0.0;
    double shortestOne = 0.0;
    double shortestZero = 0.0;
    /// How far the content can shift an edge (ContentShift); equal for a line that it does not shift.
    double earliest = 0.0;
    double latest = 0.0;
    double shortest = 0.0;    ///< the same of a single slot: by how much it becomes longer, negative
    double glitchEvery = 0.0; ///< of the pulses that survive
    double glitchLength = 0.0;

    bool shifts() const { return earliest != latest; }
    /// The same probabilities for a pulse that the content makes longer, or shorter if negative.
    double lostOne(double longer) const;
    double lostZero(double longer) const;
};
PathTiming timePath(const Transmission& transmission, const Line& line, const ProcSettings& settings);

/// Position of the clock edges in one pin's eye. Slot m means that clock edge k samples the data of slot k + m. For a
/// line whose edges the content shifts, all is that of the worst content: the eye is open for any.
struct PathQuality {
    std::int64_t slot = 0;
    double early = 0.0;     ///< probability of sampling the preceding slot
    double late = 0.0;      ///< probability of sampling the next slot
    double flip = 0.0;      ///< probability of sampling a glitch
    double lost = 0.0;      ///< probability of losing a pulse of a single slot to debounce, stretch or jitter
    double offset = 0.0;    ///< mean distance of the sample from the start of the eye
    double offsetMin = 0.0; ///< over all clock edges, without jitter
    double offsetMax = 0.0;
    double eye = 0.0; ///< width of the eye
};
PathQuality judgePath(const PathTiming& clock, const PathTiming& data, double halfPeriod);

/// One proc as the recorder sees it.
struct ProcPath {
    Line line;
    PathTiming timing;
    PathQuality quality; ///< slot 0 is that of most data pins: the unit finds the word boundary itself
    std::shared_ptr<const EdgeChances> edges; ///< only where the content shifts edges
};

/// An interval of a recording without any reprogramming.
struct Segment {
    TransmissionPointer transmission;
    ProcPath clock;
    std::vector<ProcPath> data;  ///< the enabled data procs, top bit first
    std::vector<unsigned> procs; ///< their numbers
    /// Probability, in a slot, that the clock loses the pulse that begins there: all words shift until the next sequence.
    double clockLoss() const { return (clock.timing.lostOnes + clock.timing.lostZeros) / 2.0; }
    std::uint64_t firstWord = 0; ///< of the transmission's stream
    std::uint64_t seed = 0;
};

/// Computes `timing` and `quality` of all procs from their lines and settings.
Segment makeSegment(TransmissionPointer transmission, const Line& clock, const ProcSettings& clockSettings,
                    const std::vector<Line>& data, const std::vector<ProcSettings>& dataSettings);

/// Clock edges per half period of the transmitter, as the unit counts and uses them: 1 for a sound clock, 0
/// for none.
double clockEdgesPerSlot(const Transmission& transmission, const ProcPath& clock, std::int64_t aroundSlot);

} // namespace bench
