#pragma once

#include "bench/wiring/Line.h"
#include "bench/wiring/Waveform.h"

#include <cstdint>

namespace bench {

/// The settings in the two registers of a proc. `filter` and `plateau` are stored but have no effect here.
struct ProcSettings {
    bool enable = false;
    unsigned rcvrpin = 0;
    unsigned delay = 0; ///< samples
    unsigned filter = 0;
    int stretch = 0;       ///< half samples by which each run of ones grows, or shrinks
    unsigned plateau = 0;  ///< the register's code
    unsigned debounce = 0; ///< in half samples: shorter pulses are removed

    bool operator==(const ProcSettings&) const = default;
};

ProcSettings decodeProc(std::uint16_t first, std::uint16_t second);

/// How far conditioning moves rises and falls. Later falls lengthen ones and later rises shorten them, since no
/// edge can be earlier than it arrives.
struct EdgeShift {
    double rise = 0.0;
    double fall = 0.0;
};
EdgeShift shiftOf(const ProcSettings& settings);

/// Debounce, then stretch and delay.
void condition(Waveform& wave, const ProcSettings& settings);

} // namespace bench
