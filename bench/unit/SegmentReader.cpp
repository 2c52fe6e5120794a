#include "bench/unit/SegmentReader.h"

#include "bench/signal/Random.h"
#include "bench/unit/ContentChances.h"
#include "bench/unit/SlotReader.h"

#include <algorithm>
#include <array>
#include <limits>
#include <vector>

namespace bench {

namespace {

std::int64_t floorDivide(std::int64_t value, std::int64_t by) {
    return value >= 0 ? value / by : -((by - 1 - value) / by);
}

// Bits of the stream's words, top bit first, with zeros before the start.
void fillSigned(const WordStream& stream, std::int64_t first, std::span<std::uint16_t> out) {
    const auto zeros = std::min<std::int64_t>(std::max<std::int64_t>(-first, 0), static_cast<std::int64_t>(out.size()));
    std::fill_n(out.begin(), zeros, std::uint16_t{0});
    if (zeros < static_cast<std::int64_t>(out.size())) {
        stream.fill(static_cast<std::uint64_t>(first + zeros), out.subspan(static_cast<std::size_t>(zeros)));
    }
}

// Moves whole words while the clock is undisturbed. After a lost clock pulse, or a glitch that looks like one,
// the groups are early or late by two until the next synchronisation sequence.
class WordReader final : public SegmentReader {
public:
    WordReader(const Segment& segment, std::uint64_t skip)
        : stream(segment.transmission->words), pins(static_cast<unsigned>(segment.data.size())),
          bit((segment.firstWord + skip) * wordBits) {
        const PathTiming& clock = segment.clock.timing;
        const std::uint64_t place = hashOf(segment.seed, skip);
        // A clock that has lost all edges records nothing.
        lostPulse = makeEvent(std::min((clock.lostOnes + clock.lostZeros) / 2.0, 0.9), hashOf(place, 1));
        const double halfPeriod = segment.transmission->halfPeriod;
        addedPulse = makeEvent(clock.glitchEvery > 0.0 ? halfPeriod / clock.glitchEvery : 0.0, hashOf(place, 2));
        const auto group = static_cast<std::int64_t>(pins);
        for (unsigned index = 0; index < pins; ++index) {
            const ProcPath& path = segment.data[index];
            Pin& pin = lines.emplace_back();
            pin.constant = path.line.source != LineSource::Data;
            pin.level = path.line.level;
            pin.shift = path.quality.slot * group + static_cast<std::int64_t>(path.line.bit) - index;
            const std::uint64_t seed = hashOf(place, 16 + index);
            addFault(pin, FaultKind::Neighbour, path.quality.early, -group, seed);
            addFault(pin, FaultKind::Neighbour, path.quality.late, group, seed);
            addFault(pin, FaultKind::Flip, path.quality.flip, 0, seed);
            const double shorter = path.timing.shortest;
            const bool shifts = path.edges != nullptr;
            addFault(pin, FaultKind::LostOne, shifts ? path.timing.lostOne(shorter) : path.timing.lostOnes, 0, seed);
            addFault(pin, FaultKind::LostZero, shifts ? path.timing.lostZero(shorter) : path.timing.lostZeros, 0, seed);
            if (shifts) {
                pin.content = std::make_unique<ContentChances>(*segment.transmission, path);
            }
        }
        faultless = std::all_of(lines.begin(), lines.end(), [](const Pin& pin) { return pin.faults.empty(); });
        straight = std::all_of(lines.begin(), lines.end(),
                               [&](const Pin& pin) { return !pin.constant && pin.shift == lines.front().shift; });
    }

    void fill(std::span<std::uint16_t> out) override {
        while (!out.empty()) {
            std::size_t words = std::min<std::uint64_t>(out.size(), undisturbedBits() / wordBits);
            if (words != 0) {
                fillRun(out.first(words), words * wordBits);
                bit += words * wordBits;
            } else {
                words = 1;
                out.front() = wordBitByBit();
            }
            out = out.subspan(words);
        }
    }

private:
    // An event that happens in a slot with a given probability.
    struct Event {
        double chance = 0.0;
        Trials trials{1.0};
        RandomSequence random{0};
        std::uint64_t slot = never;
    };

    enum class FaultKind { Neighbour, Flip, LostOne, LostZero };

    // A line samples a wrong level: the bit `move` further on, the opposite of its own, or that of its
    // neighbours when a pulse of a single slot was lost.
    struct Fault {
        Event event;
        FaultKind kind = FaultKind::Flip;
        std::int64_t move = 0;
    };

    struct Pin {
        bool constant = false;
        bool level = false;
        std::int64_t shift = 0; // distance in bits from a line's recorded bit to the sent one
        std::vector<Fault> faults;
        // The faults above are then those of the worst content, and the content decides which of them happen.
        std::unique_ptr<ContentChances> content;
    };

