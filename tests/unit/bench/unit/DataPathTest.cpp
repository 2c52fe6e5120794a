// The closed form, which recordings use, against the sampled waveform, which bursts use.
#include "bench/signal/Random.h"
#include "bench/unit/Burst.h"
#include "bench/unit/DataPath.h"
#include "tests/unit/bench/unit/BurstSample.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

namespace bench {
namespace {

struct PathSetup {
    double halfPeriod = 14.0;
    Alignment alignment = Alignment::Center;
    double phase = 0.3;
    LineTiming clockTiming;
    LineTiming dataTiming;
    ProcSettings clock;
    ProcSettings data;
};

struct Counted {
    double edges = 0.0;
    double wrong = 0.0;    // relative to the slot of the closed form
    double expected = 0.0; // the same, from its rates
};

TransmissionPointer transmissionOf(const PathSetup& setup) {
    Transmission sent;
    sent.halfPeriod = setup.halfPeriod;
    sent.alignment = setup.alignment;
    sent.phase = setup.phase;
    sent.dataPins = 1;
    sent.words = WordStream(makePattern(PatternName::Lfsr, 4), 0);
    return std::make_shared<Transmission>(sent);
}

Line lineOn(LineSource source, const LineTiming& timing, std::uint64_t seed) {
    Line line;
    line.source = source;
    line.timing = timing;
    line.timing.seed = seed;
    return line;
}

PathQuality qualityOf(const PathSetup& setup) {
    const auto sent = transmissionOf(setup);
    const PathTiming clock = timePath(*sent, lineOn(LineSource::Clock, setup.clockTiming, 1), setup.clock);
    const PathTiming data = timePath(*sent, lineOn(LineSource::Data, setup.dataTiming, 2), setup.data);
    return judgePath(clock, data, setup.halfPeriod);
}

// Samples bursts as the recorder does: the data sample at each clock edge.
Counted count(const PathSetup& setup, int bursts) {
    const auto sent = transmissionOf(setup);
    const Line clockLine = lineOn(LineSource::Clock, setup.clockTiming, 1);
    const Line dataLine = lineOn(LineSource::Data, setup.dataTiming, 2);
    const PathTiming clock = timePath(*sent, clockLine, setup.clock);
    const PathQuality quality = qualityOf(setup);
    Counted counted;
    for (int burst = 0; burst < bursts; ++burst) {
        const std::int64_t start = 100000 + 54321LL * burst;
        const BurstWords clockWords = takeBurst({sent, clockLine, setup.clock}, start);
        const BurstWords dataWords = takeBurst({sent, dataLine, setup.data}, start);
        for (int sample = 1; sample < 8192; ++sample) {
            const bool level = sampleOf(clockWords, sample);
            if (level == sampleOf(clockWords, sample - 1)) {
                continue;
            }
            // Rises are the even edges.
            const double shift = level ? clock.rise : clock.fall;
            const double place = (static_cast<double>(start + sample) - 0.5 - clock.phase - shift) / setup.halfPeriod;
            const auto edge =
                2 * static_cast<std::int64_t>(std::round((place - (level ? 0.0 : 1.0)) / 2.0)) + (level ? 0 : 1);
            const std::int64_t slot = edge + quality.slot;
            const bool taken = sampleOf(dataWords, sample);
            const bool sentBit = slotLevel(*sent, dataLine, slot);
            counted.edges += 1.0;
            counted.wrong += taken != sentBit ? 1.0 : 0.0;
            counted.expected += slotLevel(*sent, dataLine, slot - 1) != sentBit ? quality.early : 0.0;
            counted.expected += slotLevel(*sent, dataLine, slot + 1) != sentBit ? quality.late : 0.0;
            counted.expected += quality.flip;
        }
    }
    return counted;
}

void expectAgreement(const PathSetup& setup, int bursts = 60) {
    const Counted counted = count(setup, bursts);
    const double deviation = std::sqrt(std::max(counted.expected, 1.0));
    EXPECT_NEAR(counted.wrong, counted.expected, 5.0 * deviation + 0.02 * counted.expected)
        << counted.edges << " edges, half period " << setup.halfPeriod;
    EXPECT_GT(counted.edges, 100.0);
}

TEST(DataPath, ACleanCentredSignalIsSampledInTheMiddleOfItsSlot) {
    const PathQuality quality = qualityOf({});
    EXPECT_EQ(quality.slot, 0);
    EXPECT_EQ(quality.early + quality.late + quality.flip, 0.0);
    EXPECT_NEAR(quality.offset, 7.0, 1.0);
    EXPECT_EQ(quality.eye, 14.0);
    expectAgreement({}, 5);
}

TEST(DataPath, AClockDelayedByAWholeBitSamplesTheNextSlot) {
    PathSetup setup;
    setup.clock.delay = 14;
    EXPECT_EQ(qualityOf(setup).slot, 1);
    expectAgreement(setup, 5);
    setup.clock.delay = 0;
    setup.data.delay = 28;
    EXPECT_EQ(qualityOf(setup).slot, -2);
    expectAgreement(setup, 5);
}

TEST(DataPath, DutyErrorAndStretchNarrowTheEye) {
    PathSetup setup;
    setup.dataTiming.lateFall = 2.0;
    EXPECT_DOUBLE_EQ(qualityOf(setup).eye, 12.0);
    setup.data.stretch = 2;
    EXPECT_DOUBLE_EQ(qualityOf(setup).eye, 11.0);
    setup.data.stretch = -4;
    EXPECT_DOUBLE_EQ(qualityOf(setup).eye, 14.0);
    expectAgreement(setup, 5);
}

TEST(DataPath, APulseNearTheDebounceLimitIsLostNowAndThen) {
    PathSetup setup;
    setup.halfPeriod = 6.0;
    setup.dataTiming.jitter = 0.3;
    EXPECT_LT(qualityOf(setup).lost, 1e-9);
    setup.data.debounce = 10; // removes pulses below five samples
    EXPECT_NEAR(qualityOf(setup).lost, chanceBelow(-1.0 / (std::sqrt(2.0) * 0.3)), 1e-6);
    setup.dataTiming.lateFall = 0.5; // zeros of five samples and a half
    EXPECT_NEAR(qualityOf(setup).lost, chanceBelow(-0.5 / (std::sqrt(2.0) * 0.3)), 1e-6);
}

TEST(DataPath, RatesNearTheEdgeOfTheEyeAgreeWithTheSampledWaveform) {
    // 12 samples in a half period of 14 is one edge of the eye, 1.5 to 2 samples before its end.
    for (const unsigned delay : {4U, 5U, 6U, 7U, 8U, 9U}) {
        for (const double jitter : {0.2, 0.5, 1.0}) {
            PathSetup setup;
            setup.clock.delay = delay;
            setup.clockTiming.jitter = jitter;
            setup.dataTiming.jitter = jitter;
            expectAgreement(setup, 40);
        }
    }
}

TEST(DataPath, RandomSettingsAgreeWithTheSampledWaveform) {
    RandomSequence random(2024);
    int faulty = 0;
    for (int run = 0; run < 60; ++run) {
        PathSetup setup;
        setup.halfPeriod = 6.0 + 30.0 * random.uniform();
        setup.alignment = random.uniform() < 0.5 ? Alignment::Center : Alignment::Edge;
        setup.phase = random.uniform();
        setup.clockTiming = {2.0 * random.uniform(), random.uniform() - 0.5, 0.4 * random.uniform()};
        setup.dataTiming = {2.0 * random.uniform(), random.uniform() - 0.5, 0.4 * random.uniform()};
        setup.clock.delay = static_cast<unsigned>(31.0 * random.uniform());
        setup.data.delay = static_cast<unsigned>(31.0 * random.uniform());
        setup.clock.stretch = static_cast<int>(4.0 * random.uniform()) - 2;
        setup.data.stretch = static_cast<int>(4.0 * random.uniform()) - 2;
        setup.clock.debounce = setup.data.debounce = 4;
        const PathQuality quality = qualityOf(setup);
        faulty += quality.early + quality.late > 1e-4 ? 1 : 0;
        expectAgreement(setup, 25);
    }
    EXPECT_GT(faulty, 5) << "the drawn settings have to show both sound and unsound paths";
}

TEST(DataPath, GlitchesThatDebounceKeepsAreSampledAsData) {
    PathSetup setup;
    setup.dataTiming.glitchEvery = 200.0;
    setup.dataTiming.glitchLength = 1.5;
    EXPECT_DOUBLE_EQ(qualityOf(setup).flip, 0.0075);
    expectAgreement(setup, 60);
    setup.data.debounce = 4;
    EXPECT_EQ(qualityOf(setup).flip, 0.0);
    // A glitch at an edge moves it, but not as far as the middle of the eye.
    expectAgreement(setup, 60);
}

TEST(DataPath, AnErrorFreePathHasNoRate) {
    PathSetup setup;
    setup.clockTiming.jitter = 0.2;
    setup.dataTiming.jitter = 0.2;
    const PathQuality quality = qualityOf(setup);
    EXPECT_LT(quality.early + quality.late, 1e-30);
}

TEST(DataPath, DebounceLosesPulsesThatAreTooShort) {
    PathSetup setup;
    setup.halfPeriod = 3.0;
    const auto sent = transmissionOf(setup);
    const Line line = lineOn(LineSource::Clock, {}, 1);
    ProcSettings settings;
    settings.debounce = 6;
    EXPECT_EQ(timePath(*sent, line, settings).lostOnes, 0.0);
    settings.debounce = 7;
    EXPECT_EQ(timePath(*sent, line, settings).lostOnes, 1.0);
    ProcPath clock;
    clock.line = line;
    clock.timing = timePath(*sent, line, settings);
    EXPECT_EQ(clockEdgesPerSlot(*sent, clock, 0), 0.0);
    LineTiming noisy;
    noisy.jitter = 0.5;
    EXPECT_NEAR(timePath(*sent, lineOn(LineSource::Clock, noisy, 1), settings).lostOnes, 0.76, 0.01);
}

TEST(Segments, TheWordBoundaryIsThatOfMostPins) {
    Transmission sent;
    sent.words = WordStream(makePattern(PatternName::Ramp, 4), 64);
    std::vector<Line> lines;
    std::vector<ProcSettings> settings(4);
    for (unsigned bit = 0; bit < 4; ++bit) {
        Line line;
        line.source = LineSource::Data;
        line.bit = bit;
        lines.push_back(line);
        settings[bit].delay = bit == 2 ? 28 : 14;
    }
    Line clock;
    clock.source = LineSource::Clock;
    const Segment segment = makeSegment(std::make_shared<Transmission>(sent), clock, ProcSettings{}, lines, settings);
    EXPECT_EQ(segment.data[0].quality.slot, 0);
    EXPECT_EQ(segment.data[2].quality.slot, -1);
    EXPECT_EQ(segment.data[3].quality.slot, 0);
}

} // namespace
} // namespace bench
