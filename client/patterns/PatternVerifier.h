#pragma once

#include "client/Pattern.h"
#include "client/patterns/PatternRun.h"
#include "rcvr/framework/TraceLimits.h"

#include <cstdint>
#include <span>
#include <string>
#include <utility>
#include <vector>

// Judges the packets of a recorded test pattern, as words.

namespace VX_QRS::ORV::CLIENT {

/// The source unit that failures of the verification name.
inline constexpr const char* utilitiesUnit = "orv_client_utilities";

using Vx::Qrs::Trace::limits::packetWords;

/// What a packet of 256 words consists of.
enum class FrameFormat : std::uint32_t {
    TenBitPackets, ///< 255 words of payload and a trailer, whose bits 15..11 give the packet's type
    PWords,        ///< 256 words of payload
};

/// Meaning of the last word of a packet, if it is a trailer.
using Vx::Qrs::Trace::limits::trailerOther;
using Vx::Qrs::Trace::limits::trailerTrace;
using Vx::Qrs::Trace::limits::trailerTypeMask;
/// A low byte below this one marks a packet that cuts a run of zeros.
inline constexpr std::uint16_t trailerLowByte = 0x00FF;

/// True for a word that could be the trailer of a packet.
constexpr bool looksLikeTrailer(std::uint16_t word) {
    const auto type = static_cast<std::uint16_t>(word & trailerTypeMask);
    return type == trailerTrace || type == trailerOther;
}

/// Feed it packet by packet, in order. Not for use from two threads.
class PatternVerifier {
public:
    struct Counts {
        std::uint32_t tracePackets = 0;
        std::uint32_t otherPackets = 0;
        std::uint32_t dataWords = 0; ///< words of the pattern
        std::uint32_t syncWords = 0; ///< words in synchronisation sequences
        std::uint32_t zeroWords = 0; ///< zero words outside of such sequences
    };

    /// `pattern` is not owned. Throws Exception, eFAIL, for a format that is none of the two.
    PatternVerifier(Pattern& pattern, FrameFormat format);

    /// `number` is what the report calls the packet. Throws what the pattern throws.
    void checkPacket(std::uint32_t number, std::span<const std::uint16_t, packetWords> words);

    const Counts& counts() const { return count; }
    bool failed() const { return errorCount != 0 || !invalidPackets.empty(); }
    /// Packets of no known type; none is added once more than ten errors were found.
    const std::vector<std::uint32_t>& invalid() const { return invalidPackets; }
    /// "failed to verify pattern" and the first few faults.
    std::string report() const;

private:
    enum class Mode { Data, Zeros, AfterSync };

    struct PacketErrors {
        std::uint32_t packet;
        std::vector<std::pair<std::uint32_t, std::uint16_t>> words; // index in the packet, word
    };

    void checkTenBitPacket(std::uint32_t number, std::span<const std::uint16_t, packetWords> words);
    void checkPWords(std::uint32_t number, std::span<const std::uint16_t, packetWords> words);
    /// Takes the words that continue the pattern without a fault; returns their number.
    std::uint32_t takeRun(std::span<const std::uint16_t> words);
    void takeZero(std::uint32_t number, std::uint32_t index);
    void takeSyncWord(std::uint32_t number, std::uint32_t index);
    void takeData(std::uint32_t number, std::uint32_t index, std::uint16_t word);
    void addError(std::uint32_t number, std::uint32_t index, std::uint16_t word);

    Pattern& pattern;
    PatternRun expected;
    FrameFormat format;
    Counts count;

    // Where the stream is; goes on from packet to packet.
    Mode mode = Mode::Data;
    std::uint32_t zeroRun = 0;
    std::uint16_t last = 0; // the latest word of the pattern
    bool synced = false;    // the pattern's lock

    std::uint32_t errorCount = 0;
    std::vector<PacketErrors> packetErrors;
    std::vector<std::uint32_t> invalidPackets;
};

} // namespace VX_QRS::ORV::CLIENT
