#include "bench/unit/Conditioning.h"

#include <gtest/gtest.h>

#include <array>
#include <string>

namespace bench {
namespace {

std::string conditioned(const std::vector<double>& toggles, const ProcSettings& settings, std::size_t length) {
    Waveform wave;
    wave.toggles = toggles;
    condition(wave, settings);
    std::array<std::uint16_t, 4> words{};
    sampleInto(wave, 0.0, words);
    std::string text;
    for (std::size_t index = 0; index < length; ++index) {
        text += ((words[index / 16] >> (index % 16)) & 1) != 0 ? '1' : '0';
    }
    return text;
}

ProcSettings with(unsigned delay, int stretch, unsigned debounce) {
    ProcSettings settings;
    settings.delay = delay;
    settings.stretch = stretch;
    settings.debounce = debounce;
    return settings;
}

TEST(ProcRegisters, AreDecoded) {
    const ProcSettings settings = decodeProc(0x851F, 0x7D44);
    EXPECT_TRUE(settings.enable);
    EXPECT_EQ(settings.rcvrpin, 5U);
    EXPECT_EQ(settings.delay, 31U);
    EXPECT_EQ(settings.filter, 7U);
    EXPECT_EQ(settings.stretch, 5);
    EXPECT_EQ(settings.plateau, 2U);
    EXPECT_EQ(settings.debounce, 4U);
    EXPECT_EQ(decodeProc(0, 0x0300).stretch, -3);
    EXPECT_EQ(decodeProc(0, 0x0800).stretch, 0);
    EXPECT_FALSE(decodeProc(0x7FFF, 0).enable);
}

TEST(Conditioning, ALargerDelayMovesAPinToLaterSamples) {
    EXPECT_EQ(conditioned({3, 6, 9, 12}, with(0, 0, 0), 16), "0001110001110000");
    EXPECT_EQ(conditioned({3, 6, 9, 12}, with(2, 0, 0), 16), "0000011100011100");
}

TEST(Conditioning, StretchLengthensEachRunOfOnesByHalfASamplePerUnit) {
    EXPECT_EQ(conditioned({3, 6, 10, 12}, with(0, 2, 0), 16), "0001111000111000");
    EXPECT_EQ(conditioned({3, 6, 10, 12}, with(0, -2, 0), 16), "0000110000010000");
    // A single unit is visible where the edge is in the later half between two samples.
    EXPECT_EQ(conditioned({3.0, 5.6}, with(0, 1, 0), 12), "000111100000");
    EXPECT_EQ(conditioned({3.0, 5.4}, with(0, 1, 0), 12), "000111000000");
    EXPECT_DOUBLE_EQ(shiftOf(with(3, 5, 0)).fall, 5.5);
    EXPECT_DOUBLE_EQ(shiftOf(with(3, 5, 0)).rise, 3.0);
    EXPECT_DOUBLE_EQ(shiftOf(with(3, -5, 0)).rise, 5.5);
}

TEST(Conditioning, DebounceRemovesPulsesBelowHalfItsSetting) {
    EXPECT_EQ(conditioned({3, 5}, with(0, 0, 4), 12), "000110000000");
    EXPECT_EQ(conditioned({3, 5}, with(0, 0, 5), 12), "000000000000");
    EXPECT_EQ(conditioned({3, 4}, with(0, 0, 3), 12), "000000000000");
}

TEST(Conditioning, DebouncePrecedesStretch) {
    EXPECT_EQ(conditioned({3, 5}, with(0, 5, 5), 12), "000000000000");
}

} // namespace
} // namespace bench
