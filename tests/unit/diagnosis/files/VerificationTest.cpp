#include "diagnosis/files/Verification.h"
#include "tests/unit/diagnosis/files/DrawnFiles.h"

#include <gtest/gtest.h>

namespace diagnosis {
namespace {

std::uint16_t framed(std::size_t index) {
    return drawn::framedWord(drawn::ramp, index);
}

TEST(Verification, TrailersAreToldByMoreThanHalfOfThePackets) {
    const Verification packets = parseVerification(drawn::packets(framed));
    EXPECT_EQ(packets.framing, Verification::Framing::Packets);
    EXPECT_EQ(packets.tracePackets, 512U);
    EXPECT_EQ(packets.words.size(), 512U * 255U);
    EXPECT_EQ(packets.packetOf(255), 1U);
    EXPECT_EQ(packets.indexOf(256), 1U);
    const Verification plain =
        parseVerification(drawn::plainWords([](std::size_t) -> std::uint16_t { return 0x5555; }));
    EXPECT_EQ(plain.framing, Verification::Framing::Words);
    EXPECT_EQ(plain.words.size(), 512U * 256U);
    // f0 on four pins looks like a trailer of a trace packet: a word of each packet is lost to that.
    const Verification f0 = parseVerification(drawn::plainWords([](std::size_t) -> std::uint16_t { return 0x0F0F; }));
    EXPECT_EQ(f0.framing, Verification::Framing::Packets);
    EXPECT_EQ(f0.words.size(), 512U * 255U);
}

TEST(Verification, ARestOfAPacketIsLeftOut) {
    const Verification recording = parseVerification(drawn::packets(framed, 5) + "rest");
    EXPECT_EQ(recording.packets, 5U);
    EXPECT_EQ(parseVerification("").words.size(), 0U);
}

TEST(Verification, PacketsWithoutTraceAreCountedAndSkipped) {
    std::string bytes = drawn::packets(framed, 8);
    bytes[2 * 512 - 1] = 0x10; // the second packet's trailer
    bytes[3 * 512 - 1] = 0x20; // the third's: no known type
    const Verification recording = parseVerification(bytes);
    EXPECT_EQ(recording.tracePackets, 6U);
    EXPECT_EQ(recording.otherPackets, 1U);
    EXPECT_EQ(recording.unknownPackets, 1U);
    EXPECT_EQ(recording.packetOf(255), 3U);
}

TEST(PatternCheck, ASoundRecordingHoldsItsPatternAndItsCountsAddUp) {
    const Verification recording = parseVerification(drawn::packets(framed));
    const auto held = patternHeld(recording, 4);
    ASSERT_TRUE(held);
    EXPECT_EQ(held->name, "ramp");
    const PatternCheck check = checkPattern(recording, *held);
    EXPECT_TRUE(check.countsAddUp);
    EXPECT_EQ(check.zeroWords, 0U);
    EXPECT_EQ(check.dataWords + check.syncWords, recording.words.size());
}

TEST(PatternCheck, OneWrongWordIsOneFaultAtItsPlace) {
    const Verification recording =
        parseVerification(drawn::packets([](std::size_t i) { return i == 1010 ? std::uint16_t{0x1111} : framed(i); }));
    const PatternCheck check = checkPattern(recording, patternsFor(4).front());
    EXPECT_EQ(check.errors, 1U);
    ASSERT_EQ(check.firstErrors.size(), 1U);
    EXPECT_EQ(check.firstErrors.front(), 1010U);
    EXPECT_FALSE(patternHeld(recording, 4));
}

TEST(PatternCheck, ADamagedSequenceLeavesCountsThatDoNotAddUp) {
    // The fifth zero of one sequence is gone: four zeros, and a mark that follows the pattern.
    const std::size_t lost = 71 * 10 + 4;
    const Verification recording =
        parseVerification(drawn::packets([&](std::size_t i) { return framed(i < lost ? i : i + 1); }));
    EXPECT_FALSE(checkPattern(recording, patternsFor(4).front()).passed());
    EXPECT_FALSE(checkPattern(parseVerification(drawn::packets(framed, 3)), patternsFor(4).front()).countsAddUp)
        << "fewer than a thousand words";
}

TEST(PatternCheck, ATrailerCanCutARunOfZerosBetweenTwoPackets) {
    // Four zeros end a packet, one begins the next: a mark after them is a word of the stream if the run was cut.
    const auto word = [](std::size_t i) -> std::uint16_t {
        const std::size_t at = i % 510;
        return at >= 251 && at < 256 ? 0 : at == 256 ? 0x0FF0 : 0x5A5A;
    };
    const Pattern pattern = patternNamed(4, "a5").value();
    std::string bytes = drawn::packets(word, 4);
    const PatternCheck whole = checkPattern(parseVerification(bytes), pattern);
    EXPECT_TRUE(whole.passed());
    EXPECT_EQ(whole.syncWords, 14U);
    for (std::size_t packet = 0; packet < 4; ++packet) {
        bytes[packet * 512 + 510] = '\xFE'; // the low byte of its trailer
    }
    const PatternCheck cut = checkPattern(parseVerification(bytes), pattern);
    EXPECT_FALSE(cut.passed()) << "the receiver counts the zeros of each packet anew";
    EXPECT_EQ(cut.syncWords, 0U);
}

TEST(PatternCheck, NoPatternIsLaidOutForThreePins) {
    EXPECT_TRUE(patternsFor(3).empty());
    EXPECT_FALSE(patternHeld(parseVerification(drawn::packets(framed)), 3));
}

} // namespace
} // namespace diagnosis
