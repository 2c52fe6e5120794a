#pragma once

#include "diagnosis/files/Patterns.h"

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

// What a stream should hold at each of its words: synchronisation sequences at a regular distance, a pattern between
// them if the content is one.

namespace diagnosis {

enum class SequenceKind {
    None,
    Zeros, ///< five zero words or more, the mark, and one further word
    Frame, ///< FF FF FF 7F
};

/// A half-word synchronisation may be anywhere between the words of a frame, and is none of them.
inline constexpr std::uint16_t halfSynchronisation = 0x7FFF;
inline constexpr std::uint16_t frameStart = 0xFFFF; ///< its word before the last
inline constexpr std::size_t frameWords = 8;        ///< without half-word synchronisations

/// The words without half-word synchronisations; the second half of a full one stays. `previous` is the word before them.
std::vector<std::uint16_t> withoutHalves(std::span<const std::uint16_t> words, std::uint16_t previous = 0);

/// How often sequences come, as learned from the stream's beginning.
struct Regularity {
    SequenceKind kind = SequenceKind::None;
    std::uint32_t period = 0;             ///< words from mark to mark; 0: irregular, or no sequences
    std::uint32_t zeros = 0;              ///< words before the mark that belong to the sequence
    std::uint32_t trailing = 0;           ///< words after the mark that belong to it
    std::size_t firstMark = 0;            ///< position of a mark; `regular` ones follow it
    std::size_t marks = 0;                ///< found, at whatever distance
    std::optional<std::uint16_t> further; ///< the word after the mark, if it is always the same
    std::uint16_t laneMask = 0xFFFF;      ///< the bits in which the sequences were found; a dead lane is left out

    bool regular() const { return period != 0; }
    std::uint32_t length() const { return zeros + 1 + trailing; }
};

/// Whether the words of a sequence before its mark end at `at`. Bits outside of the mask are ignored.
bool isMarkPreceded(SequenceKind kind, std::span<const std::uint16_t> words, std::size_t at, std::uint16_t mask);

/// Whether the mark of a sequence is at `at`, which few words are. Bits outside of the mask are ignored.
inline bool isMarkAt(SequenceKind kind, std::span<const std::uint16_t> words, std::size_t at, std::uint16_t mask) {
    const std::uint16_t mark = kind == SequenceKind::Frame ? halfSynchronisation : limits::syncWord;
    return ((words[at] ^ mark) & mask) == 0 && isMarkPreceded(kind, words, at, mask);
}

/// Frames are without half-word synchronisations. `patternWords`: the content has no zeros of its own. Lanes are tried without one of them where that alone shows the
/// sequences; 0: unknown.
Regularity learnRegularity(SequenceKind kind, std::span<const std::uint16_t> words, bool patternWords, unsigned lanes);

/// The bits of one lane in a word.
constexpr std::uint16_t laneBits(unsigned lanes, unsigned lane) {
    unsigned mask = 0;
    for (unsigned bit = lane; bit < 16; bit += lanes) {
        mask |= 0x8000U >> bit;
    }
    return static_cast<std::uint16_t>(mask);
}

struct ExpectedWord {
    std::uint16_t value = 0;
    std::uint16_t mask = 0; ///< of the bits that are known
    bool sequence = false;  ///< a part of a synchronisation sequence
    bool mark = false;
    bool further = false; ///< the word after a mark: by custom, not by rule
};

/// A position in the expected stream.
struct Cursor {
    std::uint32_t inPeriod = 0; ///< 0 at a sequence's first word
    std::uint32_t phase = 0;    ///< the pattern's word that comes next
};

class ExpectedStream {
public:
    ExpectedStream(const Regularity& learned, std::optional<Pattern> content);

    ExpectedWord at(const Cursor& cursor) const;
    void step(Cursor& cursor) const;
    void back(Cursor& cursor) const;
    /// Any number of words on.
    Cursor moved(Cursor cursor, std::uint64_t words) const;

    /// Whether the first word of a sequence comes next.
    bool beginsSequence(const Cursor& cursor) const { return regular() && cursor.inPeriod == 0; }
    /// Number of words from here on that are no part of a sequence and have any content; 0 where sequences are irregular.
    std::uint32_t unknownFrom(const Cursor& cursor) const;
    /// Past so many words of a period, none of them the pattern's.
    void skip(Cursor& cursor, std::uint32_t words) const;

    /// The pattern's words from here to the next sequence; none at a sequence, or where these are irregular.
    std::span<const std::uint16_t> patternFrom(const Cursor& cursor) const;
    /// Past so many of them.
    void skipPattern(Cursor& cursor, std::uint32_t words) const;

    /// The cursor of the word at `position` when the mark of a sequence is at `mark`.
    Cursor atDistance(std::uint64_t position, std::uint64_t mark) const;

    bool regular() const { return regularity.regular(); }
    /// A word that does not count: the one that is expected here comes after it. `last` is the word before it.
    bool isExtra(std::uint16_t last, std::uint16_t word, const ExpectedWord& here) const {
        return word == halfSynchronisation && regularity.kind == SequenceKind::Frame && !here.mark &&
               last != frameStart;
    }
    bool hasPattern() const { return pattern.has_value(); }
    const Regularity& learned() const { return regularity; }
    /// Its words; none without one.
    std::span<const std::uint16_t> patternWords() const {
        return pattern ? pattern->words : std::span<const std::uint16_t>();
    }
    std::size_t patternLength() const { return pattern ? pattern->words.size() : 0; }
    /// After so many words everything repeats; 0 if nothing is known.
    std::uint64_t cycle() const;

private:
    Regularity regularity;
    std::optional<Pattern> pattern;
    std::vector<std::uint16_t> repeated; ///< the pattern, from each of its words for as long as sequences are apart
};

} // namespace diagnosis
