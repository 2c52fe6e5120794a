#include "bench/wiring/Waveform.h"

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <string_view>

namespace bench {
namespace {

// A waveform drawn with one character per sample.
Waveform drawn(std::string_view levels) {
    Waveform wave;
    wave.first = levels.front() == '1';
    for (std::size_t index = 1; index < levels.size(); ++index) {
        if (levels[index] != levels[index - 1]) {
            wave.toggles.push_back(static_cast<double>(index));
        }
    }
    return wave;
}

std::string sampled(const Waveform& wave, std::size_t length, double first = 0.0) {
    std::array<std::uint16_t, 4> words{};
    sampleInto(wave, first, words);
    std::string text;
    for (std::size_t index = 0; index < length; ++index) {
        text += ((words[index / 16] >> (index % 16)) & 1) != 0 ? '1' : '0';
    }
    return text;
}

std::string withoutPulses(std::string_view levels, double length) {
    Waveform wave = drawn(levels);
    removePulsesBelow(wave, length);
    return sampled(wave, levels.size());
}

std::string moved(std::string_view levels, double rise, double fall) {
    Waveform wave = drawn(levels);
    moveEdges(wave, rise, fall);
    return sampled(wave, levels.size());
}

TEST(Waveform, SamplesAreAsDrawnWithTheEarliestInBitZero) {
    EXPECT_EQ(sampled(drawn("0001111000110000111100001111"), 28), "0001111000110000111100001111");
    std::array<std::uint16_t, 1> word{};
    sampleInto(drawn("1000000000000001"), 0.0, word);
    EXPECT_EQ(word[0], 0x8001);
}

TEST(Waveform, SamplingMayBeginAnywhere) {
    EXPECT_EQ(sampled(drawn("00011110"), 4, 2.0), "0111");
}

TEST(Waveform, AnEdgeBetweenTwoSamplesAppearsInTheLater) {
    Waveform wave;
    wave.toggles = {2.5};
    EXPECT_EQ(sampled(wave, 5), "00011");
    wave.toggles = {2.0};
    EXPECT_EQ(sampled(wave, 5), "00111");
}

TEST(Waveform, OnlyPulsesBelowTheLengthAreRemoved) {
    EXPECT_EQ(withoutPulses("000010000000", 2.0), "000000000000");
    EXPECT_EQ(withoutPulses("000011000000", 2.0), "000011000000");
    EXPECT_EQ(withoutPulses("111101111111", 2.0), "111111111111");
    EXPECT_EQ(withoutPulses("000010111111", 2.0), "000000111111");
    EXPECT_EQ(withoutPulses("000010000000", 0.0), "000010000000");
    EXPECT_EQ(withoutPulses("000101010000", 2.0), "000000000000");
}

TEST(Waveform, MovingFallsLengthensOnes) {
    EXPECT_EQ(moved("0001110001110000", 0.0, 1.0), "0001111001111000");
    EXPECT_EQ(moved("0001110001110000", 2.0, 0.0), "0000010000010000");
    EXPECT_EQ(moved("0001110001110000", 2.0, 2.0), "0000011100011100");
}

TEST(Waveform, RunsThatMeetAreRemoved) {
    EXPECT_EQ(moved("0001110111000000", 0.0, 1.0), "0001111111100000");
    EXPECT_EQ(moved("0001000111000000", 1.0, 0.0), "0000000011000000");
}

TEST(Waveform, DisorderlyTogglesAreSortedAndPairsCancel) {
    Waveform wave;
    wave.toggles = {5.0, 3.0, 8.0, 8.0};
    putInOrder(wave);
    EXPECT_EQ(wave.toggles, (std::vector<double>{3.0, 5.0}));
}

TEST(Waveform, InvertingTwiceHasNoEffect) {
    Waveform wave = drawn("0001111000");
    invertBetween(wave, 5.0, 6.0);
    putInOrder(wave);
    EXPECT_EQ(sampled(wave, 10), "0001101000");
    invertBetween(wave, 5.0, 6.0);
    putInOrder(wave);
    EXPECT_EQ(sampled(wave, 10), "0001111000");
}

} // namespace
} // namespace bench
