#pragma once

#include "bench/unit/DataPath.h"
#include "bench/unit/Memory.h"
#include "bench/unit/SegmentReader.h"

#include <cstdint>
#include <deque>
#include <memory>
#include <span>
#include <vector>

namespace bench {

/// Packets of 255 payload words and a trailer, or payload only.
enum class Framing { Packets, Words };

inline constexpr std::uint32_t blockBytes = 16384;
inline constexpr std::size_t packetBytes = 512;
inline constexpr std::uint16_t traceTrailer = 0x08FF;
inline constexpr std::uint16_t otherTrailer = 0x10FF;

/// The unit's buffer. It stores no words: its contents follow from when recording began, the rate of words and
/// how many were fetched; words are generated when they are fetched. All times are samples of the unit. Contents
/// are counted in whole blocks of 16 KiB; the last one is padded when recording stops.
class Recorder {
public:
    /// The buffer's defective bits, which affect all later fetches and peeks.
    void setMemory(Memory memory) { cells = std::move(memory); }

    /// Empties the buffer. `size` is at least two blocks, a multiple of a block. A buffer that
    /// has wrapped keeps the newest `size` less one block.
    void open(std::uint32_t size, bool wrapping);
    void setFraming(Framing framing) { format = framing; }
    Framing framing() const { return format; }

    /// Words are recorded from sample `from` on.
    void begin(Segment segment, double from, double wordsPerSample);
    /// No more words are recorded until the next `begin`.
    void end(double now);
    bool running() const { return open_; }
    /// The next word of the stream, while running.
    std::uint64_t nextWord(double now) const;

    /// True for a full buffer that does not wrap.
    bool full(double now) const;
    bool wrapped(double now) const;

    /// Ends the recording: the last block is padded and the contents can be fetched.
    void finish(double now);
    bool finished() const { return done; }

    std::uint32_t bytesHeld(double now) const;
    /// Copies the next bytes of a finished recording, at most as many as are held. Returns how many.
    std::size_t fetch(std::span<std::uint8_t> out);
    /// Copies the bytes that the next fetch would, past those read ahead before; they are held until takeAhead. All that
    /// was read ahead must be taken before the next fetch. Returns how many.
    std::size_t readAhead(std::span<std::uint8_t> out);
    std::size_t bytesAhead() const { return ahead; }
    /// What was read ahead is fetched.
    void takeAhead();
    /// Like fetch, but the bytes remain.
    std::size_t look(std::span<std::uint8_t> out) const;

    /// Discards what was recorded so far.
    void discard(double now);

    /// A run of words of one transmission's stream.
    struct Run {
        std::uint64_t firstWord = 0;
        std::uint64_t words = 0;
    };
    /// The runs of a finished recording, in order; how many of its blocks were overwritten, and how many remain.
    std::vector<Run> runs() const;
    std::uint64_t blocksOverwritten() const { return firstBlock(); }
    std::uint64_t blocksKept() const { return lastBlock() - firstBlock(); }

private:
    struct Piece {
        Segment segment;
        double from = 0.0;
        double rate = 0.0;       ///< words a sample
        std::uint64_t words = 0; ///< set at its end
    };

    /// Reads the pieces in order.
    struct Cursor {
        std::size_t piece = 0;
        std::uint64_t done = 0; ///< words of that piece
        std::unique_ptr<SegmentReader> reader;
        std::vector<std::uint8_t> block;
        std::size_t blockAt = blockBytes; ///< bytes of the block that were read
        std::uint64_t blocksBefore = 0;   ///< of the recording, including overwritten ones
    };

    static std::uint64_t wordsUntil(double now, const Piece& piece); ///< of a piece that is being recorded
    std::uint64_t wordsOf(const Piece& piece, double now) const;
    std::uint64_t total(double now) const;
    std::uint64_t wordsPerBlock() const;
    std::uint64_t capacityWords() const;
    std::uint64_t firstBlock() const; ///< of a finished recording
    std::uint64_t lastBlock() const;  ///< one past the last
    /// Whether the next piece begins with the word that follows this one's last, as it does where only the wiring or its
    /// conditioning has changed.
    bool isContinued(std::size_t index) const;
    void readBlock(Cursor& cursor) const;
    void makeBlock(Cursor& cursor) const; ///< as recorded
    std::size_t copyOut(Cursor& cursor, std::uint64_t left, std::span<std::uint8_t> out) const;
    void seek(Cursor& cursor, std::uint64_t word) const;
    void forgetFetched();

    std::uint32_t capacity = 0;
    bool wraps = false;
    Framing format = Framing::Packets;
    bool open_ = false;
    bool done = false;
    bool hasWrapped = false;
    Memory cells;
    std::deque<Piece> pieces;
    Cursor fetchCursor;
    bool cursorReady = false;
    std::uint64_t fetched = 0; ///< bytes
    std::size_t ahead = 0;     ///< bytes past those, which the cursor has passed
};

} // namespace bench
