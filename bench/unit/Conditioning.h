#pragma once

#include "bench/wiring/Line.h"
#include "bench/wiring/Waveform.h"

#include <cstdint>

namespace bench {

// What the two registers of a proc say. `filter` and `plateau` are kept and change nothing here.
struct ProcSettings {
    bool enable = false;
    unsigned rcvrpin = 0;
    unsigned delay = 0; // samples
    unsigned filter = 0;
    int stretch = 0;       // half samples by which each run of ones grows, or shrinks
    unsigned plateau = 0;  // the register's code
    unsigned debounce = 0; // in half samples: pulses that are shorter are taken out

    bool operator==(const ProcSettings&) const = default;
};

ProcSettings decodeProc(std::uint16_t first, std::uint16_t second);

// How far conditioning moves rises and falls. Ones are lengthened by falls that come later and shortened by
// rises that come later, for nothing can come earlier than it arrives.
struct EdgeShift {
    double rise = 0.0;
    double fall = 0.0;
};
EdgeShift shiftOf(const ProcSettings& settings);

// Debounce, then stretch and delay.
void condition(Waveform& wave, const ProcSettings& settings);

} // namespace bench
