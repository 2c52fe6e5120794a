#pragma once

#include "diagnosis/stream/StreamCheck.h"

#include <cstdint>
#include <span>
#include <vector>

namespace diagnosis {

/// A packet, or 512 bytes of a stream without packets.
struct PayloadChunk {
    enum class Fault {
        None,
        BadTrailer, ///< the packets after it are where they belong
        Cut,        ///< it has another length; the packets after it follow from there
        Rest,       ///< the stream's end, less than a packet
    };
    std::uint64_t byte = 0; ///< of the first word
    std::uint32_t bytes = 0;
    std::vector<std::uint16_t> words{};
    Fault fault = Fault::None;
    bool trace = true;      ///< false for a packet of the other kind
    bool cutsZeros = false; ///< a run of zeros does not continue in the next packet
};

/// Takes packets apart. A packet of the wrong length is recognised by the trailers of those that follow.
class PayloadReader {
public:
    /// `packets` false: payload throughout.
    PayloadReader(ByteReader source, bool packets);

    /// False at the end. `chunk` is reused: no allocation for each call.
    bool next(PayloadChunk& chunk);
    std::uint64_t bytesRead() const { return position; }

private:
    std::span<const std::uint8_t> ahead(std::size_t bytes);
    void take(PayloadChunk& chunk, std::size_t bytes, std::size_t payloadBytes);
    std::size_t lengthOfDamaged(std::span<const std::uint8_t> bytes) const;
    bool searchesLength();

    ByteReader read;
    bool framed;
    std::vector<std::uint8_t> buffer;
    std::size_t begin = 0;
    std::size_t end = 0;
    bool ended = false;
    std::uint64_t position = 0; ///< of the stream's bytes, taken so far
    // Where no trailers follow, the search for them gets rarer.
    std::size_t packetsToSearch = 0;
    std::size_t pause = 0;
};

} // namespace diagnosis
