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

} // namespace

PatternVerifier::PatternVerifier(Pattern& checked, FrameFormat frameFormat)
    : pattern(checked), expected(checked), format(frameFormat) {
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
    const std::span<const std::uint16_t> payload = words.first<packetWords - 1>();
    for (std::uint32_t i = takeRun(payload); i < payload.size(); i += 1 + takeRun(payload.subspan(i + 1))) {
        const std::uint16_t word = payload[i];
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
    for (std::uint32_t i = takeRun(words); i < packetWords; i += 1 + takeRun(words.subspan(i + 1))) {
        takeData(number, i, words[i]);
    }
}

// While the pattern is locked and its words follow each other, nothing but the count and the last word changes.
std::uint32_t PatternVerifier::takeRun(std::span<const std::uint16_t> words) {
    if (mode != Mode::Data || !synced) {
        return 0;
    }
    const std::size_t taken = expected.follow(last, words);
    if (taken != 0) {
        last = words[taken - 1];
        count.dataWords += static_cast<std::uint32_t>(taken);
    }
    return static_cast<std::uint32_t>(taken);
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
