#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

namespace diagnosis {

/// A test pattern as it comes over a number of data pins: words of 16 bits, repeated for ever.
struct Pattern {
    std::string_view name;
    std::span<const std::uint16_t> words; ///< static storage, never empty

    /// The word behind `word`, or nothing when that is none of the pattern's.
    std::optional<std::uint16_t> next(std::uint16_t word) const;
};

/// The patterns that a proof can be made of, the likeliest first; empty for a number of pins other than 1, 2 and 4.
std::vector<Pattern> patternsFor(std::size_t dataPins);

/// Bit slots of a word: half clock periods in which it comes.
constexpr std::size_t slotsOf(std::size_t dataPins) {
    return 16 / dataPins;
}

/// What data pin `line` (0 carries the top bit) shows in bit slot `slot` of a word.
constexpr bool lineBit(std::uint16_t word, std::size_t dataPins, std::size_t slot, std::size_t line) {
    return (word >> (15 - slot * dataPins - line) & 1) != 0;
}

/// A synchronisation sequence on the wire: five zero words, the mark, and one further word.
inline constexpr std::uint16_t syncMark = 0x0FF0;
inline constexpr std::size_t syncZeros = 5;
inline constexpr std::size_t syncWords = syncZeros + 2;

} // namespace diagnosis
