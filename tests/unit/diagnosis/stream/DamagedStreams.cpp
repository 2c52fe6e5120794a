#include "tests/unit/diagnosis/stream/DamagedStreams.h"

#include "bench/signal/Content.h"
#include "bench/signal/WordStream.h"

#include <algorithm>
#include <cstddef>
#include <limits>
#include <memory>
#include <set>

namespace stream_test {

namespace {

using diagnosis::DamageKind;
using diagnosis::StreamMode;

constexpr std::size_t packetPayload = 255;
constexpr std::size_t blockBytes = 16384;
constexpr std::size_t lengthOfSequence = 7;

/// Words in the order of the pins, and which of them a check can judge without knowing the content.
struct Words {
    std::vector<std::uint16_t> all;
    std::vector<bool> inSequence;
};

class Maker {
public:
    explicit Maker(std::uint64_t seed) : random(seed) {}

    std::size_t upTo(std::size_t below) { return random() % below; }
    std::size_t between(std::size_t low, std::size_t high) { return low + upTo(high - low + 1); }
    bool oneIn(std::size_t count) { return upTo(count) == 0; }
    double share() { return static_cast<double>(random() >> 11) * 0x1.0p-53; }

    std::mt19937_64 random;
    unsigned lanes = 4;
    StreamMode mode = StreamMode::Pti;
    std::string pattern; ///< empty: the content is not known to the check
    unsigned every = 0;  ///< words between sequences

    void chooseForm() {
        lanes = 1U << upTo(3);
        mode = oneIn(2) ? StreamMode::Pti : (oneIn(2) ? StreamMode::Tpiu : StreamMode::TpiuLite);
    }
    void choosePattern() {
        static const std::vector<std::string> names{"ramp", "ramp1", "f0", "a5", "walk"};
        pattern = names[upTo(names.size())];
    }
    void chooseSequences() { every = static_cast<unsigned>(between(16, 230)); }

    bench::ContentPointer knownContent() const {
        return bench::makePattern(*bench::patternFromName(contentName()), lanes);
    }
    bench::ContentPointer anyContent() {
        switch (upTo(4)) {
        case 0:
            return bench::makeGeneratedTrace(random());
        case 1:
            return bench::makePattern(bench::PatternName::Lfsr, lanes);
        case 2: {
            std::vector<std::uint8_t> noise(between(1000, 60000));
            std::generate(noise.begin(), noise.end(), [&] { return static_cast<std::uint8_t>(random()); });
            return bench::makePlayback(noise, idleWord(), static_cast<unsigned>(upTo(2000)));
        }
        default:
            return bench::makePlayback({}, idleWord(), 0);
        }
    }

    /// What the pins carry, from somewhere in the stream when the buffer wrapped.
    Words fromTransmitter(std::size_t count) {
        const bench::ContentPointer content = pattern.empty() ? anyContent() : knownContent();
        const bench::WordStream stream(content, mode == StreamMode::Pti ? every : 0);
        const std::uint64_t first = oneIn(2) ? upTo(1000000) : upTo(3 * lengthOfSequence);
        Words words;
        words.all.resize(count);
        stream.fill(first, words.all);
        for (std::size_t i = 0; i < count; ++i) {
            const auto inside = stream.positionInSequence(first + i);
            words.inSequence.push_back(inside && *inside < lengthOfSequence - 1);
        }
        return words;
    }

    /// Frames of 16 bytes with full synchronisation at a regular distance, and half words of it anywhere.
    Words frames(std::size_t count) {
        const std::size_t content = 8 * between(2, 28);
        const bool halves = oneIn(2);
        Words words;
        std::size_t inside = upTo(content);
        const auto add = [&](std::uint16_t word, bool sequence) {
            words.all.push_back(word);
            words.inSequence.push_back(sequence);
        };
        while (words.all.size() < count) {
            if (inside == content) {
                add(0xFFFF, true);
                add(0x7FFF, true);
                inside = 0;
            }
            if (halves && oneIn(50) && inside != 0) {
                add(0x7FFF, true);
            }
            auto word = static_cast<std::uint16_t>(random());
            word = (word & 0xFF) == 0xFF ? static_cast<std::uint16_t>(word ^ 0x10) : word;
            add(word, false);
            ++inside;
        }
        words.all.resize(count);
        words.inSequence.resize(count);
        return words;
    }

