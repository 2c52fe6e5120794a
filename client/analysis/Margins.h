#pragma once

#include "client/analysis/Burst.h"
#include "client/analysis/Metrics.h"

// How far data edges keep away from clock edges.

namespace VX_QRS::ORV::CLIENT::analysis {

/// Both margins of every pin: the least distances, in samples, from a data edge back and on to a clock edge. They are
/// 0x7FFFFFFF for the clock and where no edge was seen. `clockOffset` stands in for a delay of the clock that the unit
/// does not have yet.
void findMargin(const Burst& burst, std::uint32_t clockOffset, Metrics& m);

/// What centring the clock came to.
struct ClockCentring {
    std::uint32_t before = 0; ///< the smallest margin of the data pins
    std::uint32_t after = 0;
    std::uint32_t need = 0; ///< a third of a clock period
    bool enough = false;
};

/// The bus's margins against what is needed. The sum is taken in 32 bits and wraps, so that pins without edges pass.
ClockCentring clockMargins(const Burst& burst, const Metrics& m);

/// Moves the clock into the middle of the reference pin's margins.
void centreClock(std::uint32_t referencePin, Metrics& m);

/// The watch over a burst that was taken while recording.
struct MarginFault {
    enum class Kind { none, clock, data } kind = Kind::none;
    std::uint32_t word = 0; ///< index of the word at which it happened
};

/// Follows all pins through the burst: a clock edge within `margin` clock edges of the last data edge is a clock fault,
/// a second data edge without a clock edge between is a data fault.
MarginFault findMarginFault(const Burst& burst, std::int32_t margin);

} // namespace VX_QRS::ORV::CLIENT::analysis
