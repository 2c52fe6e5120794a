#include "client/Pattern.h"
#include "client/patterns/PatternVerifier.h"
#include "common/source/Exception.h"
#include "common/source/source_utilities/uLog.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <ios>
#include <span>
#include <vector>

// A verification recording on the disk: packets of 512 bytes, words little-endian.

namespace VX_QRS::ORV::CLIENT {

namespace {

constexpr std::uint64_t packetBytes = 2 * packetWords;

/// Packets read at a time. The recording of a verification is one block, so that it is read once although it is scanned
/// twice.
constexpr std::uint64_t blockPackets = 1024;

using PacketBytes = std::span<const unsigned char, packetBytes>;

std::uint16_t wordAt(PacketBytes packet, std::size_t index) {
    return static_cast<std::uint16_t>(packet[2 * index] | packet[2 * index + 1] << 8);
}

class PatternFile {
public:
    explicit PatternFile(const char* path) : stream(path, std::ios::binary) {
        if (!stream) {
            fail(utilitiesUnit, eFILE, "failed to open file for verification");
        }
        stream.seekg(0, std::ios::end);
        const std::streamoff end = stream ? static_cast<std::streamoff>(stream.tellg()) : -1;
        if (end < 0) {
            fail(utilitiesUnit, eFILE, "failed to seek to end of verification file");
        }
        size = static_cast<std::uint64_t>(end);
    }

    /// Number of whole packets from here; 0 past the end.
    std::uint64_t packetsFrom(std::uint64_t first) const {
        const std::uint64_t position = first * packetBytes;
        return position < size ? (size - position) / packetBytes : 0;
    }

    /// Calls `visit` with the number, counted from `first`, and the bytes of each of `count` packets.
    template <class Visit>
    void forEach(std::uint64_t first, std::uint64_t packets, Visit visit) {
        for (std::uint64_t done = 0; done < packets;) {
            const std::uint64_t wanted = first + done;
            if (wanted < blockFirst || wanted >= blockFirst + blockUsed) {
                readBlock(wanted);
            }
            const std::uint64_t inBlock = wanted - blockFirst;
            const std::uint64_t count = std::min(packets - done, blockUsed - inBlock);
            for (std::uint64_t k = 0; k < count; ++k) {
                visit(done + k, PacketBytes(block.data() + (inBlock + k) * packetBytes, packetBytes));
            }
            done += count;
        }
    }

private:
    /// At least one packet, or a failure.
    void readBlock(std::uint64_t first) {
        stream.clear();
        stream.seekg(static_cast<std::streamoff>(first * packetBytes));
        if (!stream) {
            fail(utilitiesUnit, eFILE, "failed to seek to start of verification file");
        }
        block.resize(std::min(packetsFrom(first), blockPackets) * packetBytes);
        stream.read(reinterpret_cast<char*>(block.data()), static_cast<std::streamsize>(block.size()));
        blockFirst = first;
        blockUsed = static_cast<std::uint64_t>(stream.gcount()) / packetBytes;
        if (blockUsed == 0) {
            fail(utilitiesUnit, eFILE, "failed to read next packet of verification file");
        }
    }

    std::ifstream stream;
    std::vector<unsigned char> block;
    std::uint64_t size = 0;
    std::uint64_t blockFirst = 0; ///< number of the first packet in the block
    std::uint64_t blockUsed = 0;  ///< whole packets in it
};

/// The file decides: trailers at the ends of most packets mean packets with trailers. The last packet has no vote.
FrameFormat formatOf(PatternFile& file) {
    const std::uint64_t packets = file.packetsFrom(0);
    std::uint64_t trailers = 0;
    if (packets > 1) {
        file.forEach(0, packets - 1, [&trailers](std::uint64_t, PacketBytes packet) {
            if (looksLikeTrailer(wordAt(packet, packetWords - 1))) {
                ++trailers;
            }
        });
    }
    return trailers > packets / 2 ? FrameFormat::TenBitPackets : FrameFormat::PWords;
}

} // namespace

void verifyPatternFile(Pattern& pattern, const char* path, std::uint32_t firstPacket, std::uint32_t numPackets,
                       std::uint32_t& tracePackets, std::uint32_t& otherPackets, std::uint32_t& dataWords,
                       std::uint32_t& syncWords, std::uint32_t& zeroWords) {
    logEntry(utilitiesUnit, "VX_QRS::ORV::CLIENT::verifyPatternFile");
    tracePackets = 0;
    otherPackets = 0;
    if (path == nullptr) {
        fail(utilitiesUnit, eFILE, "failed to open file for verification");
    }
    PatternFile file(path);
    PatternVerifier verifier(pattern, formatOf(file));
    const std::uint64_t available = file.packetsFrom(firstPacket);
    if (numPackets > available) {
        fail(utilitiesUnit, eVALUE, "invalid verification file size");
    }

    static_assert(std::endian::native == std::endian::little, "words in memory are those of a file");
    std::array<std::uint16_t, packetWords> words{};
    file.forEach(firstPacket, numPackets != 0 ? numPackets : available, [&](std::uint64_t k, PacketBytes packet) {
        std::memcpy(words.data(), packet.data(), packet.size());
        verifier.checkPacket(firstPacket + static_cast<std::uint32_t>(k), words);
        tracePackets = verifier.counts().tracePackets;
        otherPackets = verifier.counts().otherPackets;
    });
    if (verifier.failed()) {
        fail(utilitiesUnit, eVALUE, verifier.report());
    }
    dataWords = verifier.counts().dataWords;
    syncWords = verifier.counts().syncWords;
    zeroWords = verifier.counts().zeroWords;
}

} // namespace VX_QRS::ORV::CLIENT
