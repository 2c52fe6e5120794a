#pragma once

#include "diagnosis/stream/StreamCheck.h"

#include <cstdint>
#include <random>
#include <string>
#include <vector>

// Recordings made up by a seed, sound or with one damage whose place and kind are known.

namespace stream_test {

struct MadeStream {
    std::vector<std::uint8_t> bytes;
    diagnosis::StreamForm form; ///< as a user would give it
    std::string what;           ///< for a failed test
    bool judged = true;         ///< there is enough to call it sound
    // With a damage:
    std::uint64_t place = 0; ///< byte of the first word that differs, of those that can be judged
    diagnosis::DamageKind kind = diagnosis::DamageKind::Noise;
};

/// "pti", "tpiu" and "tpiulite" of 1, 2 and 4 data pins; patterns, generated trace, noise and idle; wrapped or not.
MadeStream makeSound(std::uint64_t seed);

/// The same with a damage that the content can show.
MadeStream makeDamaged(std::uint64_t seed);

diagnosis::StreamCheck checkOf(const std::vector<std::uint8_t>& bytes, const diagnosis::StreamForm& form);

} // namespace stream_test
