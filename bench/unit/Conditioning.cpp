#include "bench/unit/Conditioning.h"

#include "bench/unit/Registers.h"

namespace bench {

ProcSettings decodeProc(std::uint16_t first, std::uint16_t second) {
    ProcSettings settings;
    settings.enable = (first & reg::enableBit) != 0;
    settings.rcvrpin = (first >> 8) & 0x7FU;
    settings.delay = first & 0xFFU;
    settings.filter = (second >> 12) & 0xFU;
    const int size = (second >> 8) & 0x7;
    settings.stretch = (second & 0x800) != 0 ? size : -size;
    settings.plateau = (second >> 5) & 0x7U;
    settings.debounce = second & 0x1FU;
    return settings;
}

EdgeShift shiftOf(const ProcSettings& settings) {
    const double stretch = 0.5 * settings.stretch;
    const double delay = settings.delay;
    return {delay + (stretch < 0.0 ? -stretch : 0.0), delay + (stretch > 0.0 ? stretch : 0.0)};
}

void condition(Waveform& wave, const ProcSettings& settings) {
    removePulsesBelow(wave, 0.5 * settings.debounce);
    const EdgeShift shift = shiftOf(settings);
    moveEdges(wave, shift.rise, shift.fall);
}

} // namespace bench
