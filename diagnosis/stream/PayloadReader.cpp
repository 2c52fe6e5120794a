#include "diagnosis/stream/PayloadReader.h"

#include "rcvr/framework/TraceLimits.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <utility>

namespace diagnosis {

namespace {

namespace limits = Vx::Qrs::Trace::limits;
using limits::packetBytes;

constexpr std::size_t bufferBytes = std::size_t{1} << 16;
constexpr std::size_t packetsAhead = 8; ///< whose trailers decide the length of a damaged packet
constexpr std::size_t longestPacket = 2 * packetBytes;
constexpr std::size_t longestPause = 63; ///< packets
constexpr std::uint16_t unusedTrailerBits = 0x0700;

struct Score {
    std::size_t trailers = 0, packets = 0;
};

std::uint16_t wordAt(std::span<const std::uint8_t> bytes, std::size_t offset) {
    return static_cast<std::uint16_t>(bytes[offset] | bytes[offset + 1] << 8);
}

bool isTrace(std::uint16_t trailer) {
    return (trailer & limits::trailerTypeMask) == limits::trailerTrace;
}

bool isTrailer(std::uint16_t trailer) {
    return isTrace(trailer) || (trailer & limits::trailerTypeMask) == limits::trailerOther;
}

/// Content rarely looks like a trailer of a packet that cuts no run of zeros.
bool isPlainTrailer(std::uint16_t trailer) {
    return isTrailer(trailer) && (trailer & ~limits::trailerTypeMask) == 0xFF;
}

} // namespace

PayloadReader::PayloadReader(ByteReader source, bool packets)
    : read(std::move(source)), framed(packets), buffer(bufferBytes) {}

/// At least so many bytes from the present position on, unless the stream ends.
std::span<const std::uint8_t> PayloadReader::ahead(std::size_t bytes) {
    if (end - begin < bytes && !ended) {
        std::copy(buffer.begin() + static_cast<std::ptrdiff_t>(begin),
                  buffer.begin() + static_cast<std::ptrdiff_t>(end), buffer.begin());
        end -= begin;
        begin = 0;
        while (end < buffer.size() && !ended) {
            const std::size_t got = read(std::span(buffer).subspan(end));
            end += got;
            ended = got == 0;
        }
    }
    return std::span(buffer).subspan(begin, end - begin);
}

void PayloadReader::take(PayloadChunk& chunk, std::size_t bytes, std::size_t payloadBytes) {
    const std::span<const std::uint8_t> from = std::span(buffer).subspan(begin, bytes);
    chunk.byte = position;
    chunk.bytes = static_cast<std::uint32_t>(bytes);
    static_assert(std::endian::native == std::endian::little, "words in memory are those of a file");
    chunk.words.resize(payloadBytes / 2);
    if (!chunk.words.empty()) {
        std::memcpy(chunk.words.data(), from.data(), 2 * chunk.words.size());
    }
    begin += bytes;
    position += bytes;
}

/// The length after which the following packets end in trailers; a packet's usual one if none is better.
std::size_t PayloadReader::lengthOfDamaged(std::span<const std::uint8_t> bytes) const {
    const auto score = [&](std::size_t length) {
        Score count;
        for (std::size_t k = 0; k <= packetsAhead && length + k * packetBytes <= bytes.size(); ++k) {
            const std::uint16_t word = wordAt(bytes, length + k * packetBytes - 2);
            count.trailers += isTrailer(word) && (word & unusedTrailerBits) == 0;
            ++count.packets;
        }
        return count;
    };
    std::size_t best = packetBytes;
    std::size_t most = score(packetBytes).trailers;
    for (std::size_t length = 2; length <= std::min(longestPacket, bytes.size()); ++length) {
        const Score count = score(length);
        // All but one, since the damaged packet's own trailer may be gone.
        if (count.packets > 2 && count.trailers + 1 >= count.packets && count.trailers > most + 1) {
            most = count.trailers;
            best = length;
        }
    }
    // The same packets with the damaged one's own trailer.
    for (std::size_t length = best + packetBytes; best != packetBytes && length <= longestPacket;
         length += packetBytes) {
        if (score(length).trailers > most) {
            best = length;
        }
    }
    return best;
}

bool PayloadReader::searchesLength() {
    if (packetsToSearch != 0) {
        --packetsToSearch;
        return false;
    }
    packetsToSearch = pause;
    pause = std::min(2 * pause + 1, longestPause);
    return true;
}

bool PayloadReader::next(PayloadChunk& chunk) {
    std::span<const std::uint8_t> bytes = ahead(packetBytes);
    chunk.fault = PayloadChunk::Fault::None;
    chunk.trace = true;
    chunk.cutsZeros = false;
    if (bytes.empty()) {
        return false;
    }
    if (bytes.size() < packetBytes) {
        chunk.fault = PayloadChunk::Fault::Rest;
        take(chunk, bytes.size(), bytes.size());
        return true;
    }
    if (!framed) {
        take(chunk, packetBytes, packetBytes);
        return true;
    }
    std::uint16_t trailer = wordAt(bytes, packetBytes - 2);
    std::size_t length = packetBytes;
    if (isPlainTrailer(trailer)) {
        pause = packetsToSearch = 0;
    } else if (searchesLength()) {
        bytes = ahead(longestPacket + (packetsAhead + 1) * packetBytes);
        length = lengthOfDamaged(bytes);
        trailer = wordAt(bytes, length - 2);
    }
    if (length != packetBytes) {
        chunk.fault = PayloadChunk::Fault::Cut;
    } else if (!isTrailer(trailer)) {
        chunk.fault = PayloadChunk::Fault::BadTrailer;
    } else {
        chunk.trace = isTrace(trailer);
        chunk.cutsZeros = chunk.trace && (trailer & 0xFF) != 0xFF;
    }
    take(chunk, length, length - 2);
    return true;
}

} // namespace diagnosis
