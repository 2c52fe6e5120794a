#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

// Does a recorded stream hold together, and where does it go bad first? Memory stays flat and time linear in the
// stream's length.

namespace diagnosis {

enum class StreamMode { Unknown, Pti, Tpiu, TpiuLite };
std::optional<StreamMode> streamModeNamed(std::string_view name);
std::string_view streamModeName(StreamMode mode); ///< "unknown" for Unknown

inline constexpr std::size_t sampleBytes = 8;

/// What is known of a stream before it is read.
struct StreamForm {
    StreamMode mode = StreamMode::Unknown;
    unsigned lanes = 0;      ///< data pins, 1 to 7; 0: unknown
    std::string pattern{};   ///< name of the content, as checkedPatternNames() lists them; empty: any content
    double clockHertz = 0.0; ///< of the trace clock, two bit slots in its period; 0: unknown
    std::optional<std::uint64_t> announcedSamples{}; ///< of 8 bytes
};

/// Names that StreamForm::pattern may have.
std::vector<std::string_view> checkedPatternNames();
/// Whether a pattern is defined for so many data pins; always for 0.
bool hasCheckedPattern(std::string_view name, unsigned lanes);

/// Copies the next bytes; returns how many, 0 only at the end.
using ByteReader = std::function<std::size_t(std::span<std::uint8_t>)>;

struct StreamPlace {
    std::uint64_t byte = 0;
    std::uint64_t sample = 0;        ///< of 8 bytes
    double percent = 0.0;            ///< of the stream's bytes
    std::optional<double> seconds{}; ///< of trace before it, if the clock and the number of lanes are known
};

enum class DamageKind {
    Noise,      ///< single bits are wrong
    DriftEarly, ///< a lane shows the next slot's bit
    DriftLate,  ///< a lane shows the preceding slot's bit
    StuckAt0,
    StuckAt1,
    Swapped, ///< a lane carries the bits of another one
    LostWords,
    InsertedWords,
    CutPacket,      ///< a packet is shorter or longer than 512 bytes
    BadTrailer,     ///< the last word of a packet is no trailer
    MissingSamples, ///< the stream is shorter than announced, or ends within a sample or packet
};
/// "noise", "drift-early" and so on.
std::string_view damageKindName(DamageKind kind);
std::optional<DamageKind> damageKindNamed(std::string_view name);

/// One damage; of damages to single bits, the sum over a lane.
struct Damage {
    DamageKind kind = DamageKind::Noise;
    StreamPlace place{};               ///< where it shows first
    std::optional<unsigned> lane{};    ///< from 0, which carries the top bit
    std::optional<unsigned> carries{}; ///< the lane whose bits a swapped one has
    std::uint64_t amount = 0;          ///< wrong bits; words lost or inserted; bytes or packets
    bool amountIsLeast = false;        ///< more may be lost: the content repeats
    bool atBlock = false;              ///< at a boundary of the unit's blocks of 16 KiB, where a wrapped buffer joins
};

/// Damage to the bits of one lane.
struct LaneDamage {
    unsigned lane = 0;
    DamageKind kind = DamageKind::Noise;
    std::uint64_t wrongBits = 0;
    std::uint64_t likePreceding = 0; ///< of those, equal to the preceding slot's bit only
    std::uint64_t likeNext = 0;      ///< equal to the next slot's bit only
    std::optional<unsigned> carries{};
    StreamPlace first{};
};

enum class StreamVerdict { Sound, Damaged, Unknown };
std::string_view streamVerdictName(StreamVerdict verdict);
std::optional<StreamVerdict> streamVerdictNamed(std::string_view name);

struct StreamCheck {
    StreamForm form;             ///< with what was recognised
    bool modeRecognised = false; ///< by the stream itself
    StreamVerdict verdict = StreamVerdict::Unknown;
    std::string reason; ///< why it is unknown, and what would help; empty otherwise

    std::uint64_t bytes = 0;
    std::uint64_t samples = 0; ///< whole ones
    std::uint64_t tracePackets = 0, otherPackets = 0, badTrailers = 0, cutPackets = 0;
    std::uint64_t words = 0;         ///< of payload, without those that fill the unit's last block
    std::uint64_t padding = 0;       ///< zero words that fill it
    std::uint64_t wordsCompared = 0; ///< with the pattern, synchronisation included
    std::uint64_t wordsJudged = 0;   ///< by their content or as a part of a synchronisation sequence
    std::uint64_t wrongWords = 0;    ///< of those
    std::uint64_t sequences = 0;     ///< synchronisation sequences, or full synchronisations of frames
    std::uint64_t halfSequences = 0; ///< half-word synchronisations
    std::uint64_t sequencesDamaged = 0;
    std::uint64_t wordsBetween = 0; ///< usual distance of sequences, from start to start; 0: none, or irregular
    std::uint64_t lostWords = 0, insertedWords = 0;
    std::uint64_t gaps = 0; ///< places at which words are lost or inserted

    std::optional<Damage> firstDamage;
    std::vector<Damage> damages;   ///< the first few, in order
    std::uint64_t damageCount = 0; ///< all of them
    std::vector<LaneDamage> lanes; ///< those with damage

    /// Share of the words that were judged, 0 to 1.
    double evidence() const { return words == 0 ? 0.0 : static_cast<double>(wordsJudged) / static_cast<double>(words); }
};

/// Reads the stream to its end.
StreamCheck checkStream(const ByteReader& read, const StreamForm& form);

} // namespace diagnosis
