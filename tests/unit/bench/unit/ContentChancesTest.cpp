// The closed form of lines whose edges depend on the content, against the sampled waveform: for each line and for each
// kind of edge, the number of wrong samples must be the sum of the chances, within five deviations.
#include "bench/signal/Random.h"
#include "bench/unit/Burst.h"
#include "bench/unit/ContentChances.h"
#include "bench/unit/SegmentReader.h"
#include "tests/unit/bench/unit/BurstSample.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <map>
#include <string>
#include <vector>

namespace bench {
namespace {

constexpr unsigned lines = 4;

struct Wires {
    double halfPeriod = 7.0;
    double jitter = 0.2;
    double clockJitter = 0.1;
    double memory = 0.0;
    double coupling = 0.0;
    unsigned clockDelay = 0;
    unsigned dataDelay = 0;
    unsigned debounce = 0;
    double lateFall = 0.0;
    std::uint64_t seed = 5;
};

struct Bus {
    TransmissionPointer sent;
    Line clock;
    ProcSettings clockSettings;
    std::vector<Line> data;
    std::vector<ProcSettings> dataSettings;
    Segment segment;
};

Bus busOf(const Wires& wires) {
    Transmission sent;
    sent.halfPeriod = wires.halfPeriod;
    sent.phase = uniformOf(wires.seed, 1);
    sent.dataPins = lines;
    sent.words = WordStream(makeGeneratedTrace(wires.seed), 64);
    Bus bus;
    bus.sent = std::make_shared<Transmission>(sent);
    bus.clock.source = LineSource::Clock;
    bus.clock.timing.jitter = wires.clockJitter;
    bus.clock.timing.seed = hashOf(wires.seed, 2);
    bus.clockSettings.delay = wires.clockDelay;
    for (unsigned bit = 0; bit < lines; ++bit) {
        Line line;
        line.source = LineSource::Data;
        line.bit = bit;
        line.timing.jitter = wires.jitter;
        line.timing.lateFall = wires.lateFall;
        line.timing.memory = wires.memory;
        line.timing.coupling = wires.coupling;
        line.timing.seed = hashOf(wires.seed, 3 + bit);
        for (const unsigned beside : {bit - 1, bit + 1}) {
            if (beside < lines) {
                line.neighbours.push_back(beside);
            }
        }
        bus.data.push_back(line);
        ProcSettings settings;
        settings.debounce = wires.debounce;
        settings.delay = wires.dataDelay;
        bus.dataSettings.push_back(settings);
    }
    bus.segment = makeSegment(bus.sent, bus.clock, bus.clockSettings, bus.data, bus.dataSettings);
    bus.segment.seed = wires.seed;
    return bus;
}

struct Count {
    double samples = 0.0;
    double wrong = 0.0;
    double expected = 0.0;
    double variance = 0.0;

