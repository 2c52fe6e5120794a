#pragma once

#include "bench/wiring/Wiring.h"

#include <vector>

namespace bench {

/// A ramp on four data pins.
inline Transmission rampAt(double halfPeriod) {
    Transmission sent;
    sent.halfPeriod = halfPeriod;
    sent.words = WordStream(makePattern(PatternName::Ramp, 4), 0);
    return sent;
}

/// Its EMU pins: the clock, then bits 0 to 3, so that EMU 1 carries line 3.
inline const std::vector<unsigned> pins{0, 1, 2, 3, 4};

} // namespace bench