    static constexpr std::uint64_t never = std::numeric_limits<std::uint64_t>::max() / 16;

    Event makeEvent(double chance, std::uint64_t seed) const {
        Event event{chance, Trials(chance), RandomSequence(seed), bit / pins};
        if (chance < negligibleChance) {
            event.slot = never;
        } else {
            event.slot += event.trials.failuresBeforeSuccess(event.random);
        }
        return event;
    }

    static void advance(Event& event) { event.slot += 1 + event.trials.failuresBeforeSuccess(event.random); }

    void addFault(Pin& pin, FaultKind kind, double chance, std::int64_t move, std::uint64_t seed) {
        const Event event = makeEvent(chance, hashOf(seed, pin.faults.size()));
        if (event.slot != never) {
            pin.faults.push_back({event, kind, move});
        }
    }

    bool slipped() const { return bit % wordBits != 0; }

    std::uint64_t undisturbedBits() const {
        const std::uint64_t slot = std::min(lostPulse.slot, addedPulse.slot);
        std::uint64_t end = slot == never ? never : slot * pins;
        if (slipped() && stream.framed()) {
            end = std::min(end, stream.nextSequence(bit / wordBits + 1) * wordBits);
        }
        return repeats != 0 || end < bit ? 0 : end - bit;
    }

    std::uint16_t wordBitByBit() {
        unsigned word = 0;
        for (unsigned count = 0; count < wordBits;) {
            if (bit % pins == 0) {
                passClockEvents();
            }
            // A sequence starts a word, whatever was collected.
            if (count != 0 && bit % wordBits == 0 && stream.positionInSequence(bit / wordBits) == 0U) {
                count = 0;
            }
            std::uint16_t first = 0;
            fillRun(std::span(&first, 1), 1);
            word = (word << 1) | (first >> (wordBits - 1));
            ++bit;
            ++count;
        }
        return static_cast<std::uint16_t>(word & 0xFFFFU);
    }

    void passClockEvents() {
        if (repeats != 0) {
            --repeats;
            bit -= pins;
            return;
        }
        while (lostPulse.slot <= bit / pins) {
            if (lostPulse.slot == bit / pins) {
                bit += 2 * static_cast<std::uint64_t>(pins);
            }
            advance(lostPulse);
        }
        while (addedPulse.slot < bit / pins) {
            repeats += 2;
            advance(addedPulse);
        }
    }

    // Positions of a line's bits in a word that begins at this bit of the stream.
    std::uint16_t maskOf(unsigned line, std::uint64_t begin) const {
        unsigned mask = 0;
        for (unsigned place = 0; place < wordBits; ++place) {
            if ((begin + place) % pins == line) {
                mask |= 0x8000U >> place;
            }
        }
        return static_cast<std::uint16_t>(mask);
    }

    // Words from the present bit on; only the first `bits` bits have faults.
    void fillRun(std::span<std::uint16_t> out, std::uint64_t bits) {
        if (straight) {
            fillLines(out);
        } else {
            std::fill(out.begin(), out.end(), std::uint16_t{0});
        }
        for (unsigned line = 0; line < pins; ++line) {
            if (!straight) {
                fillLine(line, out);
            }
            for (Fault& fault : lines[line].faults) {
                putFault(line, fault, out, bits);
            }
        }
    }

    // Source words for as many recorded ones, from a distance in bits; returns the bits to skip in the first.
    unsigned fetch(std::int64_t shift, std::size_t words) {
        const std::int64_t from = static_cast<std::int64_t>(bit) + shift;
        firstSource = floorDivide(from, wordBits);
        source.resize(words + 1);
        fillSigned(stream, firstSource, source);
        return static_cast<unsigned>(from - firstSource * wordBits);
    }

    std::uint16_t movedWord(std::size_t index, unsigned bitShift) const {
        const unsigned both = (static_cast<unsigned>(source[index]) << wordBits) | source[index + 1];
        return static_cast<std::uint16_t>((both >> (wordBits - bitShift)) & 0xFFFFU);
    }

    // All lines at once, where they are equally far from what was sent.
    void fillLines(std::span<std::uint16_t> out) {
        const std::int64_t from = static_cast<std::int64_t>(bit) + lines.front().shift;
        if (faultless && from % wordBits == 0) {
            fillSigned(stream, floorDivide(from, wordBits), out);
            return;
        }
        const unsigned bitShift = fetch(lines.front().shift, out.size());
        for (std::size_t index = 0; index < out.size(); ++index) {
            out[index] = movedWord(index, bitShift);
        }
    }

