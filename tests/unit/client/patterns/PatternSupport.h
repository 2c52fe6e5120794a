#pragma once

#include "client/patterns/PatternVerifier.h"
#include "common/source/Exception.h"
#include "tests/support/scratch/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <fstream>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace pattern_test {

using namespace VX_QRS::ORV::CLIENT;

using Words = std::vector<std::uint16_t>;
using Packet = std::array<std::uint16_t, packetWords>;

inline constexpr std::uint16_t traceTrailer = 0x08FF; // cuts nothing
inline constexpr std::uint16_t cuttingTrailer = 0x0810;
inline constexpr std::uint16_t otherTrailer = 0x10FF;
inline constexpr std::uint16_t invalidTrailer = 0x18FF;

inline std::unique_ptr<Pattern> makePattern(const char* name, std::uint32_t pins) {
    return std::unique_ptr<Pattern>(createPattern(name, pins));
}

/// A packet that begins with these words, goes on with 0x5555, and ends in the trailer.
inline Packet packetOf(const Words& begin, std::uint16_t trailer = traceTrailer) {
    Packet packet;
    packet.fill(0x5555);
    for (std::size_t i = 0; i < begin.size(); ++i) {
        packet[i] = begin[i];
    }
    packet.back() = trailer;
    return packet;
}

using test_support::TemporaryFolder;

inline void writeBytes(const std::string& path, const std::vector<std::uint8_t>& bytes) {
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

inline std::vector<std::uint8_t> bytesOf(const std::vector<Packet>& packets) {
    std::vector<std::uint8_t> bytes;
    bytes.reserve(packets.size() * 512);
    for (const Packet& packet : packets) {
        for (const std::uint16_t word : packet) {
            bytes.push_back(static_cast<std::uint8_t>(word & 0xFF));
            bytes.push_back(static_cast<std::uint8_t>(word >> 8));
        }
    }
    return bytes;
}

/// Everything that a verification of a file gives.
struct Outcome {
    std::uint32_t tracePackets = 111, otherPackets = 222, dataWords = 333, syncWords = 444, zeroWords = 555;
    std::uint32_t status = 0; // 0 for success
    std::string text;

    friend bool operator==(const Outcome&, const Outcome&) = default;
};

inline std::ostream& operator<<(std::ostream& out, const Outcome& o) {
    return out << "trace " << o.tracePackets << " other " << o.otherPackets << " data " << o.dataWords << " sync "
               << o.syncWords << " zero " << o.zeroWords << " status " << o.status << " '" << o.text << "'";
}

inline Outcome verifyFile(Pattern& pattern, const std::string& path, std::uint32_t first = 0, std::uint32_t count = 0) {
    Outcome o;
    try {
        verifyPatternFile(pattern, path.c_str(), first, count, o.tracePackets, o.otherPackets, o.dataWords, o.syncWords,
                          o.zeroWords);
    } catch (const Exception& e) {
        o.status = e.status();
        o.text = e.detail();
    }
    return o;
}

} // namespace pattern_test
