#include "diagnosis/stream/StreamCheck.h"

#include "diagnosis/stream/ExpectedStream.h"
#include "diagnosis/stream/WordChecker.h"
#include "rcvr/framework/TraceLimits.h"
#include "toolkit/Text.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace diagnosis {

namespace {

constexpr std::size_t recognisedBytes = std::size_t{1} << 16;
constexpr std::size_t fewestSequences = 4; ///< that make a judgement
constexpr std::size_t fewestPackets = 8;   ///< whose trailers show the mode

/// Names at the command line, and those in the table of patterns for one pin and for more.
struct PatternEntry {
    std::string_view name, onePin, morePins;
};
constexpr std::array<PatternEntry, 5> patterns{{
    {"ramp", "alternating bits", "ramp"},
    {"ramp1", "the unit's alternating bits", "the unit's ramp"},
    {"f0", "alternating bits", "f0"},
    {"a5", "alternating bits", "a5"},
    {"walk", "alternating bits", "walk"},
}};

std::optional<Pattern> patternOf(std::string_view name, unsigned lanes) {
    const auto found =
        std::find_if(patterns.begin(), patterns.end(), [=](const PatternEntry& entry) { return entry.name == name; });
    if (found == patterns.end()) {
        return std::nullopt;
    }
    return patternNamed(lanes, lanes == 1 ? found->onePin : found->morePins);
}

/// A reader that first gives bytes that were read ahead.
class Rewound {
public:
    explicit Rewound(const ByteReader& source) : read(source) {}

    std::span<const std::uint8_t> ahead(std::size_t bytes) {
        while (held.size() < bytes) {
            const std::size_t before = held.size();
            held.resize(bytes);
            const std::size_t got = read(std::span(held).subspan(before));
            held.resize(before + got);
            if (got == 0) {
                break;
            }
        }
        return held;
    }

    std::size_t operator()(std::span<std::uint8_t> out) {
        if (given == held.size()) {
            return read(out);
        }
        const std::size_t count = std::min(out.size(), held.size() - given);
        std::copy_n(held.begin() + static_cast<std::ptrdiff_t>(given), count, out.begin());
        given += count;
        return count;
    }

private:
    const ByteReader& read;
    std::vector<std::uint8_t> held;
    std::size_t given = 0;
};

/// The words of the beginning, without packets.
std::vector<std::uint16_t> plainWords(std::span<const std::uint8_t> bytes) {
    std::vector<std::uint16_t> words(bytes.size() / 2);
    for (std::size_t i = 0; i < words.size(); ++i) {
        words[i] = static_cast<std::uint16_t>(bytes[2 * i] | bytes[2 * i + 1] << 8);
    }
    return words;
}

/// Nearly all packets end in a trailer, those of a wrong length included.
bool hasPackets(std::span<const std::uint8_t> bytes) {
    PayloadReader reader(
        [&](std::span<std::uint8_t> out) {
            const std::size_t count = std::min(out.size(), bytes.size());
            std::copy_n(bytes.begin(), count, out.begin());
            bytes = bytes.subspan(count);
            return count;
        },
        true);
    PayloadChunk chunk;
    std::size_t packets = 0;
    std::size_t bad = 0;
    while (reader.next(chunk)) {
        packets += chunk.fault == PayloadChunk::Fault::Rest ? 0U : 1U;
        bad += chunk.fault == PayloadChunk::Fault::BadTrailer ? 1U : 0U;
    }
    return packets >= fewestPackets && 10 * bad <= packets;
}

/// Only what cannot be anything else.
StreamMode recognised(std::span<const std::uint8_t> bytes) {
    if (hasPackets(bytes)) {
        return StreamMode::Pti;
    }
    const std::vector<std::uint16_t> words = withoutHalves(plainWords(bytes));
    const Regularity frames = learnRegularity(SequenceKind::Frame, words, false, 0);
    return frames.regular() && frames.marks >= fewestSequences ? StreamMode::Tpiu : StreamMode::Unknown;
}

double wordsASecond(const StreamForm& form) {
    return 2.0 * form.clockHertz * form.lanes / 16.0;
}

void fillPlace(StreamPlace& place, const StreamCheck& check) {
    place.sample = place.byte / sampleBytes;
    place.percent = check.bytes == 0 ? 0.0 : 100.0 * static_cast<double>(place.byte) / static_cast<double>(check.bytes);
    if (check.form.clockHertz > 0.0 && check.form.lanes != 0) {
        const double payload =
            check.form.mode == StreamMode::Pti
                ? static_cast<double>(Vx::Qrs::Trace::limits::payloadWords) / Vx::Qrs::Trace::limits::packetWords
                : 1.0;
        place.seconds = static_cast<double>(place.byte) / 2.0 * payload / wordsASecond(check.form);
    }
}

void takeLanes(StreamCheck& check, const WordChecker& checker) {
    const LaneTally& tally = checker.lanes();
    for (unsigned lane = 0; lane < tally.count(); ++lane) {
        const LaneFigures& figures = tally.of(lane);
        if (figures.wrongBits == 0) {
            continue;
        }
        LaneDamage own;
        own.lane = lane;
        own.kind = tally.kindOf(lane);
        own.wrongBits = figures.wrongBits;
        own.likePreceding = figures.onlyPreceding;
        own.likeNext = figures.onlyNext;
        own.first.byte = checker.firstByteOf(lane);
        fillPlace(own.first, check);
        check.lanes.push_back(own);
        Damage damage;
        damage.kind = own.kind;
        damage.place = own.first;
        damage.lane = lane;
        damage.amount = own.wrongBits;
        addDamage(check, damage);
    }
    if (tally.count() == 0 && check.wrongWords != 0) {
        Damage damage;
        damage.place.byte = checker.firstByteOf(0);
        damage.amount = check.wrongWords;
        addDamage(check, damage);
    }
}

/// A swapped lane is a lane with damage, too.
void takeSwaps(StreamCheck& check) {
    for (const Damage& damage : check.damages) {
        if (damage.kind != DamageKind::Swapped) {
            continue;
        }
        const auto same = std::find_if(check.lanes.begin(), check.lanes.end(),
                                       [&](const LaneDamage& lane) { return lane.lane == damage.lane; });
        if (same == check.lanes.end()) {
            LaneDamage lane;
            lane.lane = *damage.lane;
            lane.kind = DamageKind::Swapped;
            lane.carries = damage.carries;
            lane.first = damage.place;
            check.lanes.push_back(lane);
        }
    }
    std::sort(check.lanes.begin(), check.lanes.end(),
              [](const LaneDamage& one, const LaneDamage& other) { return one.lane < other.lane; });
}

void judgeLength(StreamCheck& check) {
    const std::uint64_t rest =
        check.bytes %
        (check.form.mode == StreamMode::Pti ? std::size_t{Vx::Qrs::Trace::limits::packetBytes} : sampleBytes);
    const bool cut = check.form.mode != StreamMode::Unknown && rest != 0 && check.cutPackets == 0;
    const std::uint64_t announced = check.form.announcedSamples.value_or(check.samples);
    if (!cut && check.samples >= announced) {
        return;
    }
    Damage damage;
    damage.kind = DamageKind::MissingSamples;
    damage.place.byte = check.bytes;
    damage.amount = announced > check.samples ? (announced - check.samples) * sampleBytes : rest;
    addDamage(check, damage);
}

void conclude(StreamCheck& check, bool judged) {
    for (Damage& damage : check.damages) {
        fillPlace(damage.place, check);
    }
    takeSwaps(check);
    if (!check.damages.empty()) {
        check.firstDamage = check.damages.front();
        check.verdict = StreamVerdict::Damaged;
        return;
    }
    if (judged) {
        check.verdict = StreamVerdict::Sound;
        return;
    }
    if (check.form.mode == StreamMode::Unknown) {
        check.reason = "the kind of export is not known; give --mode pti, tpiu or tpiulite";
    } else if (check.words == 0) {
        check.reason = "there are no words to judge";
    } else if (!check.form.pattern.empty()) {
        check.reason = "too few words to compare with the pattern";
    } else {
        check.reason = "the stream has no synchronisation at a regular distance to judge it by; "
                       "a recording of a known pattern can be compared word by word with --pattern";
    }
}

} // namespace

