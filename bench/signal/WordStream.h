#pragma once

#include "bench/signal/Content.h"

#include <array>
#include <cstdint>
#include <optional>
#include <span>

namespace bench {

inline constexpr std::uint16_t syncMark = 0x0FF0;
/// Five zero words, the mark, and one further word that is neither of the two.
inline constexpr std::array<std::uint16_t, 7> syncSequence{0, 0, 0, 0, 0, syncMark, 0x2D1E};

/// The words that a transmitter puts on the wire: a content, framed by synchronisation sequences or unchanged.
/// A framed stream begins with a sequence and has another one after every `syncEvery` content words; the content
/// continues after a sequence where it stopped.
class WordStream {
public:
    /// `syncEvery` 0: not framed.
    WordStream(ContentPointer content, unsigned syncEvery);

    bool framed() const { return every != 0; }
    void fill(std::uint64_t first, std::span<std::uint16_t> out) const;
    std::uint16_t at(std::uint64_t index) const;

    /// Position of a word inside a sequence, 0 to 6; empty for a content word.
    std::optional<unsigned> positionInSequence(std::uint64_t index) const;

    /// The first word at or after `index` that starts a sequence; `index` itself when not framed.
    std::uint64_t nextSequence(std::uint64_t index) const;

private:
    std::uint64_t period() const { return every + syncSequence.size(); }

    ContentPointer source;
    std::uint64_t every;
};

inline constexpr unsigned wordBits = 16;

/// The level on a pin: bit `line` (0 is the top bit of a group) in half clock period `slot`, for a group of
/// `dataPins` bits. Words go out most significant group first; groups that do not divide a word continue in
/// the next.
bool lineBit(const WordStream& stream, unsigned dataPins, std::uint64_t slot, unsigned line);

} // namespace bench
