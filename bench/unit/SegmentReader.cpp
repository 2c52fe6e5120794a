#include "bench/unit/SegmentReader.h"

#include <algorithm>
#include <array>
#include <limits>
#include <vector>

#include "bench/signal/Random.h"

namespace bench {

namespace {

// Below these a fault is not met in any recording that fits the unit; following the clock slot by slot costs
// more than putting single faults right.
constexpr double negligible = 1e-15;
constexpr double negligibleClock = 1e-11;

std::int64_t floorDivide(std::int64_t value, std::int64_t by) {
    return value >= 0 ? value / by : -((by - 1 - value) / by);
}

// Bits of the stream's words, top bit first, with zeros ahead of the start.
void fillSigned(const WordStream& stream, std::int64_t first, std::span<std::uint16_t> out) {
    const auto ahead =
        std::min<std::int64_t>(std::max<std::int64_t>(-first, 0), static_cast<std::int64_t>(out.size()));
    std::fill_n(out.begin(), ahead, std::uint16_t{0});
    if (ahead < static_cast<std::int64_t>(out.size())) {
        stream.fill(static_cast<std::uint64_t>(first + ahead), out.subspan(static_cast<std::size_t>(ahead)));
    }
}

class WordReader final : public SegmentReader {
public:
    WordReader(const Segment& segment, std::uint64_t skip)
        : stream(segment.transmission->words), pins(static_cast<unsigned>(segment.data.size())),
          position(segment.firstWord + skip) {
        const auto signedPins = static_cast<std::int64_t>(pins);
        for (unsigned index = 0; index < pins; ++index) {
            const ProcPath& path = segment.data[index];
            Pin& pin = lines.emplace_back();
            pin.constant = path.line.source != LineSource::Data;
            pin.level = path.line.level;
            pin.shift = path.quality.slot * signedPins + static_cast<std::int64_t>(path.line.bit) - index;
            addFaults(pin, FaultKind::Neighbour, path.quality.early, -signedPins, segment.seed);
            addFaults(pin, FaultKind::Neighbour, path.quality.late, signedPins, segment.seed);
            addFaults(pin, FaultKind::Flip, path.quality.flip, 0, segment.seed);
            addFaults(pin, FaultKind::LostOne, path.timing.lostOnes, 0, segment.seed);
            addFaults(pin, FaultKind::LostZero, path.timing.lostZeros, 0, segment.seed);
        }
        plain = std::all_of(lines.begin(), lines.end(), [](const Pin& pin) {
            return !pin.constant && pin.shift == 0 && pin.faults.empty();
        });
    }

    void fill(std::span<std::uint16_t> out) override {
        if (plain) {
            stream.fill(position, out);
        } else {
            std::fill(out.begin(), out.end(), std::uint16_t{0});
            for (unsigned index = 0; index < pins; ++index) {
                fillLine(index, out);
            }
        }
        position += out.size();
    }

private:
    // Slots in which a line takes the wrong thing: a neighbouring slot's bit, or (move 0) the opposite of its
    // own.
    struct Fault {
        double chance;
        std::int64_t move; // bits
        RandomSequence random;
        std::uint64_t nextSlot;
    };

    struct Pin {
        bool constant = false;
        bool level = false;
        std::int64_t shift = 0; // bits from where a line's bit goes to where it comes from
        std::vector<Fault> faults;
    };

    void addFaults(Pin& pin, double chance, std::int64_t move, std::uint64_t seed) {
        if (chance < negligible) {
            return;
        }
        const std::uint64_t place =
            lines.size() * 4 + static_cast<std::uint64_t>(move == 0 ? 0 : (move < 0 ? 1 : 2));
        Fault fault{chance, move, RandomSequence(hashOf(seed, place)), position * wordBits / pins};
        fault.nextSlot += fault.random.failuresBeforeSuccess(chance);
        pin.faults.push_back(fault);
    }

    // The places of a line's bits in a word whose first bit is the stream's `bit`.
    std::uint16_t maskOf(unsigned line, std::uint64_t bit) const {
        unsigned mask = 0;
        for (unsigned place = 0; place < wordBits; ++place) {
            if ((bit + place) % pins == line) {
                mask |= 0x8000U >> place;
            }
        }
        return static_cast<std::uint16_t>(mask);
    }

    void fillLine(unsigned line, std::span<std::uint16_t> out) {
        Pin& pin = lines[line];
        // The places repeat after as many words as there are lines.
        std::array<std::uint16_t, 7> masks{};
        for (unsigned word = 0; word < pins; ++word) {
            masks[word] = maskOf(line, (position + word) * wordBits);
        }
        std::size_t phase = 0;
        const auto nextPhase = [&] { phase = phase + 1 == pins ? 0 : phase + 1; };
        if (pin.constant) {
            for (std::uint16_t& word : out) {
                word = static_cast<std::uint16_t>(word | (pin.level ? masks[phase] : 0));
                nextPhase();
            }
        } else {
            const std::int64_t wordShift = floorDivide(pin.shift, wordBits);
            const auto bitShift = static_cast<unsigned>(pin.shift - wordShift * wordBits);
            source.resize(out.size() + 1);
            fillSigned(stream, static_cast<std::int64_t>(position) + wordShift, source);
            for (std::size_t index = 0; index < out.size(); ++index) {
                const unsigned both = (static_cast<unsigned>(source[index]) << wordBits) | source[index + 1];
                const unsigned moved = (both >> (wordBits - bitShift)) & 0xFFFFU;
                out[index] = static_cast<std::uint16_t>(out[index] | (moved & masks[phase]));
                nextPhase();
            }
        }
        for (Fault& fault : pin.faults) {
            putFaults(line, pin, fault, out);
        }
    }

