#include "host/soak/GeneratorCheck.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace host {
namespace {

using Words = std::vector<std::uint16_t>;

constexpr std::uint16_t traceTrailer = 0x08FF;

Words rampWords(std::size_t count, std::size_t from = 0) {
    constexpr std::uint16_t ramp[] = {0x1234, 0x5678, 0x9ABC, 0xDEF0};
    Words words;
    for (std::size_t i = 0; i < count; ++i) {
        words.push_back(ramp[(from + i) % 4]);
    }
    return words;
}

std::vector<std::uint64_t> samplesOf(const Words& words) {
    std::vector<std::uint64_t> samples;
    for (std::size_t i = 0; i + 3 < words.size(); i += 4) {
        samples.push_back(words[i] | std::uint64_t{words[i + 1]} << 16 | std::uint64_t{words[i + 2]} << 32 |
                          std::uint64_t{words[i + 3]} << 48);
    }
    return samples;
}

/// Packets of 255 payload words and a trailer.
Words packed(const Words& payload, std::uint16_t trailer = traceTrailer) {
    Words words;
    for (std::size_t i = 0; i + 254 < payload.size(); i += 255) {
        words.insert(words.end(), payload.begin() + static_cast<std::ptrdiff_t>(i),
                     payload.begin() + static_cast<std::ptrdiff_t>(i) + 255);
        words.push_back(trailer);
    }
    return words;
}

GeneratorCheck checked(const Words& words, Framing framing = Framing::Packets, unsigned pins = 4) {
    GeneratorCheck check(pins, framing);
    check.take(samplesOf(words));
    return check;
}

TEST(GeneratorCheck, AnUnbrokenRampHasNoErrorWhereverItBegins) {
    for (std::size_t from = 0; from < 4; ++from) {
        const GeneratorCheck check = checked(packed(rampWords(510, from)));
        EXPECT_EQ(check.wordsChecked(), 510U);
        EXPECT_EQ(check.errorCount(), 0U);
        EXPECT_EQ(check.packetCount(), 2U);
    }
}

TEST(GeneratorCheck, OnePinAndTwoPinsRepeatOneWord) {
    EXPECT_EQ(checked(packed(Words(255, 0xAAAA)), Framing::Packets, 1).errorCount(), 0U);
    EXPECT_EQ(checked(packed(Words(255, 0x6C6C)), Framing::Packets, 2).errorCount(), 0U);
    EXPECT_EQ(checked(packed(Words(255, 0x5555)), Framing::Packets, 1).errorCount(), 255U) << "half a period off";
}

TEST(GeneratorCheck, OneWrongWordIsOneErrorWithItsPlace) {
    Words payload = rampWords(510);
    payload[300] ^= 0x0010;
    const GeneratorCheck check = checked(packed(payload));
    EXPECT_EQ(check.errorCount(), 1U);
    ASSERT_EQ(check.firstErrors().size(), 1U);
    const WordError& error = check.firstErrors().front();
    EXPECT_EQ(error.packet, 1U);
    EXPECT_EQ(error.word, 45U);
    EXPECT_EQ(error.byte(), 512U + 90U);
    EXPECT_EQ(error.expected, rampWords(301).back());
    EXPECT_EQ(error.got, rampWords(301).back() ^ 0x0010);
}

TEST(GeneratorCheck, ALostWordIsOneError) {
    Words payload = rampWords(511);
    payload.erase(payload.begin() + 100);
    EXPECT_EQ(checked(packed(payload)).errorCount(), 1U);
}

TEST(GeneratorCheck, ASynchronisationSequenceIsNoErrorAndNotChecked) {
    Words payload = rampWords(100);
    for (const std::uint16_t word : Words{0, 0, 0, 0, 0, 0x0FF0, 0x7777}) {
        payload.push_back(word);
    }
    const Words rest = rampWords(255 - payload.size(), 100);
    payload.insert(payload.end(), rest.begin(), rest.end());
    const GeneratorCheck check = checked(packed(payload));
    EXPECT_EQ(check.errorCount(), 0U);
    EXPECT_EQ(check.wordsChecked(), 255U - 7U);
}

TEST(GeneratorCheck, ZerosInTheRampsPlaceAreErrors) {
    Words payload = rampWords(255);
    payload[10] = payload[11] = payload[12] = 0;
    const GeneratorCheck check = checked(packed(payload));
    EXPECT_EQ(check.errorCount(), 3U);
    EXPECT_EQ(check.firstErrors().front().word, 10U);
    EXPECT_EQ(check.wordsChecked(), 255U);
}

TEST(GeneratorCheck, ZerosAtTheVeryEndArePadding) {
    Words payload = rampWords(255);
    payload[253] = payload[254] = 0;
    EXPECT_EQ(checked(packed(payload)).errorCount(), 0U);
}

TEST(GeneratorCheck, AFullBufferHasNoPadding) {
    Words payload = rampWords(255);
    std::fill(payload.end() - 7, payload.end(), std::uint16_t{0});
    GeneratorCheck check = checked(packed(payload));
    check.endOfFullBuffer();
    EXPECT_EQ(check.errorCount(), 7U);
    EXPECT_EQ(check.wordsChecked(), 255U);
    EXPECT_EQ(check.firstErrors().front().word, 248U);
    EXPECT_EQ(check.firstErrors().front().expected, rampWords(249).back());

    Words nothing(255, 0);
    GeneratorCheck empty = checked(packed(nothing));
    EXPECT_EQ(empty.wordsChecked(), 0U);
    empty.endOfFullBuffer();
    EXPECT_EQ(empty.errorCount(), 255U) << "no word of the ramp at all";
}

TEST(GeneratorCheck, ASynchronisationSequenceMayBeCutByTheEndOfTheBuffer) {
    for (std::ptrdiff_t zeros = 0; zeros <= 6; ++zeros) {
        Words payload = rampWords(255);
        std::fill(payload.end() - zeros, payload.end(), std::uint16_t{0});
        GeneratorCheck check = checked(packed(payload));
        check.endOfFullBuffer();
        EXPECT_EQ(check.errorCount(), 0U) << zeros;
    }
}

TEST(GeneratorCheck, PacketsOfAnotherKindAreLeftOutAndUnknownOnesAreErrors) {
    Words words = packed(rampWords(255));
    const Words other = packed(Words(255, 0x4242), 0x10FF);
    words.insert(words.end(), other.begin(), other.end());
    EXPECT_EQ(checked(words).errorCount(), 0U);
    const Words unknown = packed(Words(255, 0x4242), 0x40FF);
    words.insert(words.end(), unknown.begin(), unknown.end());
    const GeneratorCheck check = checked(words);
    EXPECT_EQ(check.errorCount(), 1U);
    EXPECT_EQ(check.firstErrors().front().packet, 2U);
    EXPECT_EQ(check.firstErrors().front().word, 255U);
    EXPECT_FALSE(check.firstErrors().front().expected);
}

TEST(GeneratorCheck, ARecordingOfNoiseIsAllErrorsAndTenAreKept) {
    const GeneratorCheck check = checked(packed(Words(255, 0x4242)));
    EXPECT_EQ(check.errorCount(), 255U);
    EXPECT_EQ(check.firstErrors().size(), GeneratorCheck::errorsKept);
}

TEST(GeneratorCheck, BareWordsHaveNoTrailers) {
    EXPECT_EQ(checked(rampWords(512), Framing::Words).errorCount(), 0U);
    EXPECT_EQ(checked(rampWords(512), Framing::Words).wordsChecked(), 512U);
    EXPECT_EQ(checked(packed(rampWords(255)), Framing::Words).errorCount(), 1U) << "the trailer is no word of the ramp";
}

} // namespace
} // namespace host
