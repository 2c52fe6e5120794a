#include "client/Pattern.h"
#include "client/patterns/PatternChecker.h"
#include "common/source/Exception.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <memory>
#include <vector>

namespace VX_QRS::ORV::CLIENT {

namespace {

constexpr char utilitiesUnit[] = "orv_client_utilities";
constexpr std::size_t blockPackets = 128; // read at a time

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

File openFile(const char* path) {
    File file(path != nullptr ? std::fopen(path, "rb") : nullptr);
    if (file == nullptr)
        fail(utilitiesUnit, eFILE, "failed to open file for verification");
    return file;
}

long sizeOf(std::FILE* file) {
    if (std::fseek(file, 0, SEEK_END) != 0)
        fail(utilitiesUnit, eFILE, "failed to seek to end of verification file");
    return std::ftell(file);
}

void seek(std::FILE* file, long position) {
    if (std::fseek(file, position, SEEK_SET) != 0)
        fail(utilitiesUnit, eFILE, "failed to seek to start of verification file");
}

std::uint16_t wordAt(const std::uint8_t* bytes) {
    return static_cast<std::uint16_t>(bytes[0] | bytes[1] << 8);
}

/// Packets of a file from a position on, in blocks.
class PacketReader {
public:
    explicit PacketReader(std::FILE* source) : file(source), bytes(blockPackets * packetBytes) {}

    /// At most `wanted` packets.
    std::size_t read(std::size_t wanted) {
        const std::size_t packets = std::min(wanted, blockPackets);
        if (std::fread(bytes.data(), packetBytes, packets, file) != packets)
            fail(utilitiesUnit, eFILE, "failed to read next packet of verification file");
        return packets;
    }
    void words(std::size_t packet, std::array<std::uint16_t, packetWords>& out) const {
        const std::uint8_t* source = bytes.data() + packet * packetBytes;
        for (std::uint32_t i = 0; i < packetWords; ++i)
            out[i] = wordAt(source + 2 * i);
    }
    std::uint16_t trailer(std::size_t packet) const { return wordAt(bytes.data() + (packet + 1) * packetBytes - 2); }

private:
    std::FILE* file;
    std::vector<std::uint8_t> bytes;
};

/// The file itself tells: trailers of most packets look like trailers, or they do not. The last packet is not asked.
FrameFormat formatOf(std::FILE* file, long size) {
    const auto packets = static_cast<std::size_t>(size / static_cast<long>(packetBytes));
    if (packets < 2)
        return FrameFormat::PWords;
    seek(file, 0);
    PacketReader reader(file);
    std::size_t trailers = 0;
    for (std::size_t done = 0; done < packets - 1;) {
        const std::size_t count = reader.read(packets - 1 - done);
        for (std::size_t k = 0; k < count; ++k)
            trailers += packetType(reader.trailer(k)) != PacketType::invalid ? 1U : 0U;
        done += count;
    }
    return trailers > packets / 2 ? FrameFormat::TenBitPackets : FrameFormat::PWords;
}

} // namespace

void verifyPatternFile(Pattern& pattern, const char* path, std::uint32_t firstPacket, std::uint32_t numPackets,
                       std::uint32_t& tracePackets, std::uint32_t& otherPackets, std::uint32_t& dataWords,
                       std::uint32_t& syncWords, std::uint32_t& zeroWords) {
    const File file = openFile(path);
    const long size = sizeOf(file.get());
    const FrameFormat format = formatOf(file.get(), size);
    const std::uint64_t start = std::uint64_t{firstPacket} * packetBytes;
    const std::uint64_t available =
        start < static_cast<std::uint64_t>(size) ? (static_cast<std::uint64_t>(size) - start) / packetBytes : 0;
    if (numPackets != 0 && numPackets > available)
        fail(utilitiesUnit, eVALUE, "invalid verification file size");
    const std::uint64_t count = numPackets != 0 ? numPackets : available;
    if (count != 0)
        seek(file.get(), static_cast<long>(start));

    tracePackets = 0;
    otherPackets = 0;
    PatternChecker checker(pattern);
    PacketReader reader(file.get());
    std::array<std::uint16_t, packetWords> words{};
    for (std::uint64_t done = 0; done < count;) {
        const std::size_t block = reader.read(static_cast<std::size_t>(std::min<std::uint64_t>(count - done, blockPackets)));
        for (std::size_t k = 0; k < block; ++k) {
            const auto number = static_cast<std::uint32_t>(done + k + firstPacket);
            const PacketType type =
                format == FrameFormat::PWords ? PacketType::trace : packetType(reader.trailer(k));
            if (type == PacketType::trace) {
                reader.words(k, words);
                if (format == FrameFormat::PWords)
                    checker.checkPWords(number, words);
                else
                    checker.checkFramed(number, words);
                ++tracePackets;
            } else if (type == PacketType::other) {
                ++otherPackets;
            } else {
                checker.noteInvalid(number);
            }
        }
        done += block;
    }
    if (checker.failed())
        fail(utilitiesUnit, eVALUE, checker.report());
    dataWords = checker.dataWords();
    syncWords = checker.syncWords();
    zeroWords = checker.zeroWords();
}

} // namespace VX_QRS::ORV::CLIENT
