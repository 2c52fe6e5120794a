#include "bench/wiring/Waveform.h"

#include <algorithm>
#include <cmath>

namespace bench {

void putInOrder(Waveform& wave) {
    std::sort(wave.toggles.begin(), wave.toggles.end());
    removePulsesBelow(wave, 0.0);
}

void invertBetween(Waveform& wave, double from, double to) {
    wave.toggles.push_back(from);
    wave.toggles.push_back(to);
}

void removePulsesBelow(Waveform& wave, double length) {
    // Two toggles at the same moment cancel out, whatever the length.
    std::size_t kept = 0;
    for (const double toggle : wave.toggles) {
        if (kept != 0 && (toggle - wave.toggles[kept - 1] < length || toggle == wave.toggles[kept - 1])) {
            --kept;
        } else {
            wave.toggles[kept++] = toggle;
        }
    }
    wave.toggles.resize(kept);
}

void moveEdges(Waveform& wave, double rise, double fall) {
    bool level = wave.first;
    std::size_t kept = 0;
    for (const double toggle : wave.toggles) {
        level = !level;
        const double moved = toggle + (level ? rise : fall);
        if (kept != 0 && moved <= wave.toggles[kept - 1]) {
            --kept;
        } else {
            wave.toggles[kept++] = moved;
        }
    }
    wave.toggles.resize(kept);
}

void sampleInto(const Waveform& wave, double first, std::span<std::uint16_t> words) {
    constexpr std::size_t bits = 16;
    bool level = wave.first;
    auto next = wave.toggles.begin();
    double time = first;
    for (std::uint16_t& word : words) {
        unsigned value = 0;
        for (std::size_t bit = 0; bit < bits; ++bit, time += 1.0) {
            while (next != wave.toggles.end() && *next <= time) {
                level = !level;
                ++next;
            }
            value |= (level ? 1U : 0U) << bit;
        }
        word = static_cast<std::uint16_t>(value);
    }
}

} // namespace bench
