#include "diagnosis/files/Verification.h"

#include "rcvr/framework/TraceLimits.h"
#include "toolkit/TextFile.h"

#include <algorithm>

namespace diagnosis {

namespace {

using limits::packetBytes;
using limits::packetWords;
using limits::payloadWords;
using limits::syncWord;
using limits::syncZeros;

constexpr std::size_t keptErrors = 10;
constexpr std::uint16_t wholeRuns = 0x00FF; ///< in a trailer: zeros at the packet's end continue in the next one

std::uint16_t wordAt(std::string_view bytes, std::size_t offset) {
    const auto low = static_cast<unsigned char>(bytes[offset]);
    const auto high = static_cast<unsigned char>(bytes[offset + 1]);
    return static_cast<std::uint16_t>(low | high << 8);
}

enum class PacketKind { Trace, Other, Unknown };

PacketKind kindOf(std::uint16_t trailer) {
    switch (trailer & limits::trailerTypeMask) {
    case limits::trailerTrace:
        return PacketKind::Trace;
    case limits::trailerOther:
        return PacketKind::Other;
    default:
        return PacketKind::Unknown;
    }
}

bool cutsZeroRun(std::uint16_t trailer) {
    return (trailer & wholeRuns) != wholeRuns;
}

/// More than half of the packets, of which the last has no say, end in a trailer.
bool hasTrailers(std::string_view bytes, std::size_t packets) {
    std::size_t trailers = 0;
    for (std::size_t k = 1; k < packets; ++k) {
        trailers += kindOf(wordAt(bytes, k * packetBytes - 2)) != PacketKind::Unknown;
    }
    return trailers > packets / 2;
}

/// Follows the stream word by word. A synchronisation sequence is five zeros or more, the mark, and one further word.
class Checker {
public:
    Checker(const Pattern& sent, PatternCheck& found) : pattern(sent), check(found) {}

    void take(std::size_t place, std::uint16_t word) {
        if (word == 0) {
            if (mode == Mode::AfterMark) {
                error(place);
            }
            zeroRun = mode == Mode::Data ? 1 : zeroRun + 1;
            ++check.zeroWords;
            mode = Mode::Zeros;
        } else if (word == syncWord && mode == Mode::AfterMark) {
            error(place);
        } else if (word == syncWord && mode == Mode::Zeros && zeroRun >= syncZeros) {
            mode = Mode::AfterMark;
            check.syncWords += limits::syncLength;
            check.zeroWords -= std::min<std::size_t>(check.zeroWords, syncZeros);
        } else {
            if (mode != Mode::AfterMark) {
                takeData(place, word, word == syncWord);
            }
            mode = Mode::Data;
            zeroRun = 0;
        }
    }
    void cutZeroRun() { zeroRun = 0; }

    /// A stream without framing: every word is the pattern's.
    void takePlain(std::size_t place, std::uint16_t word) { takeData(place, word, true); }

private:
    enum class Mode { Data, Zeros, AfterMark };

    void takeData(std::size_t place, std::uint16_t word, bool evenFirst) {
        if (last != 0 || evenFirst) {
            const bool bad = pattern.next(last) != word && locked;
            locked = !bad;
            if (bad) {
                error(place);
            }
        }
        ++check.dataWords;
        last = word;
    }
    void error(std::size_t place) {
        ++check.errors;
        if (check.firstErrors.size() < keptErrors) {
            check.firstErrors.push_back(place);
        }
    }

    const Pattern& pattern;
    PatternCheck& check;
    Mode mode = Mode::Data;
    std::size_t zeroRun = 0;
    std::uint16_t last = 0;
    bool locked = false; // the first word after a fault is taken on trust
};

} // namespace

std::size_t Verification::packetOf(std::size_t word) const {
    const std::size_t perPacket = framing == Framing::Packets ? payloadWords : packetWords;
    const std::size_t packet = word / perPacket;
    return packet < packetNumbers.size() ? packetNumbers[packet] : packet;
}

std::size_t Verification::indexOf(std::size_t word) const {
    return word % (framing == Framing::Packets ? payloadWords : packetWords);
}

Verification parseVerification(std::string_view bytes) {
    Verification recording;
    recording.packets = bytes.size() / packetBytes;
    recording.framing =
        hasTrailers(bytes, recording.packets) ? Verification::Framing::Packets : Verification::Framing::Words;
    for (std::size_t packet = 0; packet < recording.packets; ++packet) {
        const std::size_t first = packet * packetBytes;
        std::size_t count = packetWords;
        if (recording.framing == Verification::Framing::Packets) {
            const PacketKind kind = kindOf(wordAt(bytes, first + packetBytes - 2));
            recording.otherPackets += kind == PacketKind::Other;
            recording.unknownPackets += kind == PacketKind::Unknown;
            if (kind != PacketKind::Trace) {
                continue;
            }
            count = payloadWords;
        }
        ++recording.tracePackets;
        recording.packetNumbers.push_back(packet);
        for (std::size_t i = 0; i < count; ++i) {
            recording.words.push_back(wordAt(bytes, first + 2 * i));
        }
        if (count == payloadWords && cutsZeroRun(wordAt(bytes, first + packetBytes - 2))) {
            recording.zeroRunCuts.push_back(recording.words.size());
        }
    }
    return recording;
}

Verification readVerification(const std::filesystem::path& file) {
    return parseVerification(toolkit::readText(file, 0, std::size_t{limits::verificationPackets} * packetBytes));
}

PatternCheck checkPattern(const Verification& recording, const Pattern& pattern) {
    PatternCheck check;
    Checker checker(pattern, check);
    const bool packets = recording.framing == Verification::Framing::Packets;
    auto cut = recording.zeroRunCuts.begin();
    for (std::size_t i = 0; i < recording.words.size(); ++i) {
        if (cut != recording.zeroRunCuts.end() && *cut == i) {
            checker.cutZeroRun();
            ++cut;
        }
        if (packets) {
            checker.take(i, recording.words[i]);
        } else {
            checker.takePlain(i, recording.words[i]);
        }
    }
    check.errors += recording.unknownPackets;
    check.countsAddUp = check.dataWords >= limits::leastVerifiedWords &&
                        check.dataWords + check.syncWords + check.zeroWords == recording.words.size();
    return check;
}

std::optional<Pattern> patternHeld(const Verification& recording, std::size_t dataPins, std::string_view sent) {
    if (recording.words.empty()) {
        return std::nullopt;
    }
    if (const auto known = patternNamed(dataPins, sent)) {
        return checkPattern(recording, *known).passed() ? known : std::nullopt;
    }
    for (const Pattern& pattern : usualPatterns(dataPins)) {
        if (checkPattern(recording, pattern).passed()) {
            return pattern;
        }
    }
    return std::nullopt;
}

} // namespace diagnosis
