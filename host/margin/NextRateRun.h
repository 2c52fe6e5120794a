#pragma once

#include "host/margin/MarginRun.h"

namespace host {

/// What would buy the rate above the fastest sound one, or above the kept one, into that rate of the result. Measures all refused rates above it,
/// with values of its own; the caller calibrates again. Nothing happens without such a rate, or where a property sets
/// another method of the calibration. Throws Failure.
void findNextRate(Session& session, MarginResult& result, PatternTransmitter& transmitter, ProgressLine& line);

} // namespace host
