#pragma once

#include "diagnosis/stream/PayloadReader.h"

#include <cstdint>
#include <deque>
#include <span>
#include <vector>

namespace diagnosis {

/// Words to ask a window for at a time.
inline constexpr std::size_t stride = 4096;

/// The payload's words by their position, as far as they are held: a window that moves over the stream.
class WordWindow {
public:
    WordWindow(ByteReader source, bool packets);

    /// Words from a position on, `most` of them; fewer at the end of the stream. Valid until the next call.
    std::span<const std::uint16_t> from(std::uint64_t position, std::size_t most);
    /// Words before a position are no longer asked for.
    void forget(std::uint64_t position);

    /// Where a word's bytes begin. The word must not be forgotten.
    std::uint64_t byteOf(std::uint64_t position) const;

    /// A packet with a fault, in the order of the stream.
    struct Fault {
        PayloadChunk::Fault kind;
        std::uint64_t byte;
        std::uint32_t bytes;
        std::uint64_t firstWord, endWord;
    };
    /// Those that begin at a position or before it, each once.
    bool nextFault(std::uint64_t position, Fault& fault);
    /// Whether a packet cuts a run of zeros in the `reach` words before a position.
    bool cutsZerosAt(std::uint64_t position, std::uint64_t reach) const;

    std::uint64_t bytesRead() const { return reader.bytesRead(); }
    std::uint64_t wordsRead() const { return base + held.size(); }

    std::uint64_t tracePackets = 0, otherPackets = 0, badTrailers = 0, cutPackets = 0;

private:
    bool load();
    void append(const PayloadChunk& chunk);

    struct Segment {
        std::uint64_t word, byte;
    };

    PayloadReader reader;
    bool packets;
    PayloadChunk chunk;
    std::vector<std::uint16_t> held;
    std::uint64_t base = 0; ///< position of held.front()
    std::deque<Segment> segments;
    std::deque<Fault> faults;
    std::deque<std::uint64_t> zeroCuts;
};

} // namespace diagnosis
