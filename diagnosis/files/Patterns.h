#pragma once

#include "rcvr/framework/TraceLimits.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

namespace diagnosis {

namespace limits = Vx::Qrs::Trace::limits;

/// A test pattern on a number of data pins: words of 16 bits, repeated indefinitely.
struct Pattern {
    std::string_view name;
    std::span<const std::uint16_t> words; ///< static storage, never empty

    /// The word that follows `word`; nothing for a word that is not in the pattern.
    std::optional<std::uint16_t> next(std::uint16_t word) const;
};

/// The patterns of verifications, the likeliest first; empty for a number of pins other than 1, 2 and 4.
std::span<const Pattern> patternsFor(std::size_t dataPins);
/// Those that the receiver sends unless a property names another one: the ramps. Some faults turn one pattern into
/// another: two pins of a ramp that are shorted show "f0".
std::span<const Pattern> usualPatterns(std::size_t dataPins);
std::optional<Pattern> patternNamed(std::size_t dataPins, std::string_view name);
/// The ramp of the unit's own generator.
Pattern unitRamp(std::size_t dataPins);

/// Bit slots of a word: the half clock periods that it takes.
constexpr std::size_t slotsOf(std::size_t dataPins) {
    return 16 / dataPins;
}

/// What data pin `line` (0 carries the top bit) shows in bit slot `slot` of a word.
constexpr bool lineBit(std::uint16_t word, std::size_t dataPins, std::size_t slot, std::size_t line) {
    return (word >> (15 - slot * dataPins - line) & 1) != 0;
}

} // namespace diagnosis