    void fillLine(unsigned line, std::span<std::uint16_t> out) {
        const Pin& pin = lines[line];
        // The positions repeat after as many words as there are lines.
        std::array<std::uint16_t, 7> masks{};
        for (unsigned word = 0; word < pins; ++word) {
            masks[word] = maskOf(line, bit + word * wordBits);
        }
        std::size_t phase = 0;
        const auto nextPhase = [&] { phase = phase + 1 == pins ? 0 : phase + 1; };
        if (pin.constant) {
            for (std::uint16_t& word : out) {
                word = static_cast<std::uint16_t>(word | (pin.level ? masks[phase] : 0));
                nextPhase();
            }
            return;
        }
        const unsigned bitShift = fetch(pin.shift, out.size());
        for (std::size_t index = 0; index < out.size(); ++index) {
            out[index] = static_cast<std::uint16_t>(out[index] | (movedWord(index, bitShift) & masks[phase]));
            nextPhase();
        }
    }

    bool sourceBit(std::int64_t at) const {
        if (at < 0) {
            return false;
        }
        const auto place = static_cast<std::uint64_t>(at);
        const std::uint64_t word = place / wordBits;
        const std::uint64_t fetched = word - static_cast<std::uint64_t>(firstSource);
        const std::uint16_t bits = fetched < source.size() ? source[fetched] : stream.at(word);
        return ((bits >> (wordBits - 1 - place % wordBits)) & 1) != 0;
    }

    bool faulty(const Pin& pin, const Fault& fault, std::int64_t at, bool value) const {
        const auto other = [&](std::int64_t move) {
            return pin.constant ? pin.level : sourceBit(at + pin.shift + move);
        };
        switch (fault.kind) {
        case FaultKind::Neighbour:
            return other(fault.move);
        case FaultKind::Flip:
            return !value;
        case FaultKind::LostOne:
        case FaultKind::LostZero:
            break;
        }
        const bool lost = fault.kind == FaultKind::LostOne;
        const bool alone = other(-static_cast<std::int64_t>(pins)) != lost && other(pins) != lost;
        return value == lost && alone ? !lost : value;
    }

    // Whether a fault that the worst content would have at this bit happens with the content that is sent.
    bool happens(Pin& pin, Fault& fault, std::int64_t at) const {
        const std::int64_t slot = floorDivide(at + pin.shift, pins);
        double chance = fault.event.chance;
        switch (fault.kind) {
        case FaultKind::Neighbour:
            chance = fault.move < 0 ? pin.content->early(slot) : pin.content->late(slot);
            break;
        case FaultKind::LostOne:
        case FaultKind::LostZero:
            chance = pin.content->lost(slot);
            break;
        case FaultKind::Flip:
            break;
        }
        return fault.event.random.uniform() * fault.event.chance < chance;
    }

    void putFault(unsigned line, Fault& fault, std::span<std::uint16_t> out, std::uint64_t bits) {
        for (; fault.event.slot * pins + line < bit + bits; advance(fault.event)) {
            const std::uint64_t at = fault.event.slot * pins + line;
            if (at < bit || (lines[line].content && !happens(lines[line], fault, static_cast<std::int64_t>(at)))) {
                continue;
            }
            std::uint16_t& word = out[(at - bit) / wordBits];
            const auto mask = static_cast<std::uint16_t>(0x8000U >> ((at - bit) % wordBits));
            const bool value = faulty(lines[line], fault, static_cast<std::int64_t>(at), (word & mask) != 0);
            word = static_cast<std::uint16_t>(value ? word | mask : word & ~mask);
        }
    }

    const WordStream& stream;
    unsigned pins;
    std::uint64_t bit; // of the stream, the next one to record
    Event lostPulse;   // the clock
    Event addedPulse;
    unsigned repeats = 0; // groups left to record a second time
    std::vector<Pin> lines;
    std::vector<std::uint16_t> source; // words of the stream, the last that were fetched
    std::int64_t firstSource = 0;      // their place in it
    bool faultless = false;
    bool straight = false; // all lines show bits at one distance
};

bool needsSlots(const Segment& segment) {
    return segment.clock.line.source != LineSource::Clock || segment.data.size() != segment.transmission->dataPins ||
           std::any_of(segment.data.begin(), segment.data.end(), [](const ProcPath& path) {
               return path.line.source == LineSource::Clock || path.line.source == LineSource::Floating;
           });
}

} // namespace

std::unique_ptr<SegmentReader> readSegment(const Segment& segment, std::uint64_t skip) {
    if (needsSlots(segment)) {
        return readSlots(segment, skip);
    }
    return std::make_unique<WordReader>(segment, skip);
}

} // namespace bench
