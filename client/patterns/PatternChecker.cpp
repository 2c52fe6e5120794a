#include "client/patterns/PatternChecker.h"

#include <array>
#include <cstdio>
#include <string>
#include <utility>

namespace VX_QRS::ORV::CLIENT {

namespace {

constexpr std::uint16_t trailerTypeMask = 0xF800;
constexpr std::uint16_t trailerTrace = 0x0800;
constexpr std::uint16_t trailerOther = 0x1000;
constexpr std::uint16_t trailerLowByte = 0x00FF; // below 255: the packet cuts a run of zeros

constexpr std::uint16_t syncMark = 0x0FF0; // behind at least five zeros
constexpr std::uint32_t syncZeros = 5;
constexpr std::uint32_t syncLength = 7; // zeros, mark and one further word

constexpr std::uint32_t keptErrors = 10;
constexpr std::uint32_t reportedItems = 5;

std::string faultText(std::uint32_t index, std::uint16_t word) {
    std::array<char, 32> buffer{};
    std::snprintf(buffer.data(), buffer.size(), ", [%03u]=0x%04x", index, unsigned{word});
    return buffer.data();
}

} // namespace

PacketType packetType(std::uint16_t trailer) {
    switch (trailer & trailerTypeMask) {
    case trailerTrace:
        return PacketType::trace;
    case trailerOther:
        return PacketType::other;
    default:
        return PacketType::invalid;
    }
}

void PatternChecker::checkFramed(std::uint32_t packet, std::span<const std::uint16_t> words) {
    const std::uint32_t before = errorCount;
    for (std::uint32_t i = 0; i < framedPayloadWords; ++i) {
        const std::uint16_t word = words[i];
        if (word == 0)
            zero(i);
        else if (word == syncMark)
            syncWord(i, word);
        else
            otherWord(i, word);
    }
    if ((words[framedPayloadWords] & trailerLowByte) < trailerLowByte)
        zeroRun = 0;
    endPacket(packet, before);
}

void PatternChecker::checkPWords(std::uint32_t packet, std::span<const std::uint16_t> words) {
    const std::uint32_t before = errorCount;
    for (std::uint32_t i = 0; i < packetWords; ++i)
        patternWord(i, words[i]);
    endPacket(packet, before);
}

void PatternChecker::noteInvalid(std::uint32_t packet) {
    if (errorCount <= keptErrors)
        invalidPackets.push_back(packet);
}

void PatternChecker::zero(std::uint32_t index) {
    switch (mode) {
    case Mode::data:
        zeroRun = 1;
        break;
    case Mode::zeros:
        ++zeroRun;
        break;
    case Mode::behindSync:
        error(index, 0);
        break;
    }
    ++zeros;
    mode = Mode::zeros;
}

void PatternChecker::otherWord(std::uint32_t index, std::uint16_t word) {
    if (mode != Mode::behindSync) {
        // The first word of a pattern has nothing in front of it to be judged by.
        if (last != 0 && pattern.check(last, word, synced))
            error(index, word);
        ++data;
        last = word;
    }
    mode = Mode::data;
    zeroRun = 0;
}

void PatternChecker::syncWord(std::uint32_t index, std::uint16_t word) {
    if (mode == Mode::behindSync) {
        error(index, word);
    } else if (mode == Mode::zeros && zeroRun >= syncZeros) {
        mode = Mode::behindSync;
        sync += syncLength;
        if (zeros >= syncZeros)
            zeros -= syncZeros;
    } else {
        patternWord(index, word);
    }
}

/// A word that belongs to the pattern whatever stands in front of it.
void PatternChecker::patternWord(std::uint32_t index, std::uint16_t word) {
    if (pattern.check(last, word, synced))
        error(index, word);
    ++data;
    last = word;
    mode = Mode::data;
    zeroRun = 0;
}

void PatternChecker::error(std::uint32_t index, std::uint16_t word) {
    if (++errorCount <= keptErrors)
        pending.push_back({index, word});
}

void PatternChecker::endPacket(std::uint32_t packet, std::uint32_t errorsBefore) {
    if (errorCount == errorsBefore)
        return;
    // Behind the first ten errors a packet has nothing left to show.
    if (!pending.empty())
        packetFaults.push_back({packet, std::exchange(pending, {})});
}

std::string PatternChecker::report() const {
    std::string text = "failed to verify pattern";
    std::uint32_t items = 0;
    for (const PacketFaults& entry : packetFaults) {
        if (items >= reportedItems)
            break;
        text += " : data errors in packet " + std::to_string(entry.packet);
        for (const Fault& fault : entry.faults) {
            text += faultText(fault.index, fault.word);
            ++items;
        }
    }
    bool headed = false;
    for (const std::uint32_t packet : invalidPackets) {
        if (items >= reportedItems)
            break;
        if (!std::exchange(headed, true))
            text += " : invalid packet types";
        text += ", " + std::to_string(packet);
        ++items;
    }
    return text;
}

} // namespace VX_QRS::ORV::CLIENT
