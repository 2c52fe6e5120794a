#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

namespace bench {

/// The payload of a transmitter: an endless sequence of 16-bit words that can be read from any position.
class Content {
public:
    virtual ~Content() = default;

    /// The words from `first` on.
    virtual void fill(std::uint64_t first, std::span<std::uint16_t> out) const = 0;

    std::uint16_t at(std::uint64_t index) const {
        std::uint16_t word = 0;
        fill(index, std::span(&word, 1));
        return word;
    }
};

using ContentPointer = std::shared_ptr<const Content>;

/// The test patterns of the target are f0, a5, ramp, walk and lfsr; the unit's own generator has f0, a5 and
/// ramp1.
enum class PatternName { F0, A5, Ramp, Ramp1, Walk, Lfsr };

std::optional<PatternName> patternFromName(std::string_view name);
std::string_view patternText(PatternName name);

/// A pattern is defined for 1, 2 or 4 data pins. With any other number of pins the words for 4 are sent
/// unchanged.
ContentPointer makePattern(PatternName name, unsigned dataPins);

/// The bytes as little-endian words, an odd last byte zero-padded, with `idleBefore` idle words before them and
/// endless idle words after them.
ContentPointer makePlayback(std::vector<std::uint8_t> bytes, std::uint16_t idleWord, unsigned idleBefore);

/// Generated trace: numbered messages that never contain the words of a synchronisation sequence, so that a
/// lost, doubled or damaged word differs from the words around it. Every message is eight words:
/// 0xA5F0, the low and the high half of the message's number with 0x8000 for a half that would be 0 or
/// 0x0FF0, and five words that depend on the number.
ContentPointer makeGeneratedTrace(std::uint64_t seed);

} // namespace bench
