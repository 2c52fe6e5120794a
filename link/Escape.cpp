#include "link/Escape.h"

#include "rcvr/framework/compiler/Compiler.h"

#include <bit>
#include <cstring>

namespace MPX_GDB_AGENT {

namespace {

// Payloads are recorded samples. Some need hardly any escapes, others one in 64 bytes at positions that no processor
// predicts: a branch for each of these costs more than everything else. So there are two paths for a group of blocks. A
// group without special bytes is copied. Otherwise this and the next groups are processed block by block without
// branches: each block is stored whole, and the bytes after its first special byte are stored a second time, shifted,
// whether or not it has one. Only a further special byte in the same block takes a branch. Excess bytes are overwritten
// by the bytes that follow.
using Block = VX_QRS::ByteBlock;

constexpr std::size_t blockSize = sizeof(Block);
constexpr std::size_t blocks = 4;
constexpr std::size_t groupSize = blocks * blockSize;
// The shifted part of a block and its excess bytes end up to two blocks and two bytes after its start.
constexpr std::size_t groupReach = groupSize + 2 * blockSize;
// After a group with special bytes, this many groups are processed without a check for them.
constexpr int carefulGroups = 8;

static_assert(std::endian::native == std::endian::little, "the first byte is the lowest one");

Block load(const std::uint8_t* from) {
    Block block;
    std::memcpy(&block, from, blockSize);
    return block;
}

void store(std::uint8_t* to, const Block& block) {
    std::memcpy(to, &block, blockSize);
}

// Sets all bits of the bytes to be escaped.
Block special(const Block& block) {
    return std::bit_cast<Block>((block == escapeByte) | (block == packetEnd) | (block == packetStart) |
                                (block == runLengthByte));
}

Block escapes(const Block& block) {
    return std::bit_cast<Block>(block == escapeByte);
}

bool any(const Block& marked) {
    const auto words = std::bit_cast<VX_QRS::WordBlock>(marked);
    return (words[0] | words[1]) != 0;
}

// The marked bytes, one bit each, the first byte's lowest.
using Flags = std::uint32_t;

Flags flagsOf(const Block& marked) {
    return VX_QRS::highestBits(marked);
}

// 1 when there is a flag. Compilers turn a comparison into a branch.
std::size_t oneIfAny(Flags flags) {
    return (flags | (Flags{0} - flags)) >> 31;
}

// Index of the lowest flag's byte; blockSize when there is none.
std::size_t first(Flags flags) {
    return static_cast<std::size_t>(std::countr_zero(flags | Flags{1} << blockSize));
}

Flags withoutFirst(Flags flags) {
    return flags & (flags - 1);
}

// Writes an escaped byte and the rest of its block.
void escapeFrom(const std::uint8_t* from, std::uint8_t* to) {
    to[0] = escapeByte;
    to[1] = *from ^ escapeMask;
    store(to + 2, load(from + 1));
}

// The rare case: more than one special byte in a block. `further` are all but the first.
std::uint8_t* escapeFurther(const std::uint8_t* from, Flags further, std::uint8_t* to) {
    for (; further != 0; further = withoutFirst(further)) {
        const std::size_t at = first(further);
        escapeFrom(from + at, to + at);
        ++to;
    }
    return to;
}

// `marked` has the flags of the bytes to be escaped. @return the next position of the output.
inline std::uint8_t* escapeBlock(const std::uint8_t* from, Block block, Flags marked, std::uint8_t* to) {
    store(to, block);
    const std::size_t at = first(marked);
    escapeFrom(from + at, to + at);
    to += oneIfAny(marked);
    const Flags further = withoutFirst(marked);
    if (further != 0) [[unlikely]] {
        to = escapeFurther(from, further, to);
    }
    return to + blockSize;
}

struct UnescapeState {
    const std::uint8_t* from;
    std::uint8_t* to;
    bool pending; // the byte before `from` is an escape whose partner follows
};

// Byte by byte up to `stop`, and on to the first position where the preceding byte is a pending escape or none.
UnescapeState unescapeSlowly(UnescapeState state, const std::uint8_t* stop, const std::uint8_t* end,
                             const std::uint8_t* full) {
    while (state.from != end && state.to != full &&
           (state.from < stop || (!state.pending && state.from[-1] == escapeByte))) {
        const std::uint8_t byte = *state.from++;
        const bool isEscape = !state.pending && byte == escapeByte;
        if (!isEscape) {
            *state.to++ = byte ^ (state.pending ? escapeMask : std::uint8_t{0});
        }
        state.pending = isEscape;
    }
    return state;
}

// Writes the partner of the escape at `from` and the rest of its block.
void unescapeFrom(const std::uint8_t* from, std::uint8_t* to) {
    const std::uint8_t partner = from[1] ^ escapeMask;
    store(to, load(from + 1));
    *to = partner;
}

std::uint8_t* unescapeFurther(const std::uint8_t* from, Flags further, std::uint8_t* to) {
    for (; further != 0; further = withoutFirst(further)) {
        const std::size_t at = first(further);
        unescapeFrom(from + at, to + at);
        --to;
    }
    return to;
}

// `marked` has the flags of the escape bytes, no two of them adjacent. The block's first byte may be the partner of a
// preceding one.
inline std::uint8_t* unescapeBlock(const std::uint8_t* from, Block block, Flags marked, std::uint8_t* to) {
    store(to, block ^ (escapes(load(from - 1)) & escapeMask));
    const std::size_t at = first(marked);
    unescapeFrom(from + at, to + at);
    to -= oneIfAny(marked);
    const Flags further = withoutFirst(marked);
    if (further != 0) [[unlikely]] {
        to = unescapeFurther(from, further, to);
    }
    return to + blockSize;
}

} // namespace

std::size_t escapeBytes(std::span<const std::uint8_t> in, std::uint8_t* out) {
    const std::uint8_t* from = in.data();
    const std::uint8_t* const end = from + in.size();
    std::uint8_t* to = out;
    // The output has space for at least twice the rest of the input.
    for (int careful = 0; static_cast<std::size_t>(end - from) >= groupReach; from += groupSize) {
        const Block b0 = load(from);
        const Block b1 = load(from + blockSize);
        const Block b2 = load(from + 2 * blockSize);
        const Block b3 = load(from + 3 * blockSize);
        const Block s0 = special(b0);
        const Block s1 = special(b1);
        const Block s2 = special(b2);
        const Block s3 = special(b3);
        if (careful == 0) {
            if (!any(s0 | s1 | s2 | s3)) {
                std::memcpy(to, from, groupSize);
                to += groupSize;
                continue;
            }
            careful = carefulGroups;
        }
        --careful;
        to = escapeBlock(from, b0, flagsOf(s0), to);
        to = escapeBlock(from + blockSize, b1, flagsOf(s1), to);
        to = escapeBlock(from + 2 * blockSize, b2, flagsOf(s2), to);
        to = escapeBlock(from + 3 * blockSize, b3, flagsOf(s3), to);
    }
    for (; from != end; ++from) {
        if (needsEscape(*from)) {
            *to++ = escapeByte;
            *to++ = *from ^ escapeMask;
        } else {
            *to++ = *from;
        }
    }
    return static_cast<std::size_t>(to - out);
}

Unescaped unescapeBytes(std::span<const std::uint8_t> in, std::span<std::uint8_t> out) {
    const std::uint8_t* const end = in.data() + in.size();
    const std::uint8_t* const full = out.data() + out.size();
    UnescapeState state{in.data(), out.data(), false};
    const auto roomForGroup = [&] {
        return static_cast<std::size_t>(end - state.from) >= groupReach &&
               static_cast<std::size_t>(full - state.to) >= groupReach;
    };
    // A block reads the byte before it.
    if (roomForGroup()) {
        state = unescapeSlowly(state, state.from + 1, end, full);
    }
    for (int careful = 0; roomForGroup();) {
        const std::uint8_t* const from = state.from;
        const Block b0 = load(from);
        const Block b1 = load(from + blockSize);
        const Block b2 = load(from + 2 * blockSize);
        const Block b3 = load(from + 3 * blockSize);
        const Block e0 = escapes(b0);
        const Block e1 = escapes(b1);
        const Block e2 = escapes(b2);
        const Block e3 = escapes(b3);
        if (careful == 0) {
            if (!state.pending && !any(e0 | e1 | e2 | e3)) {
                std::memcpy(state.to, from, groupSize);
                state.from += groupSize;
                state.to += groupSize;
                continue;
            }
            careful = carefulGroups;
        }
        --careful;
        const Flags f0 = flagsOf(e0);
        const Flags f1 = flagsOf(e1);
        const Flags f2 = flagsOf(e2);
        const Flags f3 = flagsOf(e3);
        // An escape byte directly after another is data. No encoder writes that.
        constexpr unsigned last = blockSize - 1;
        const Flags pending = state.pending ? 1 : 0;
        const Flags doubled = (f0 & (f0 << 1 | pending)) | (f1 & (f1 << 1 | f0 >> last)) |
                              (f2 & (f2 << 1 | f1 >> last)) | (f3 & (f3 << 1 | f2 >> last));
        if (doubled != 0) {
            state = unescapeSlowly(state, from + groupSize, end, full);
            continue;
        }
        std::uint8_t* to = unescapeBlock(from, b0, f0, state.to);
        to = unescapeBlock(from + blockSize, b1, f1, to);
        to = unescapeBlock(from + 2 * blockSize, b2, f2, to);
        to = unescapeBlock(from + 3 * blockSize, b3, f3, to);
        state = {from + groupSize, to, f3 >> last != 0};
    }
    state = unescapeSlowly(state, end, end, full);
    if (state.pending) {
        --state.from;
    }
    return {static_cast<std::size_t>(state.from - in.data()), static_cast<std::size_t>(state.to - out.data())};
}

} // namespace MPX_GDB_AGENT