    /// As the unit records it: whole blocks, padded.
    std::vector<std::uint8_t> recorded(const std::vector<std::uint16_t>& words) const {
        std::vector<std::uint8_t> bytes;
        const auto put = [&](std::uint16_t word) {
            bytes.push_back(static_cast<std::uint8_t>(word & 0xFF));
            bytes.push_back(static_cast<std::uint8_t>(word >> 8));
        };
        for (std::size_t i = 0; i < words.size() || bytes.size() % blockBytes != 0; ++i) {
            put(i < words.size() ? words[i] : std::uint16_t{0});
            if (mode == StreamMode::Pti && i % packetPayload == packetPayload - 1) {
                put(i / packetPayload * packetPayload < words.size() ? 0x08FF : 0x10FF);
            }
        }
        return bytes;
    }

    /// Byte of a word in the recording.
    std::uint64_t byteOf(std::size_t word) const {
        return 2 * (mode == StreamMode::Pti ? word + word / packetPayload : word);
    }

    diagnosis::StreamForm form() {
        diagnosis::StreamForm given;
        given.mode = mode;
        given.lanes = lanes;
        given.pattern = pattern;
        return given;
    }

    std::string text() const {
        return std::string(diagnosis::streamModeName(mode)) + ", " + std::to_string(lanes) + " lanes, " +
               (pattern.empty() ? "any content" : pattern) + ", every " + std::to_string(every);
    }

private:
    std::string contentName() const { return pattern; }
    std::uint16_t idleWord() {
        static const std::vector<std::uint16_t> words{0, 0, 0xFFFF, 0x1111, 0x8000, 0x0FF0};
        return words[upTo(words.size())];
    }
};

std::uint16_t laneMask(unsigned lanes, unsigned lane) {
    unsigned mask = 0;
    for (unsigned bit = lane; bit < 16; bit += lanes) {
        mask |= 0x8000U >> bit;
    }
    return static_cast<std::uint16_t>(mask);
}

bool bitOf(const std::vector<std::uint16_t>& words, std::size_t bit) {
    return (words[bit / 16] >> (15 - bit % 16) & 1) != 0;
}

/// Whether a lane that is late differs from one that is early.
bool tellsDirection(const std::vector<std::uint16_t>& words, unsigned lanes, unsigned lane) {
    const std::size_t from = words.size() / 2 * 16 + lane;
    for (std::size_t bit = from; bit < from + 600 * 16UL; bit += lanes) {
        if (bitOf(words, bit) == bitOf(words, bit + lanes)) {
            return true;
        }
    }
    return false;
}

bool differs(const std::vector<std::uint16_t>& words, unsigned lanes, unsigned one, unsigned other) {
    for (std::size_t word = words.size() / 2; word < words.size() / 2 + 64; ++word) {
        for (unsigned bit = 0; bit < 16; bit += lanes) {
            if (bitOf(words, word * 16 + bit + one) != bitOf(words, word * 16 + bit + other)) {
                return true;
            }
        }
    }
    return false;
}

} // namespace

diagnosis::StreamCheck checkOf(const std::vector<std::uint8_t>& bytes, const diagnosis::StreamForm& form) {
    std::size_t at = 0;
    return diagnosis::checkStream(
        [&](std::span<std::uint8_t> out) {
            const std::size_t count = std::min(out.size(), bytes.size() - at);
            std::copy_n(bytes.begin() + static_cast<std::ptrdiff_t>(at), count, out.begin());
            at += count;
            return count;
        },
        form);
}

MadeStream makeSound(std::uint64_t seed) {
    Maker maker(seed);
    maker.chooseForm();
    if (maker.oneIn(2)) {
        maker.choosePattern();
    }
    const bool framed = maker.mode != StreamMode::Pti && maker.pattern.empty() && maker.oneIn(2);
    // Without any sequence a content that is not known cannot be judged.
    if (maker.mode == StreamMode::Pti && !maker.oneIn(8)) {
        maker.chooseSequences();
    }
    const std::size_t count = maker.between(4000, 30000);
    const Words words = framed ? maker.frames(count) : maker.fromTransmitter(count);
    MadeStream made;
    made.bytes = maker.recorded(words.all);
    made.form = maker.form();
    made.what = "seed " + std::to_string(seed) + ": " + maker.text() + (framed ? ", frames" : "");
    made.judged = framed || maker.every != 0 || !maker.pattern.empty();
    if (maker.pattern.empty() && maker.oneIn(3)) {
        made.form.lanes = 0;
        made.form.mode = maker.mode == StreamMode::Pti || framed ? StreamMode::Unknown : maker.mode;
    }
    return made;
}

namespace {

/// Places one damage. False if this content cannot show it.
class Spoiler {
public:
    Spoiler(Maker& maker, Words& words) : make(maker), stream(words.all), inSequence(words.inSequence) {
        place = make.between(stream.size() / 10, stream.size() * 6 / 10);
    }

