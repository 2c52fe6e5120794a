#include "host/soak/GeneratorCheck.h"

#include "rcvr/framework/TraceLimits.h"

namespace host {

namespace {

using Vx::Qrs::Trace::limits::packetWords;
using Vx::Qrs::Trace::limits::syncWord;
using Vx::Qrs::Trace::limits::syncZeros;
using Vx::Qrs::Trace::limits::trailerOther;
using Vx::Qrs::Trace::limits::trailerTrace;
using Vx::Qrs::Trace::limits::trailerTypeMask;

} // namespace

GeneratorCheck::GeneratorCheck(unsigned dataPins, Framing packing)
    : ramp(diagnosis::unitRamp(dataPins)), framing(packing) {}

void GeneratorCheck::take(std::span<const std::uint64_t> samples) {
    for (const std::uint64_t sample : samples) {
        for (unsigned shift = 0; shift < 64; shift += 16) {
            takeWord(static_cast<std::uint16_t>(sample >> shift));
        }
    }
}

void GeneratorCheck::endOfFullBuffer() {
    // A sixth zero may appear where the end of the buffer has cut a sequence after its mark.
    if (zeros.size() > syncZeros + 1) {
        endZeros();
    }
}

void GeneratorCheck::takeWord(std::uint16_t word) {
    ++position;
    if (framing == Framing::Words) {
        takePayload(word, position - 1);
        return;
    }
    // The trailer at its end decides whether a packet holds trace at all.
    packet.push_back(word);
    if (packet.size() == packetWords) {
        checkPacket();
    }
}

void GeneratorCheck::checkPacket() {
    const std::uint16_t trailer = packet.back();
    const std::uint64_t first = position - packetWords;
    if ((trailer & trailerTypeMask) == trailerTrace) {
        for (std::size_t i = 0; i + 1 < packetWords; ++i) {
            takePayload(packet[i], first + i);
        }
    } else if ((trailer & trailerTypeMask) != trailerOther) {
        ++checked;
        addError(position - 1, trailer, std::nullopt);
    }
    packet.clear();
}

void GeneratorCheck::takePayload(std::uint16_t word, std::uint64_t at) {
    if (skipNext) {
        skipNext = false;
        return;
    }
    if (word == 0) {
        zeros.push_back(at);
        return;
    }
    if (word == syncWord && zeros.size() >= syncZeros) {
        zeros.clear();
        skipNext = true;
        return;
    }
    endZeros();
    ++checked;
    const std::optional<std::uint16_t> following = ramp.next(word);
    if (next ? word != *next : !following) {
        addError(at, word, next);
    }
    // A word of the ramp sets the pace again, so that one loss is one error; anything else leaves it.
    if (following) {
        next = following;
    } else if (next) {
        next = ramp.next(*next);
    }
}

/// A run of zero words that was no synchronisation stood where the ramp belongs.
void GeneratorCheck::endZeros() {
    for (const std::uint64_t at : zeros) {
        ++checked;
        addError(at, 0, next);
        if (next) {
            next = ramp.next(*next);
        }
    }
    zeros.clear();
}

void GeneratorCheck::addError(std::uint64_t at, std::uint16_t got, std::optional<std::uint16_t> expected) {
    ++wrong;
    if (errors.size() < errorsKept) {
        errors.push_back({at / packetWords, static_cast<unsigned>(at % packetWords), got, expected});
    }
}

} // namespace host
