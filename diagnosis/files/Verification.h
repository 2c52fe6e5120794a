#pragma once

#include "diagnosis/files/Patterns.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace diagnosis {

/// A verification recording, ".ver": the known pattern that verifies a calibration, as received.
struct Verification {
    enum class Framing {
        Packets, ///< 255 words of payload and a trailer
        Words,   ///< payload throughout
    };
    Framing framing = Framing::Words;
    std::size_t packets = 0; ///< of 512 bytes
    std::size_t tracePackets = 0, otherPackets = 0, unknownPackets = 0;
    /// Payload of the trace packets, in their order.
    std::vector<std::uint16_t> words;
    /// Indices of `words` at which a new run of zeros begins, even between zeros, as the packets' trailers say. Ascending.
    std::vector<std::size_t> zeroRunCuts;

    /// Position of a word of `words`: packet and index in it.
    std::size_t packetOf(std::size_t word) const;
    std::size_t indexOf(std::size_t word) const;

    std::vector<std::size_t> packetNumbers; ///< of the trace packets
};

/// Any bytes are a recording; an incomplete packet at the end is ignored.
Verification parseVerification(std::string_view bytes);
/// Throws Failure (BadInput) when the file cannot be read. Takes the first limits::verificationPackets packets.
Verification readVerification(const std::filesystem::path& file);

/// How well a recording holds a pattern, by the receiver's rules.
struct PatternCheck {
    std::size_t dataWords = 0; ///< words of the pattern
    std::size_t syncWords = 0, zeroWords = 0;
    std::size_t errors = 0;
    std::vector<std::size_t> firstErrors; ///< indices in Verification::words, the first few
    bool countsAddUp = true;              ///< "pti": enough pattern words, and every word is accounted for

    bool passed() const { return errors == 0; }
};
PatternCheck checkPattern(const Verification& recording, const Pattern& pattern);

/// The pattern that the recording holds without a fault, or nothing. `sent` names it if known; otherwise it is a
/// usual one.
std::optional<Pattern> patternHeld(const Verification& recording, std::size_t dataPins, std::string_view sent = {});

} // namespace diagnosis
