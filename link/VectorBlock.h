#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

// Blocks of 16 bytes. Instructions are named here only, by the names that all our compilers have for them; each is one
// of every x86-64 unless it says otherwise.

namespace MPX_GDB_AGENT {

using Block __attribute__((vector_size(16))) = std::uint8_t;

inline constexpr std::size_t blockSize = sizeof(Block);

/// One bit for each byte of a block, the first byte's lowest.
using Flags = std::uint32_t;

static_assert(std::endian::native == std::endian::little, "the first byte is the lowest one");

inline Block load(const std::uint8_t* from) {
    Block block;
    std::memcpy(&block, from, blockSize);
    return block;
}

inline void store(std::uint8_t* to, const Block& block) {
    std::memcpy(to, &block, blockSize);
}

/// True when any bit is set.
inline bool any(const Block& marked) {
    using Words __attribute__((vector_size(16))) = std::uint64_t;
    const auto words = std::bit_cast<Words>(marked);
    return (words[0] | words[1]) != 0;
}

using Chars __attribute__((vector_size(16))) = char;

/// The highest bit of each byte. Portable code costs a fifth of the speed.
inline Flags flagsOf(const Block& marked) {
    return static_cast<Flags>(__builtin_ia32_pmovmskb128(std::bit_cast<Chars>(marked)));
}

/// Marks a function that uses `shuffled`, and may be called only where `hasShuffle`.
#define ORV_SHUFFLES __attribute__((target("ssse3")))

/// Whether the processor has SSSE3, which nearly all have.
inline bool hasShuffle() {
    return __builtin_cpu_supports("ssse3") != 0;
}

/// Byte i of the result is that of `bytes` at `places[i]`, 0 for places from 0x80 on.
ORV_SHUFFLES inline Block shuffled(const Block& bytes, const Block& places) {
    return std::bit_cast<Block>(__builtin_ia32_pshufb128(std::bit_cast<Chars>(bytes), std::bit_cast<Chars>(places)));
}

} // namespace MPX_GDB_AGENT
