#include "link/Escape.h"

#include <array>
#include <bit>
#include <cstring>

namespace MPX_GDB_AGENT {

namespace {

// Payloads are mostly recorded samples, in which one byte of 64 needs an escape. So bytes are looked at and copied
// in blocks, and only a block that holds an escape is taken apart. A block is stored whole before that: what is
// stored too much is overwritten by the bytes that follow.
using Block __attribute__((vector_size(16))) = std::uint8_t;
using Halves = std::array<std::uint64_t, 2>;
constexpr std::size_t blockSize = sizeof(Block);

Block load(const std::uint8_t* from) {
    Block block;
    std::memcpy(&block, from, blockSize);
    return block;
}

void store(std::uint8_t* to, const Block& block) {
    std::memcpy(to, &block, blockSize);
}

// Index of the first byte of a comparison's result that is set; blockSize when there is none. One branch only: where
// in the block the byte stands is nothing that a processor could guess.
template <class Mask>
std::size_t firstSet(const Mask& mask) {
    static_assert(sizeof(Mask) == blockSize);
    static_assert(std::endian::native == std::endian::little, "the first byte is the lowest one");
    const auto halves = std::bit_cast<Halves>(mask);
    if ((halves[0] | halves[1]) == 0)
        return blockSize;
    // One bit for each byte, the first byte's lowest.
    constexpr std::uint64_t lowest = 0x0101010101010101u;
    constexpr std::uint64_t gather = 0x0102040810204080u;
    const std::uint64_t low = ((halves[0] & lowest) * gather) >> 56;
    const std::uint64_t high = ((halves[1] & lowest) * gather) >> 56;
    return static_cast<std::size_t>(std::countr_zero(low | high << 8));
}

std::size_t firstToEscape(const Block& block) {
    return firstSet((block == escapeByte) | (block == packetEnd) | (block == packetStart) | (block == runLengthByte));
}

} // namespace

std::size_t escapeBytes(std::span<const std::uint8_t> in, std::uint8_t* out) {
    const std::uint8_t* from = in.data();
    const std::uint8_t* const end = from + in.size();
    std::uint8_t* to = out;
    while (static_cast<std::size_t>(end - from) >= blockSize) {
        const Block block = load(from);
        store(to, block);
        const std::size_t plain = firstToEscape(block);
        from += plain;
        to += plain;
        if (plain < blockSize) {
            *to++ = escapeByte;
            *to++ = static_cast<std::uint8_t>(*from++ ^ escapeMask);
        }
    }
    while (from != end) {
        if (needsEscape(*from)) {
            *to++ = escapeByte;
            *to++ = static_cast<std::uint8_t>(*from++ ^ escapeMask);
        } else {
            *to++ = *from++;
        }
    }
    return static_cast<std::size_t>(to - out);
}

Unescaped unescapeBytes(std::span<const std::uint8_t> in, std::span<std::uint8_t> out) {
    const std::uint8_t* from = in.data();
    const std::uint8_t* const end = from + in.size();
    std::uint8_t* to = out.data();
    std::uint8_t* const full = to + out.size();
    // One byte more than a block, so that the partner of an escape at its end is there as well.
    while (static_cast<std::size_t>(end - from) > blockSize && static_cast<std::size_t>(full - to) >= blockSize) {
        const Block block = load(from);
        store(to, block);
        const std::size_t plain = firstSet(block == escapeByte);
        from += plain;
        to += plain;
        if (plain < blockSize) {
            *to++ = static_cast<std::uint8_t>(from[1] ^ escapeMask);
            from += 2;
        }
    }
    while (from != end && to != full) {
        if (*from != escapeByte) {
            *to++ = *from++;
        } else if (end - from >= 2) {
            *to++ = static_cast<std::uint8_t>(from[1] ^ escapeMask);
            from += 2;
        } else {
            break;
        }
    }
    return {static_cast<std::size_t>(from - in.data()), static_cast<std::size_t>(to - out.data())};
}

} // namespace MPX_GDB_AGENT
