#pragma once

#include "client/analysis/Burst.h"
#include "client/analysis/Metrics.h"

// Setup and hold margins: the distances of data edges from the following and the preceding clock edge.

namespace VX_QRS::ORV::CLIENT::analysis {

/// Both margins of every pin: the least distances, in samples, from a data edge back and on to a clock edge; 0x7FFFFFFF
/// for the clock, and for a lane without edges. `clockOffset` replaces a delay of the clock that the unit does not have
/// yet.
void findMargin(const Burst& burst, std::uint32_t clockOffset, Metrics& m);

/// The margins of the bus, which decide whether the clock can be centred.
struct ClockCentring {
    std::uint32_t holdMargin = 0;  ///< the least `marginBefore` of the data pins
    std::uint32_t setupMargin = 0; ///< the least `marginAfter` of the data pins
    std::uint32_t need = 0;        ///< a third of a clock period
    bool enough = false;
};

/// The bus's margins against what is needed. The sum is taken in 32 bits and wraps, so that pins without edges pass.
ClockCentring clockMargins(const Burst& burst, const Metrics& m);

/// Moves the clock into the middle of the reference pin's margins.
void centreClock(std::uint32_t referencePin, Metrics& m);

/// A fault in a burst that was captured while recording.
struct MarginFault {
    enum class Kind { none, clock, data } kind = Kind::none;
    std::uint32_t word = 0; ///< index of the word at which it happened
};

/// Follows all pins through the burst: a clock edge within `margin` clock edges of the last data edge is a clock fault,
/// a second data edge without a clock edge between is a data fault.
MarginFault findMarginFault(const Burst& burst, std::int32_t margin);

} // namespace VX_QRS::ORV::CLIENT::analysis
