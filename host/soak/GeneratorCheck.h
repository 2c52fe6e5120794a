#pragma once

#include "diagnosis/files/Patterns.h"

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

// Comparing a recording of the capture unit's own generator with what the generator sends, word for word.

namespace host {

/// How the recorded words are packed.
enum class Framing {
    Packets, ///< 255 words and a trailer with the packet's kind
    Words,   ///< nothing but words
};

/// One wrong word.
struct WordError {
    std::uint64_t packet = 0; ///< of 512 bytes, counted from 0
    unsigned word = 0;        ///< in the packet, 0 to 255; 255 with packets is the trailer
    std::uint16_t got = 0;
    std::optional<std::uint16_t> expected; ///< nothing when no word was certain there

    std::uint64_t byte() const { return packet * 512 + word * 2U; }
};

/// Checks the samples of one recording, in order. The generator repeats a ramp; the first word shows where in the ramp
/// the recording begins. Five or more zero words, 0x0FF0 and one word are a synchronisation sequence, which may occur
/// between any two words; zero words at the end are padding. Every other word has to be the next of the ramp.
class GeneratorCheck {
public:
    /// `dataPins` is 1, 2 or 4.
    GeneratorCheck(unsigned dataPins, Framing packing);

    void take(std::span<const std::uint64_t> samples);
    /// Called after the last sample of a recording that filled the buffer: it has no padding, so that zero words at its
    /// end are wrong, too, unless they can be the beginning of a synchronisation sequence.
    void endOfFullBuffer();

    std::uint64_t wordsChecked() const { return checked; }
    std::uint64_t errorCount() const { return wrong; }
    std::uint64_t packetCount() const { return (position + 255) / 256; }
    /// The first ones.
    const std::vector<WordError>& firstErrors() const { return errors; }

    static constexpr std::size_t errorsKept = 10;

private:
    void takeWord(std::uint16_t word);
    void takePayload(std::uint16_t word, std::uint64_t at);
    void checkPacket();
    void endZeros();
    void addError(std::uint64_t at, std::uint16_t got, std::optional<std::uint16_t> expected);

    diagnosis::Pattern ramp;
    Framing framing;
    std::uint64_t position = 0; ///< words taken, trailers included
    std::vector<std::uint16_t> packet;
    std::optional<std::uint16_t> next; ///< the expected word
    std::vector<std::uint64_t> zeros;  ///< positions of a run of zero words whose meaning is not known yet
    bool skipNext = false;             ///< the word after 0x0FF0
    std::uint64_t checked = 0;
    std::uint64_t wrong = 0;
    std::vector<WordError> errors;
};

} // namespace host
