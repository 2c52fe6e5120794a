#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

/// The protocol of the data server. A request is one packet: `$`, the command, its arguments, `#` and two characters. A
/// reply is any number of callback records, a marker, the payload, `#` and two characters. Numbers are 32 bits,
/// little-endian; arguments, payloads and the fields of records are escaped.
namespace VX_QRS::ORV::wire {

inline constexpr std::uint32_t serverVersion = 1;

namespace command {
inline constexpr char version = 'v';
inline constexpr char connect = 'c';
inline constexpr char disconnect = 'C';
inline constexpr char read = 'm';
inline constexpr char write = 'M';
inline constexpr char openChannel = 'o';
inline constexpr char closeChannel = 'O';
inline constexpr char start = 's';
inline constexpr char status = '?';
inline constexpr char peek = 'p';
inline constexpr char stop = 'S';
inline constexpr char request = 'r';
inline constexpr char cancel = 'x';
inline constexpr char flush = 'f';
inline constexpr char poll = '~';
inline constexpr char quit = 'D';
} // namespace command

namespace marker {
inline constexpr char record[] = "$cb";
inline constexpr char ok[] = "$OK";
inline constexpr char error[] = "$E";
inline constexpr char exception[] = "$err";
} // namespace marker

/// Types of callback records.
namespace record {
inline constexpr std::uint32_t data = 7778;   ///< size, bytes
inline constexpr std::uint32_t error = 7779;  ///< code, length, text, length, text
inline constexpr std::uint32_t status = 7780; ///< value
} // namespace record

/// The checksum field exists, but neither side computes or checks it.
inline constexpr std::uint8_t checksum = 0;
inline constexpr std::uint32_t checksumSize = 2;

inline constexpr std::size_t wordSize = 4;
using Word = std::array<std::uint8_t, wordSize>;

constexpr void put(std::uint32_t value, std::span<std::uint8_t, wordSize> to) {
    for (std::size_t i = 0; i < wordSize; ++i) {
        to[i] = static_cast<std::uint8_t>(value >> (8 * i));
    }
}

constexpr std::uint32_t get(std::span<const std::uint8_t, wordSize> from) {
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < wordSize; ++i) {
        value |= std::uint32_t{from[i]} << (8 * i);
    }
    return value;
}

/// A register access record: three words.
inline constexpr std::size_t accessSize = 3 * wordSize;
using Access = std::array<std::uint8_t, accessSize>;

} // namespace VX_QRS::ORV::wire
