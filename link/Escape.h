#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace MPX_GDB_AGENT {

/// The next byte means itself XOR `escapeMask`.
inline constexpr std::uint8_t escapeByte = 0x7D; // }
inline constexpr std::uint8_t escapeMask = 0x20;
inline constexpr std::uint8_t packetStart = 0x24; // $
inline constexpr std::uint8_t packetEnd = 0x23;   // #
/// Not used by this framing, but reserved by the protocol whose packet shape it has.
inline constexpr std::uint8_t runLengthByte = 0x2A; // *

constexpr bool needsEscape(std::uint8_t value) {
    return value == escapeByte || value == packetEnd || value == packetStart || value == runLengthByte;
}

/// Copies `in` to `out` with escapes. @param out storage of at least twice the bytes of `in`. @return the bytes
/// written; later bytes of the storage keep their content.
std::size_t escapeBytes(std::span<const std::uint8_t> in, std::uint8_t* out);

/// Result of `unescapeBytes`.
struct Unescaped {
    std::size_t used = 0;     ///< bytes taken from the input
    std::size_t produced = 0; ///< bytes written
};

/// Copies `in` to `out` without escapes, until either ends. An escape byte at the end of `in` is not used. Bytes of
/// `out` past those produced may be overwritten.
Unescaped unescapeBytes(std::span<const std::uint8_t> in, std::span<std::uint8_t> out);

} // namespace MPX_GDB_AGENT
