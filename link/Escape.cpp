#include "link/Escape.h"

#include "link/VectorBlock.h"

#include <array>
#include <bit>
#include <cstring>

namespace MPX_GDB_AGENT {

namespace {

// Payloads are recorded samples. Some need hardly any escapes, others one in 64 bytes at positions that no processor
// predicts: a branch for each of these costs more than everything else. So there are two paths for a group of blocks. A
// group without special bytes is copied. Otherwise this and the next groups are processed block by block without
// branches: the bytes after a block's first special byte are shifted, whether or not it has one. Only a further special
// byte in the same block takes a branch. Excess bytes are overwritten by the bytes that follow.
constexpr std::size_t blocks = 4;
constexpr std::size_t groupSize = blocks * blockSize;
// The shifted part of a block and its excess bytes end up to two blocks and two bytes after its start.
constexpr std::size_t groupReach = groupSize + 2 * blockSize;
// After a group with special bytes, this many groups are processed without a check for them.
constexpr int carefulGroups = 8;

// Sets all bits of the bytes to be escaped.
Block special(const Block& block) {
    return std::bit_cast<Block>((block == escapeByte) | (block == packetEnd) | (block == packetStart) |
                                (block == runLengthByte));
}

Block escapes(const Block& block) {
    return std::bit_cast<Block>(block == escapeByte);
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

// Stores the block whole, then the bytes from the first special one on a second time, shifted. `marked` has the flags of
// the bytes to be escaped. @return the next position of the output.
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

// Decoders of a block. `marked` has the flags of the escape bytes, no two of them adjacent. The block's first byte may be
// the partner of a preceding one. @return the next position of the output.

// Stores the block whole, then the bytes from the first escape's partner on a second time, shifted.
struct PlainDecoder {
    static std::uint8_t* unescape(const std::uint8_t* from, const Block& block, Flags marked, std::uint8_t* to) {
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
};

constexpr std::size_t noPlace = 0x80;
using Places = std::array<std::uint8_t, blockSize>;

// The places of a block's bytes without one of them; in the last row none is left out.
constexpr std::array<Places, blockSize + 1> placesWithoutOne() {
    std::array<Places, blockSize + 1> table{};
    for (std::size_t row = 0; row < table.size(); ++row) {
        for (std::size_t i = 0; i < blockSize; ++i) {
            const std::size_t place = i < row ? i : i + 1;
            table[row][i] = static_cast<std::uint8_t>(place < blockSize ? place : noPlace);
        }
    }
    return table;
}

constexpr std::array<Places, blockSize + 1> withoutOne = placesWithoutOne();

// One shuffle moves all bytes to their places.
struct ShuffleDecoder {
    ORV_SHUFFLES static std::uint8_t* unescape(const std::uint8_t* from, const Block& block, Flags marked,
                                               std::uint8_t* to) {
        const Block plain = block ^ (escapes(load(from - 1)) & escapeMask);
        store(to, shuffled(plain, load(withoutOne[first(marked)].data())));
        to -= oneIfAny(marked);
        const Flags further = withoutFirst(marked);
        if (further != 0) [[unlikely]] {
            to = unescapeFurther(from, further, to);
        }
        return to + blockSize;
    }
};

// Inlined, so that it is compiled for the instructions of its caller.
template <class Decoder>
[[gnu::always_inline]] inline Unescaped unescapeWith(std::span<const std::uint8_t> in, std::span<std::uint8_t> out) {
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
        const std::uint64_t all = f0 | f1 << blockSize | std::uint64_t{f2 | f3 << blockSize} << 2 * blockSize;
        if ((all & (all << 1 | (state.pending ? 1U : 0U))) != 0) {
            state = unescapeSlowly(state, from + groupSize, end, full);
            continue;
        }
        std::uint8_t* to = Decoder::unescape(from, b0, f0, state.to);
        to = Decoder::unescape(from + blockSize, b1, f1, to);
        to = Decoder::unescape(from + 2 * blockSize, b2, f2, to);
        to = Decoder::unescape(from + 3 * blockSize, b3, f3, to);
        state = {from + groupSize, to, all >> (groupSize - 1) != 0};
    }
    state = unescapeSlowly(state, end, end, full);
    if (state.pending) {
        --state.from;
    }
    return {static_cast<std::size_t>(state.from - in.data()), static_cast<std::size_t>(state.to - out.data())};
}

Unescaped unescapePlainly(std::span<const std::uint8_t> in, std::span<std::uint8_t> out) {
    return unescapeWith<PlainDecoder>(in, out);
}

ORV_SHUFFLES Unescaped unescapeByShuffles(std::span<const std::uint8_t> in, std::span<std::uint8_t> out) {
    return unescapeWith<ShuffleDecoder>(in, out);
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

Decoding bestDecoding() {
    static const Decoding best = hasShuffle() ? Decoding::Shuffles : Decoding::Plain;
    return best;
}

Unescaped unescapeBytes(std::span<const std::uint8_t> in, std::span<std::uint8_t> out, Decoding decoding) {
    return decoding == Decoding::Shuffles ? unescapeByShuffles(in, out) : unescapePlainly(in, out);
}

} // namespace MPX_GDB_AGENT