    bool spoil(MadeStream& made) {
        switch (make.upTo(6)) {
        case 0:
            return flips(made);
        case 1:
            return moved(made, DamageKind::LostWords);
        case 2:
            return moved(made, DamageKind::InsertedWords);
        case 3:
            return cut(made);
        case 4:
            return swapped(made);
        default:
            return drifts(made);
        }
    }

private:
    bool visible(std::size_t word) const { return !make.pattern.empty() || inSequence[word]; }

    void finish(MadeStream& made, DamageKind kind, std::size_t word) const {
        made.kind = kind;
        made.place = make.byteOf(word);
        made.bytes = make.recorded(stream);
    }

    bool flips(MadeStream& made) {
        const unsigned mask = laneMask(make.lanes, static_cast<unsigned>(make.upTo(make.lanes)));
        std::size_t wanted = make.between(1, 5);
        std::size_t first = 0;
        for (std::size_t at = place; wanted != 0 && at < stream.size(); ++at) {
            // A word after a mark may be any.
            if (!visible(at) || !make.oneIn(3) || (!make.pattern.empty() && at > 0 && stream[at - 1] == 0x0FF0)) {
                continue;
            }
            unsigned bit = 1U << make.upTo(16);
            while ((bit & mask) == 0) {
                bit = 1U << make.upTo(16);
            }
            stream[at] = static_cast<std::uint16_t>(stream[at] ^ bit);
            first = first == 0 ? at : first;
            --wanted;
        }
        finish(made, DamageKind::Noise, first);
        return first != 0;
    }

    bool moved(MadeStream& made, DamageKind kind) {
        const std::size_t count = make.between(1, 7);
        const auto at = stream.begin() + static_cast<std::ptrdiff_t>(place);
        if (make.mode != StreamMode::Pti && !make.pattern.empty()) {
            const std::set<std::uint16_t> different(at, at + 8);
            if (count % different.size() == 0) {
                return false; // the pattern continues as if nothing had happened
            }
        }
        if (kind == DamageKind::LostWords) {
            stream.erase(at, at + static_cast<std::ptrdiff_t>(count));
        } else {
            std::vector<std::uint16_t> more(count);
            std::generate(more.begin(), more.end(), [&] { return static_cast<std::uint16_t>(make.random() | 0x0100); });
            stream.insert(at, more.begin(), more.end());
        }
        finish(made, kind, place);
        return true;
    }

