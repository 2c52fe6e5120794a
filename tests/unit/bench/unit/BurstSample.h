#pragma once

#include "bench/unit/Burst.h"

#include <cstddef>

namespace bench {

/// One sample of a burst; bit 0 of a word is the earliest.
inline bool sampleOf(const BurstWords& words, int sample) {
    return ((words[static_cast<std::size_t>(sample / 16)] >> (sample % 16)) & 1) != 0;
}

} // namespace bench
