#include "link/Escape.h"

#include <bit>
#include <cstring>

namespace MPX_GDB_AGENT {

namespace {

// Payloads are recorded samples. In some of them hardly a byte needs an escape, in others one of 64 does, at places
// that no processor can guess: a branch for each of those costs more than all else. So there are two ways through a
// group of blocks. A group that is all plain is copied. Once one is not, this and the next groups go block by block without
// branches: each block is stored whole, and what stands behind its first special byte is stored a second time,
// shifted, whether or not there is one. Only a further special byte in the same block takes a branch. What is stored too
// much is overwritten by the bytes that follow.
using Block __attribute__((vector_size(16))) = std::uint8_t;
using Chars __attribute__((vector_size(16))) = char;
using Words __attribute__((vector_size(16))) = std::uint64_t;

constexpr std::size_t blockSize = sizeof(Block);
constexpr std::size_t blocks = 4;
constexpr std::size_t groupSize = blocks * blockSize;
// A block's shifted part reaches two blocks and two bytes beyond its start, and bytes stored too much as far.
constexpr std::size_t groupReach = groupSize + 2 * blockSize;
// So many groups are taken without looking whether they are plain once one was not.
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

// All bits of the bytes that are to be escaped.
Block special(const Block& block) {
    return std::bit_cast<Block>((block == escapeByte) | (block == packetEnd) | (block == packetStart) |
                                (block == runLengthByte));
}

Block escapes(const Block& block) {
    return std::bit_cast<Block>(block == escapeByte);
}

bool any(const Block& marked) {
    const auto words = std::bit_cast<Words>(marked);
    return (words[0] | words[1]) != 0;
}

// The bytes that are marked, one bit each, that of the first byte lowest. One instruction of every x86-64, by the name
// that both compilers have for it; put together by hand it costs a fifth of the speed.
using Flags = std::uint32_t;

Flags flagsOf(const Block& marked) {
    return static_cast<Flags>(__builtin_ia32_pmovmskb128(std::bit_cast<Chars>(marked)));
}

// 1 when there is a flag. A comparison would say the same, but compilers make branches of it.
std::size_t oneIfAny(Flags flags) {
    return (flags | (Flags{0} - flags)) >> 31;
}

// Which byte's flag is the lowest; blockSize when there is none.
std::size_t first(Flags flags) {
    return static_cast<std::size_t>(std::countr_zero(flags | Flags{1} << blockSize));
}

Flags withoutFirst(Flags flags) {
    return flags & (flags - 1);
}

// Puts out an escaped byte and what follows it in its block.
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

// `marked` are flags of the bytes to be escaped. @return where the output goes on.
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
    bool pending; // the byte in front of `from` is an escape whose partner is still to come
};

// Byte by byte, up to `stop` and, from there, to where only an escape that is pending can stand in front.
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

// Puts out the partner of the escape at `from` and what follows it in its block.
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

// `marked` are flags of the escape bytes, of which no two stand side by side. The block's first byte may be the
// partner of one in front of it.
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
    // Output has at least twice the room of what is left of the input.
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
    // A block looks at the byte in front of it.
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
        // An escape byte right behind another is data. No encoder writes that.
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
