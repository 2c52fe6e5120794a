#include "client/patterns/PatternVerifier.h"

#include "common/source/Exception.h"
#include "common/source/source_utilities/uString.h"

namespace VX_QRS::ORV::CLIENT {

namespace {

using Vx::Qrs::Trace::limits::syncLength;
using Vx::Qrs::Trace::limits::syncWord;
using Vx::Qrs::Trace::limits::syncZeros;

constexpr std::uint32_t keptErrors = 10;
constexpr std::uint32_t reportedItems = 5;

constexpr bool appended = true;

} // namespace

PatternVerifier::PatternVerifier(Pattern& expected, FrameFormat frameFormat) : pattern(expected), format(frameFormat) {
    if (format != FrameFormat::TenBitPackets && format != FrameFormat::PWords) {
        fail(utilitiesUnit, eFAIL, "invalid frame format");
    }
}

void PatternVerifier::checkPacket(std::uint32_t number, std::span<const std::uint16_t, packetWords> words) {
    if (format == FrameFormat::PWords) {
        checkPWords(number, words);
        ++count.tracePackets;
        return;
    }
    const auto type = static_cast<std::uint16_t>(words.back() & trailerTypeMask);
    if (type == trailerTrace) {
        checkTenBitPacket(number, words);
        ++count.tracePackets;
    } else if (type == trailerOther) {
        ++count.otherPackets;
    } else if (errorCount <= keptErrors) {
        invalidPackets.push_back(number);
    }
}

void PatternVerifier::checkTenBitPacket(std::uint32_t number, std::span<const std::uint16_t, packetWords> words) {
    for (std::uint32_t i = 0; i < packetWords - 1; ++i) {
        const std::uint16_t word = words[i];
        if (word == 0) {
            takeZero(number, i);
        } else if (word == syncWord) {
            takeSyncWord(number, i);
        } else {
            // The first word of the pattern has no predecessor.
            if (mode != Mode::AfterSync) {
                if (last != 0 && pattern.check(last, word, synced)) {
                    addError(number, i, word);
                }
                ++count.dataWords;
                last = word;
            }
            mode = Mode::Data;
            zeroRun = 0;
        }
    }
    if ((words.back() & trailerLowByte) < trailerLowByte) {
        zeroRun = 0;
    }
}

void PatternVerifier::takeZero(std::uint32_t number, std::uint32_t index) {
    switch (mode) {
    case Mode::Data:
        zeroRun = 1;
        break;
    case Mode::Zeros:
        ++zeroRun;
        break;
    case Mode::AfterSync:
        addError(number, index, 0);
        break;
    }
    ++count.zeroWords;
    mode = Mode::Zeros;
}

void PatternVerifier::takeSyncWord(std::uint32_t number, std::uint32_t index) {
    if (mode == Mode::AfterSync) {
        addError(number, index, syncWord);
    } else if (mode == Mode::Zeros && zeroRun >= syncZeros) {
        mode = Mode::AfterSync;
        count.syncWords += syncLength;
        if (count.zeroWords >= syncZeros) {
            count.zeroWords -= syncZeros; // they were counted before it was known what they are
        }
    } else {
        takeData(number, index, syncWord);
    }
}

void PatternVerifier::takeData(std::uint32_t number, std::uint32_t index, std::uint16_t word) {
    if (pattern.check(last, word, synced)) {
        addError(number, index, word);
    }
    ++count.dataWords;
    last = word;
    mode = Mode::Data;
    zeroRun = 0;
}

void PatternVerifier::checkPWords(std::uint32_t number, std::span<const std::uint16_t, packetWords> words) {
    for (std::uint32_t i = 0; i < packetWords; ++i) {
        takeData(number, i, words[i]);
    }
}

void PatternVerifier::addError(std::uint32_t number, std::uint32_t index, std::uint16_t word) {
    ++errorCount;
    if (errorCount > keptErrors) {
        return;
    }
    if (packetErrors.empty() || packetErrors.back().packet != number) {
        packetErrors.push_back({number, {}});
    }
    packetErrors.back().words.emplace_back(index, word);
}

std::string PatternVerifier::report() const {
    std::string text = "failed to verify pattern";
    std::uint32_t items = 0;
    for (const PacketErrors& packet : packetErrors) {
        if (items >= reportedItems) {
            break;
        }
        uString::toText(packet.packet, text, appended, " : data errors in packet %d");
        // A packet that was begun is reported whole.
        for (const auto& [index, word] : packet.words) {
            uString::toText(index, text, appended, ", [%03d]=");
            uString::toText(word, text, appended, "0x%04x");
            ++items;
        }
    }
    if (!invalidPackets.empty() && items < reportedItems) {
        text += " : invalid packet types";
    }
    for (const std::uint32_t packet : invalidPackets) {
        if (items >= reportedItems) {
            break;
        }
        uString::toText(packet, text, appended, ", %d");
        ++items;
    }
    return text;
}

} // namespace VX_QRS::ORV::CLIENT
