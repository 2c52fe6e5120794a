#pragma once

#include "rcvr/framework/compiler/Compiler.h"

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

// Blocks of 16 bytes.

namespace MPX_GDB_AGENT {

using Block = VX_QRS::ByteBlock;
using VX_QRS::hasShuffle;
using VX_QRS::shuffled;

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
    const auto words = std::bit_cast<VX_QRS::WordBlock>(marked);
    return (words[0] | words[1]) != 0;
}

/// The highest bit of each byte.
inline Flags flagsOf(const Block& marked) {
    return VX_QRS::highestBits(marked);
}

} // namespace MPX_GDB_AGENT
