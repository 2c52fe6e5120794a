#include "bench/unit/SlotReader.h"

#include "bench/signal/Random.h"
#include "bench/unit/ContentChances.h"

#include <vector>

namespace bench {

namespace {

// Steps through the slots one by one. The clock line decides in which of them a group is sampled.
class SlotReader final : public SegmentReader {
public:
    SlotReader(const Segment& part, std::uint64_t skip)
        : segment(part), sent(*part.transmission), random(part.seed + skip),
          slot(static_cast<std::int64_t>((part.firstWord + skip) * wordBits / sent.dataPins)) {
        for (const ProcPath& path : part.data) {
            contents.push_back(path.edges ? std::make_unique<ContentChances>(sent, path) : nullptr);
        }
    }

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
    // A line without an edge for this long counts as if it had one, so that a reader always ends.
    static constexpr unsigned longestSilence = 1U << 20;

    bool chance(double probability) { return probability > negligibleChance && random.uniform() < probability; }

    void step() {
        // The unit always searches for sequences: one starts a word.
        const auto bit = static_cast<std::uint64_t>(slot) * sent.dataPins;
        if (sent.words.framed() && bit % wordBits == 0 && sent.words.positionInSequence(bit / wordBits) == 0U) {
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
            ++slot; // skips the pulse's other edge
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
        for (std::size_t index = 0; index < segment.data.size(); ++index) {
            collected = (collected << 1) | (takeBit(segment.data[index], contents[index].get()) ? 1U : 0U);
            ++bits;
        }
    }

    bool takeBit(const ProcPath& path, ContentChances* content) {
        std::int64_t from = slot + path.quality.slot;
        if (chance(content != nullptr ? content->early(from) : path.quality.early)) {
            --from;
        } else if (chance(content != nullptr ? content->late(from) : path.quality.late)) {
            ++from;
        }
        bool level = slotLevel(sent, path.line, from);
        if (path.line.source == LineSource::Floating) {
            level = (hashOf(segment.seed, static_cast<std::uint64_t>(from)) & 1) != 0;
        }
        double lost = level ? path.timing.lostOnes : path.timing.lostZeros;
        if (content != nullptr) {
            lost = content->lost(from);
        }
        if (lost > negligibleChance && slotLevel(sent, path.line, from - 1) != level &&
            slotLevel(sent, path.line, from + 1) != level && chance(lost)) {
            level = !level;
        }
        return chance(path.quality.flip) ? !level : level;
    }

    const Segment& segment;
    const Transmission& sent;
    RandomSequence random;
    std::vector<std::unique_ptr<ContentChances>> contents; // of the lines whose edges the content shifts
    std::int64_t slot;
    std::uint64_t collected = 0;
    unsigned bits = 0;
    unsigned silence = 0;
};

} // namespace

std::unique_ptr<SegmentReader> readSlots(const Segment& segment, std::uint64_t skip) {
    return std::make_unique<SlotReader>(segment, skip);
}

} // namespace bench
