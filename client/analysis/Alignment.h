#pragma once

#include "client/analysis/Burst.h"
#include "client/analysis/Metrics.h"

// Duty correction and sampling delays from a burst. Results go into the entries of the pins in use; all else in a
// Metrics stays.

namespace VX_QRS::ORV::CLIENT::analysis {

/// Half a clock period in whole samples.
std::uint32_t halfPeriod(double oversampling);

/// `ones`, `zeros` and `stretch` of every pin. `onesRatio` is the pattern's share of ones on a data pin; the clock is
/// held to be even. The ones count over the whole burst while the zeros are taken from a shorter total.
void stretch(const Burst& burst, double onesRatio, Metrics& m);

/// Centres each data pin between its margins, which must be known. The clock's delay stays.
void alignDataWithClock(const Burst& burst, Metrics& m);

/// Moves each data pin to where it correlates best with the reference pin. The clock's delay stays.
void alignDataWithData(const Burst& burst, std::uint32_t referencePin, Metrics& m);

/// `correlationAtZero` of each data pin.
void correlateAtZero(const Burst& burst, std::uint32_t referencePin, Metrics& m);

/// The first of the largest correlations in amount between lag -range and range, and in `delay` its lag, negated.
/// Values that are not a number never win; without any other the result is 0 at delay 0.
double findPeakCorrelation(const ProcMetrics& p, std::int32_t& delay, std::uint32_t range);

/// Shifts all delays so that the least is 0, and limits them to the range of the unit.
void formatDelays(std::uint32_t numPins, Metrics& m);

} // namespace VX_QRS::ORV::CLIENT::analysis