    bool cut(MadeStream& made) {
        if (make.mode != StreamMode::Pti) {
            return false;
        }
        made.bytes = make.recorded(stream);
        const std::size_t count = make.between(1, 400);
        const std::size_t packet = make.byteOf(place) / 512 * 512;
        const std::size_t from = packet + make.upTo(510 - count);
        made.bytes.erase(made.bytes.begin() + static_cast<std::ptrdiff_t>(from),
                         made.bytes.begin() + static_cast<std::ptrdiff_t>(from + count));
        made.place = from;
        made.kind = DamageKind::CutPacket;
        return true;
    }

    bool swapped(MadeStream& made) {
        if (make.lanes < 2 || make.pattern.empty()) {
            return false;
        }
        const auto one = static_cast<unsigned>(make.upTo(make.lanes));
        const auto other = static_cast<unsigned>((one + make.between(1, make.lanes - 1)) % make.lanes);
        if (!differs(stream, make.lanes, one, other)) {
            return false;
        }
        std::size_t first = 0;
        for (std::size_t at = place; at < stream.size(); ++at) {
            const std::uint16_t before = stream[at];
            unsigned word = before & static_cast<unsigned>(~(laneMask(make.lanes, one) | laneMask(make.lanes, other)));
            for (unsigned bit = 0; bit < 16; bit += make.lanes) {
                word |= (before >> (15 - bit - one) & 1U) << (15 - bit - other);
                word |= (before >> (15 - bit - other) & 1U) << (15 - bit - one);
            }
            stream[at] = static_cast<std::uint16_t>(word);
            first = first == 0 && stream[at] != before ? at : first;
        }
        finish(made, DamageKind::Swapped, first);
        return true;
    }

    bool drifts(MadeStream& made) {
        const auto lane = static_cast<unsigned>(make.upTo(make.lanes));
        const bool late = make.oneIn(2);
        if (!tellsDirection(stream, make.lanes, lane)) {
            return false;
        }
        const std::vector<std::uint16_t> sound = stream;
        const double growth = static_cast<double>(make.between(200, 4000));
        std::size_t first = 0;
        for (std::size_t at = place; at + 1 < stream.size(); ++at) {
            const double chance = std::min(1.0, static_cast<double>(at - place + 1) / growth);
            for (unsigned bit = lane; bit < 16; bit += make.lanes) {
                const std::size_t slot = at * 16 + bit;
                if (make.share() < chance &&
                    bitOf(sound, slot) != bitOf(sound, late ? slot - make.lanes : slot + make.lanes)) {
                    stream[at] = static_cast<std::uint16_t>(stream[at] ^ (0x8000U >> bit));
                    first = first == 0 && visible(at) ? at : first;
                }
            }
        }
        finish(made, late ? DamageKind::DriftLate : DamageKind::DriftEarly, first);
        return first != 0;
    }

    Maker& make;
    std::vector<std::uint16_t>& stream;
    std::vector<bool>& inSequence;
    std::size_t place;
};

} // namespace

MadeStream makeDamaged(std::uint64_t seed) {
    for (std::uint64_t attempt = 0;; ++attempt) {
        Maker maker(seed * 1000 + attempt);
        maker.chooseForm();
        if (!maker.oneIn(3)) {
            maker.choosePattern();
        }
        if (maker.mode == StreamMode::Pti) {
            maker.chooseSequences();
        }
        const std::size_t count = maker.between(20000, 60000);
        const bool framed = maker.mode != StreamMode::Pti && maker.pattern.empty();
        Words words = framed ? maker.frames(count) : maker.fromTransmitter(count);
        MadeStream made;
        made.form = maker.form();
        Spoiler spoiler(maker, words);
        if (spoiler.spoil(made)) {
            made.what = "seed " + std::to_string(seed) + ": " + maker.text() + (framed ? ", frames, " : ", ") +
                        std::string(diagnosis::damageKindName(made.kind)) + " at " + std::to_string(made.place);
            return made;
        }
    }
}

} // namespace stream_test
