#pragma once

#include "client/Pattern.h"

#include <cstdint>
#include <span>
#include <string>
#include <vector>

// Judging packets of a verification recording, word by word. Knows nothing of files.

namespace VX_QRS::ORV::CLIENT {

inline constexpr std::uint32_t packetWords = 256;
inline constexpr std::uint32_t packetBytes = 2 * packetWords;
inline constexpr std::uint32_t framedPayloadWords = 255; ///< behind them stands the trailer

/// How the recording is framed.
enum class FrameFormat : std::uint32_t {
    TenBitPackets, ///< 255 words and a trailer that tells the packet's type
    PWords, ///< 256 words
};

enum class PacketType { trace, other, invalid };
PacketType packetType(std::uint16_t trailer);

/// Follows a pattern from packet to packet.
class PatternChecker {
public:
    struct Fault {
        std::uint32_t index; ///< in the packet
        std::uint16_t word;
    };
    struct PacketFaults {
        std::uint32_t packet;
        std::vector<Fault> faults; ///< only those among the first ten of the file
    };

    explicit PatternChecker(Pattern& expected) : pattern(expected) {}

    /// `packet` is the number to report it under; `words` holds 256.
    void checkFramed(std::uint32_t packet, std::span<const std::uint16_t> words);
    void checkPWords(std::uint32_t packet, std::span<const std::uint16_t> words);
    /// Takes note of a packet of no known type, as long as there are not too many errors already.
    void noteInvalid(std::uint32_t packet);

    bool failed() const { return errorCount != 0 || !invalidPackets.empty(); }
    /// What went wrong, five items at the most (and the rest of the packet in which the fifth stands).
    std::string report() const;

    std::uint32_t dataWords() const { return data; }
    std::uint32_t syncWords() const { return sync; }
    std::uint32_t zeroWords() const { return zeros; }

private:
    enum class Mode { data, zeros, behindSync };

    void error(std::uint32_t index, std::uint16_t word);
    void patternWord(std::uint32_t index, std::uint16_t word);
    void zero(std::uint32_t index);
    void syncWord(std::uint32_t index, std::uint16_t word);
    void otherWord(std::uint32_t index, std::uint16_t word);
    void endPacket(std::uint32_t packet, std::uint32_t errorsBefore);

    Pattern& pattern;
    Mode mode = Mode::data;
    std::uint32_t zeroRun = 0;
    std::uint32_t data = 0; // pattern words
    std::uint32_t sync = 0; // words in synchronisation sequences
    std::uint32_t zeros = 0; // zero words that were not part of such a sequence
    std::uint16_t last = 0; // the previous pattern word
    bool synced = false;

    std::uint32_t errorCount = 0;
    std::vector<Fault> pending; // of the packet under way
    std::vector<PacketFaults> packetFaults;
    std::vector<std::uint32_t> invalidPackets;
};

} // namespace VX_QRS::ORV::CLIENT