    void add(bool isWrong, double chance) {
        samples += 1.0;
        wrong += isWrong ? 1.0 : 0.0;
        expected += chance;
        variance += chance * (1.0 - chance);
    }
};

// By line, and by the kind of edge at the start of the slot.
struct Counts {
    std::array<Count, lines> line;
    std::map<int, Count> kind;
};

// The chance of a wrong bit in a slot. The faults of a slot are independent, and each by itself makes it wrong.
double wrongChance(ContentChances& chances, std::int64_t slot) {
    return 1.0 - (1.0 - chances.early(slot)) * (1.0 - chances.late(slot)) * (1.0 - chances.lost(slot));
}

// 0 without an edge; otherwise 100 for a fall or 200 for a rise, ten times the length of the run that ends before the
// slot, up to 3, and by how many the neighbours' edges in the opposite direction outnumber those in the same one, plus 5.
int kindOf(SlotLevels& levels, const Line& line, std::int64_t slot) {
    const bool before = levels(line.bit, slot - 1);
    if (levels(line.bit, slot) == before) {
        return 0;
    }
    int run = 1;
    while (run < 3 && levels(line.bit, slot - 1 - run) == before) {
        ++run;
    }
    int against = 0;
    for (const unsigned beside : line.neighbours) {
        if (levels(beside, slot) != levels(beside, slot - 1)) {
            against += levels(beside, slot) == before ? 1 : -1;
        }
    }
    return (before ? 100 : 200) + 10 * run + 5 + against;
}

// The number of a clock edge that is seen in a sample. Even edges rise.
std::int64_t edgeSeenAt(const Bus& bus, std::int64_t sample, bool level) {
    const PathTiming& clock = bus.segment.clock.timing;
    const double place =
        (static_cast<double>(sample) - 0.5 - clock.phase - (level ? clock.rise : clock.fall)) / bus.sent->halfPeriod;
    return 2 * static_cast<std::int64_t>(std::round((place - (level ? 0.0 : 1.0)) / 2.0)) + (level ? 0 : 1);
}

// Samples bursts as the recorder does: the data sample at each clock edge.
Counts countInBursts(const Bus& bus, int bursts) {
    Counts counts;
    std::vector<ContentChances> chances;
    std::vector<std::int64_t> slots;
    SlotLevels levels(bus.sent->words, lines);
    for (unsigned bit = 0; bit < lines; ++bit) {
        chances.emplace_back(*bus.sent, bus.segment.data[bit]);
        slots.push_back(judgePath(bus.segment.clock.timing, bus.segment.data[bit].timing, bus.sent->halfPeriod).slot);
    }
    for (int burst = 0; burst < bursts; ++burst) {
        const std::int64_t start = 100000 + 54321LL * burst;
        const BurstWords clock = takeBurst({bus.sent, bus.clock, bus.clockSettings}, start);
        for (unsigned bit = 0; bit < lines; ++bit) {
            const Line& line = bus.data[bit];
            const BurstWords words = takeBurst({bus.sent, line, bus.dataSettings[bit]}, start);
            for (int sample = 1; sample < 8192; ++sample) {
                const bool level = sampleOf(clock, sample);
                if (level == sampleOf(clock, sample - 1)) {
                    continue;
                }
                const std::int64_t slot = edgeSeenAt(bus, start + sample, level) + slots[bit];
                const bool wrong = sampleOf(words, sample) != levels(bit, slot);
                const double chance = wrongChance(chances[bit], slot);
                counts.line[bit].add(wrong, chance);
                counts.kind[kindOf(levels, line, slot)].add(wrong, chance);
            }
        }
    }
    return counts;
}

// Five deviations of a sum of independent events.
void expectAgreement(const Count& count, const std::string& of) {
    EXPECT_NEAR(count.wrong, count.expected, 5.0 * std::sqrt(std::max(count.variance, 1.0)))
        << of << ", " << count.samples << " samples";
}

void expectAgreement(const Counts& counts) {
    for (unsigned bit = 0; bit < lines; ++bit) {
        expectAgreement(counts.line[bit], "line " + std::to_string(bit));
    }
    for (const auto& [kind, count] : counts.kind) {
        expectAgreement(count, "kind " + std::to_string(kind));
    }
}

double wrongIn(const Counts& counts) {
    double sum = 0.0;
    for (const Count& count : counts.line) {
        sum += count.wrong;
    }
    return sum;
}

// The clock edge wanders through the slot, from late samples to early ones.
void expectAgreementAtEveryDelay(Wires wires) {
    for (wires.clockDelay = 0; wires.clockDelay < 7; ++wires.clockDelay) {
        SCOPED_TRACE("delay " + std::to_string(wires.clockDelay));
        expectAgreement(countInBursts(busOf(wires), 20));
    }
}

TEST(ContentChances, WithMemoryAgreeWithTheSampledWaveform) {
    Wires wires;
    wires.memory = 4.0;
    expectAgreementAtEveryDelay(wires);
}

TEST(ContentChances, WithCouplingAgreeWithTheSampledWaveform) {
    Wires wires;
    wires.coupling = 0.6;
    expectAgreementAtEveryDelay(wires);
}

TEST(ContentChances, OfRandomLinesAgreeWithTheSampledWaveform) {
    RandomSequence random(77);
    double wrong = 0.0;
    for (int run = 0; run < 24; ++run) {
        Wires wires;
        wires.halfPeriod = 6.0 + 10.0 * random.uniform();
        wires.jitter = 0.05 + 0.4 * random.uniform();
        wires.clockJitter = 0.3 * random.uniform();
        wires.memory = 5.0 * random.uniform();
        wires.coupling = 0.6 * random.uniform();
        wires.clockDelay = static_cast<unsigned>(16.0 * random.uniform());
        wires.dataDelay = static_cast<unsigned>(8.0 * random.uniform());
        wires.lateFall = 0.5 * random.uniform();
        wires.debounce = 3;
        wires.seed = random.next();
        SCOPED_TRACE("run " + std::to_string(run));
        const Counts counts = countInBursts(busOf(wires), 10);
        expectAgreement(counts);
        wrong += wrongIn(counts);
    }
    EXPECT_GT(wrong, 1000.0) << "the drawn lines have to show errors";
}

TEST(ContentChances, PulsesThatTheContentMakesTooShortAreLostToDebounce) {
    Wires wires;
    wires.halfPeriod = 6.0;
    wires.memory = 5.0;
    wires.coupling = 0.5;
    wires.debounce = 8; // 4 samples
    wires.clockDelay = 3;
    const Bus bus = busOf(wires);
    EXPECT_GT(bus.segment.data[1].quality.lost, 0.99);
    EXPECT_LT(bus.segment.data[1].timing.lostOnes, 1e-9) << "no pulse of a line that toggles";
    expectAgreement(countInBursts(bus, 20));
}

TEST(ContentChances, AQuietClockFindsTheEarlyEdgesOfOneContentOnly) {
    Wires wires;
    wires.jitter = 0.0;
    wires.clockJitter = 0.0;
    wires.coupling = 0.5;
    wires.halfPeriod = 7.3;
    wires.clockDelay = 2; // 5.65 to 6.65 of 7.3 samples; the earliest edge of an inner line ends a slot after 6.3
    const Bus bus = busOf(wires);
    const Counts counts = countInBursts(bus, 10);
    expectAgreement(counts);
    EXPECT_GT(bus.segment.data[1].quality.late, 0.2);
    EXPECT_LT(counts.line[0].wrong, counts.line[1].wrong) << "it has one neighbour";
}

// --- the recorder ---

Counts countRecorded(const Bus& bus, std::size_t words) {
    const auto reader = readSegment(bus.segment, 0);
    std::vector<std::uint16_t> out(words);
    reader->fill(out);
    Counts counts;
    for (unsigned bit = 0; bit < lines; ++bit) {
        ContentChances chances(*bus.sent, bus.segment.data[bit]);
        Count& count = counts.line[bit];
        for (std::size_t group = 0; group < words * 4; ++group) {
            const auto slot = static_cast<std::int64_t>(group);
            const bool level = ((out[group / 4] >> (15 - (group % 4 * 4 + bit))) & 1) != 0;
            count.add(level != slotLevel(*bus.sent, bus.data[bit], slot), wrongChance(chances, slot));
        }
    }
    return counts;
}

TEST(ContentChances, DecideWhatIsRecorded) {
    RandomSequence random(13);
    double wrong = 0.0;
    for (int run = 0; run < 20; ++run) {
        Wires wires;
        wires.halfPeriod = 6.0 + 4.0 * random.uniform();
        wires.memory = 5.0 * random.uniform();
        wires.coupling = 0.6 * random.uniform();
        wires.clockDelay = static_cast<unsigned>(8.0 * random.uniform());
        wires.debounce = 6;
        wires.seed = random.next();
        SCOPED_TRACE("run " + std::to_string(run));
        const Bus bus = busOf(wires);
        for (const ProcPath& path : bus.segment.data) {
            ASSERT_EQ(path.quality.slot, 0);
        }
        const Counts counts = countRecorded(bus, 20000);
        expectAgreement(counts);
        wrong += wrongIn(counts);
    }
    EXPECT_GT(wrong, 1000.0);
}

// Only part of the procs are enabled, so that the recorder goes from slot to slot.
TEST(ContentChances, DecideWhatIsRecordedSlotBySlot) {
    Wires wires;
    wires.memory = 5.0;
    wires.coupling = 0.5;
    wires.halfPeriod = 6.0;
    wires.clockDelay = 3;
    Bus bus = busOf(wires);
    bus.segment.data.resize(2);
    // A sequence starts a word: of the 284 slots from one to the next, the last four do not fill a word of two lines.
    constexpr std::size_t periods = 500;
    constexpr std::size_t wordsAPeriod = 35;
    constexpr std::size_t slotsAPeriod = 284;
    std::vector<std::uint16_t> out(periods * wordsAPeriod);
    readSegment(bus.segment, 0)->fill(out);
    Counts counts;
    for (unsigned bit = 0; bit < 2; ++bit) {
        ContentChances chances(*bus.sent, bus.segment.data[bit]);
        Count& count = counts.line[bit];
        for (std::size_t group = 0; group < out.size() * 8; ++group) {
            const std::size_t slot = group / (wordsAPeriod * 8) * slotsAPeriod + group % (wordsAPeriod * 8);
            const bool level = ((out[group / 8] >> (15 - (group % 8 * 2 + bit))) & 1) != 0;
            const auto at = static_cast<std::int64_t>(slot);
            count.add(level != slotLevel(*bus.sent, bus.data[bit], at), wrongChance(chances, at));
        }
        EXPECT_GT(count.wrong, 1000.0);
    }
    expectAgreement(counts);
}

} // namespace
} // namespace bench