std::vector<std::string_view> checkedPatternNames() {
    std::vector<std::string_view> names;
    for (const PatternEntry& entry : patterns) {
        names.push_back(entry.name);
    }
    return names;
}

bool hasCheckedPattern(std::string_view name, unsigned lanes) {
    return patternOf(name, lanes == 0 ? 4 : lanes).has_value();
}

StreamCheck checkStream(const ByteReader& read, const StreamForm& form) {
    StreamCheck check;
    check.form = form;
    Rewound rewound(read);
    if (check.form.mode == StreamMode::Unknown) {
        check.form.mode = recognised(rewound.ahead(recognisedBytes));
        check.modeRecognised = check.form.mode != StreamMode::Unknown;
    }
    const bool packets = check.form.mode == StreamMode::Pti;
    const bool patterned = !form.pattern.empty();
    const SequenceKind kind = packets                                               ? SequenceKind::Zeros
                              : check.form.mode == StreamMode::Unknown || patterned ? SequenceKind::None
                                                                                    : SequenceKind::Frame;
    WordWindow window([&](std::span<std::uint8_t> out) { return rewound(out); }, packets);
    const Regularity learned =
        kind == SequenceKind::Frame
            ? learnRegularity(kind, withoutHalves(window.from(0, learnedWords)), patterned, check.form.lanes)
            : learnRegularity(kind, window.from(0, learnedWords), patterned, check.form.lanes);
    const std::optional<Pattern> pattern = patterned ? patternOf(form.pattern, form.lanes) : std::nullopt;
    const ExpectedStream expected(learned, pattern);
    WordChecker checker(window, expected, check);
    checker.run();

    check.bytes = window.bytesRead();
    check.samples = check.bytes / sampleBytes;
    check.words = window.wordsRead() - check.padding;
    check.tracePackets = window.tracePackets;
    check.otherPackets = window.otherPackets;
    check.badTrailers = window.badTrailers;
    check.cutPackets = window.cutPackets;
    check.halfSequences = learned.marks != 0 ? check.halfSequences : 0;
    check.wordsBetween = learned.period;
    takeLanes(check, checker);
    judgeLength(check);
    const bool compared = pattern && check.wordsCompared * 10 >= check.words * 9;
    conclude(check,
             check.words != 0 && (compared || (!patterned && (learned.regular() || kind == SequenceKind::Frame) &&
                                               check.sequences >= fewestSequences)));
    return check;
}

} // namespace diagnosis