    bool sourceBit(std::int64_t bit) const {
        if (bit < 0) {
            return false;
        }
        const auto place = static_cast<std::uint64_t>(bit);
        return ((stream.at(place / wordBits) >> (wordBits - 1 - place % wordBits)) & 1) != 0;
    }

    void putFaults(unsigned line, const Pin& pin, Fault& fault, std::span<std::uint16_t> out) {
        const std::uint64_t end = (position + out.size()) * wordBits;
        for (;;) {
            const std::uint64_t bit = fault.nextSlot * pins + line;
            if (bit >= end) {
                return;
            }
            if (bit >= position * wordBits) {
                std::uint16_t& word = out[bit / wordBits - position];
                const auto mask = static_cast<std::uint16_t>(0x8000U >> (bit % wordBits));
                bool value = (word & mask) == 0;
                if (fault.move != 0) {
                    value = pin.constant ? pin.level
                                         : sourceBit(static_cast<std::int64_t>(bit) + pin.shift + fault.move);
                }
                word = static_cast<std::uint16_t>(value ? word | mask : word & ~mask);
            }
            fault.nextSlot += 1 + fault.random.failuresBeforeSuccess(fault.chance);
        }
    }

    const WordStream& stream;
    unsigned pins;
    std::uint64_t position; // in the stream, words
    std::vector<Pin> lines;
    std::vector<std::uint16_t> source;
    bool plain = false;
};

// Goes through the slots one by one. The clock line decides in which of them a group is taken.
class SlotReader final : public SegmentReader {
public:
    SlotReader(const Segment& part, std::uint64_t skip)
        : segment(part), sent(*part.transmission), random(part.seed + skip),
          slot(static_cast<std::int64_t>((part.firstWord + skip) * wordBits / sent.dataPins)) {}

    void fill(std::span<std::uint16_t> out) override {
        for (std::uint16_t& word : out) {
            while (bits < wordBits) {
                step();
            }
            bits -= wordBits;
            word = static_cast<std::uint16_t>((collected >> bits) & 0xFFFFU);
        }
    }

private:
    // A line that has been still for this long is taken as if it moved, so that a reader always comes to an
    // end.
    static constexpr unsigned longestSilence = 1U << 20;

    bool chance(double probability) { return probability > negligible && random.uniform() < probability; }

    void step() {
        // The unit looks for sequences all the time: where one starts, a word starts.
        const auto bit = static_cast<std::uint64_t>(slot) * sent.dataPins;
        if (sent.words.framed() && bit % wordBits == 0 &&
            sent.words.positionInSequence(bit / wordBits) == 0U) {
            bits -= bits % wordBits;
            collected = bits == 0 ? 0 : collected;
        }
        const PathTiming& clock = segment.clock.timing;
        bool edge = false;
        switch (segment.clock.line.source) {
        case LineSource::Clock:
            edge = true;
            break;
        case LineSource::Data:
            edge = slotLevel(sent, segment.clock.line, slot) != slotLevel(sent, segment.clock.line, slot - 1);
            break;
        case LineSource::Floating:
            edge = chance(sent.halfPeriod / floatingEdgeDistance);
            break;
        case LineSource::Constant:
            break;
        }
        if (edge && chance(slot % 2 == 0 ? clock.lostOnes : clock.lostZeros)) {
            edge = false;
            ++slot; // the pulse's other edge goes with it
        }
        silence = edge ? 0 : silence + 1;
        if (edge || silence > longestSilence) {
            silence = 0;
            takeGroup();
        }
        if (clock.glitchEvery > 0.0 && chance(sent.halfPeriod / clock.glitchEvery)) {
            takeGroup();
            takeGroup();
        }
        ++slot;
    }

    void takeGroup() {
        for (const ProcPath& path : segment.data) {
            collected = (collected << 1) | (takeBit(path) ? 1U : 0U);
            ++bits;
        }
    }

    bool takeBit(const ProcPath& path) {
        std::int64_t from = slot + path.quality.slot;
        if (chance(path.quality.early)) {
            --from;
        } else if (chance(path.quality.late)) {
            ++from;
        }
        bool level = slotLevel(sent, path.line, from);
        if (path.line.source == LineSource::Floating) {
            level = (hashOf(segment.seed, static_cast<std::uint64_t>(from)) & 1) != 0;
        }
        const double lost = level ? path.timing.lostOnes : path.timing.lostZeros;
        if (lost > negligible && slotLevel(sent, path.line, from - 1) != level &&
            slotLevel(sent, path.line, from + 1) != level && chance(lost)) {
            level = !level;
        }
        return chance(path.quality.flip) ? !level : level;
    }

    const Segment& segment;
    const Transmission& sent;
    RandomSequence random;
    std::int64_t slot;
    std::uint64_t collected = 0;
    unsigned bits = 0;
    unsigned silence = 0;
};

bool needsSlots(const Segment& segment) {
    const PathTiming& clock = segment.clock.timing;
    const auto loses = [](const PathTiming& timing) {
        return timing.lostOnes > negligible || timing.lostZeros > negligible;
    };
    return segment.clock.line.source != LineSource::Clock || loses(clock) || clock.glitchEvery > 0.0 ||
           segment.data.size() != segment.transmission->dataPins ||
           std::any_of(segment.data.begin(), segment.data.end(), [&](const ProcPath& path) {
               return path.line.source == LineSource::Clock || path.line.source == LineSource::Floating ||
                      loses(path.timing);
           });
}

} // namespace

std::unique_ptr<SegmentReader> readSegment(const Segment& segment, std::uint64_t skip) {
    if (needsSlots(segment)) {
        return std::make_unique<SlotReader>(segment, skip);
    }
    return std::make_unique<WordReader>(segment, skip);
}

} // namespace bench
