#pragma once

#include "link/Escape.h"

#include <cstddef>
#include <cstdint>
#include <random>
#include <vector>

/// The records that the server of the link's benchmarks sends. A channel's mode is one of these, its buffer size the
/// size of a record.
enum class Content : std::uint32_t { Plain = 0, Random = 1 };

inline constexpr std::uint32_t kibi = 1024;
inline constexpr std::uint32_t mebi = 1024 * kibi;

/// Bytes that never need an escape, or any bytes.
inline std::vector<std::uint8_t> contentOf(Content kind, std::size_t size) {
    std::vector<std::uint8_t> bytes(size);
    std::mt19937 generator(1);
    for (std::uint8_t& byte : bytes) {
        do {
            byte = static_cast<std::uint8_t>(generator());
        } while (kind == Content::Plain && MPX_GDB_AGENT::needsEscape(byte));
    }
    return bytes;
}
