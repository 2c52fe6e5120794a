#pragma once

#include "diagnosis/tune/Values.h"

namespace diagnosis::tune {

/// Filter, plateau and debounce for a clock period of so many samples, by the receiver's own table.
PinValue receiversConditioning(double samplesOfPeriod);

/// The same with a debounce that leaves a pulse of `shortest` samples, with rms jitter on each of its edges, in peace: no
/// more often than `errorRate` one is taken for a disturbance.
PinValue conditioningFor(double samplesOfPeriod, double shortest, double jitter, double errorRate);

} // namespace diagnosis::tune
