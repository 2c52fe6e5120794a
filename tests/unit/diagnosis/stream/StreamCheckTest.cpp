#include "diagnosis/stream/StreamCheck.h"
#include "tests/unit/diagnosis/stream/DamagedStreams.h"

#include <gmock/gmock.h>

#include <algorithm>

// One damage at a time, with a pattern of four data pins.

namespace {

using diagnosis::DamageKind;
using diagnosis::StreamCheck;
using diagnosis::StreamForm;
using diagnosis::StreamMode;
using diagnosis::StreamVerdict;

using Words = std::vector<std::uint16_t>;

constexpr std::uint16_t further = 0x2D1E;

/// Sequences at a distance of 71 words, and the ramp between them.
Words rampWords(std::size_t count) {
    constexpr std::uint16_t ramp[] = {0x0123, 0x4567, 0x89AB, 0xCDEF};
    Words words;
    std::size_t content = 0;
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t inside = i % 71;
        words.push_back(inside < 5    ? std::uint16_t{0}
                        : inside == 5 ? std::uint16_t{0x0FF0}
                        : inside == 6 ? further
                                      : ramp[content++ % 4]);
    }
    return words;
}

std::vector<std::uint8_t> packed(const Words& words, StreamMode mode = StreamMode::Pti) {
    std::vector<std::uint8_t> bytes;
    const auto put = [&](std::uint16_t word) {
        bytes.push_back(static_cast<std::uint8_t>(word & 0xFF));
        bytes.push_back(static_cast<std::uint8_t>(word >> 8));
    };
    const std::size_t perPacket = mode == StreamMode::Pti ? 255 : 256;
    for (std::size_t i = 0; i < words.size() / perPacket * perPacket; ++i) {
        put(words[i]);
        if (mode == StreamMode::Pti && i % 255 == 254) {
            put(0x08FF);
        }
    }
    return bytes;
}

StreamForm rampForm() {
    StreamForm form;
    form.mode = StreamMode::Pti;
    form.lanes = 4;
    form.pattern = "ramp";
    return form;
}

constexpr std::size_t length = 255 * 60;
constexpr std::size_t place = 255 * 20 + 100; ///< a word of the pattern
constexpr std::uint64_t placeByte = 512 * 20 + 200;

StreamCheck checked(const Words& words) {
    return stream_test::checkOf(packed(words), rampForm());
}

TEST(StreamCheck, ASoundPatternIsComparedWordByWord) {
    const StreamCheck check = checked(rampWords(length));
    EXPECT_EQ(check.verdict, StreamVerdict::Sound);
    EXPECT_EQ(check.tracePackets, 60U);
    EXPECT_EQ(check.words, length);
    EXPECT_GE(check.wordsCompared, length - 5);
    EXPECT_EQ(check.wordsBetween, 71U);
    EXPECT_GE(check.sequences, length / 71);
    EXPECT_FALSE(check.firstDamage);
    EXPECT_TRUE(check.lanes.empty());
}

TEST(StreamCheck, AWrongBitIsNoiseOfItsLane) {
    Words words = rampWords(length);
    words[place] ^= 0x0040; // bit 1 of its group: the third lane
    const StreamCheck check = checked(words);
    ASSERT_TRUE(check.firstDamage);
    EXPECT_EQ(check.verdict, StreamVerdict::Damaged);
    EXPECT_EQ(check.firstDamage->kind, DamageKind::Noise);
    EXPECT_EQ(check.firstDamage->place.byte, placeByte);
    EXPECT_EQ(check.firstDamage->place.sample, placeByte / 8);
    EXPECT_NEAR(check.firstDamage->place.percent, 100.0 * static_cast<double>(placeByte) / (60 * 512), 1e-9);
    EXPECT_EQ(check.firstDamage->lane, 1U);
    EXPECT_EQ(check.damageCount, 1U);
    EXPECT_EQ(check.wrongWords, 1U);
}

TEST(StreamCheck, AMemoryCellThatShowsTheNeighboursBitIsNoDrift) {
    // Each wrong bit has the preceding slot's value, as those of a late lane have.
    for (const bool isCell : {true, false}) {
        Words words = rampWords(120000);
        std::size_t wrong = 0;
        for (std::size_t i = 20000; i < words.size(); i += isCell ? 8 * 71 * 12 : 8 * 71 * (11 + wrong % 3)) {
            std::size_t at = i;
            while (words[at] != 0x4567 || words[at - 1] != 0x0123) {
                ++at;
            }
            words[at] ^= 0x4000;
            ++wrong;
        }
        ASSERT_GE(wrong, 12U);
        const StreamCheck check = checked(words);
        ASSERT_TRUE(check.firstDamage);
        EXPECT_EQ(check.firstDamage->kind, isCell ? DamageKind::Noise : DamageKind::DriftLate) << isCell;
    }
}

TEST(StreamCheck, APlaceHasATimeWhenTheClockIsKnown) {
    Words words = rampWords(length);
    words[place] ^= 0x0040;
    StreamForm form = rampForm();
    form.clockHertz = 50e6; // 25 million words a second
    const StreamCheck check = stream_test::checkOf(packed(words), form);
    ASSERT_TRUE(check.firstDamage && check.firstDamage->place.seconds);
    EXPECT_NEAR(*check.firstDamage->place.seconds, static_cast<double>(place) / 25e6, 1e-7);
}

TEST(StreamCheck, LostAndInsertedWordsAreCountedAndFollowed) {
    Words lost = rampWords(length);
    lost.erase(lost.begin() + place, lost.begin() + place + 3);
    const StreamCheck without = checked(lost);
    ASSERT_TRUE(without.firstDamage);
    EXPECT_EQ(without.firstDamage->kind, DamageKind::LostWords);
    EXPECT_EQ(without.firstDamage->place.byte, placeByte);
    EXPECT_EQ(without.firstDamage->amount, 3U);
    EXPECT_EQ(without.lostWords, 3U);
    EXPECT_EQ(without.damageCount, 1U) << "what follows is sound";

    Words inserted = rampWords(length);
    inserted.insert(inserted.begin() + place, {0x7777, 0x1111});
    const StreamCheck with = checked(inserted);
    ASSERT_TRUE(with.firstDamage);
    EXPECT_EQ(with.firstDamage->kind, DamageKind::InsertedWords);
    EXPECT_EQ(with.firstDamage->place.byte, placeByte);
    EXPECT_EQ(with.firstDamage->amount, 2U);
    EXPECT_EQ(with.damageCount, 1U);
}

TEST(StreamCheck, AGapAtABoundaryOfBlocksIsMarked) {
    Words words = rampWords(length);
    const std::size_t block = 32 * 255; // 16 KiB
    words.erase(words.begin() + block, words.begin() + block + 5);
    const StreamCheck check = checked(words);
    ASSERT_TRUE(check.firstDamage);
    EXPECT_EQ(check.firstDamage->kind, DamageKind::LostWords);
    EXPECT_EQ(check.firstDamage->place.byte, 16384U);
    EXPECT_TRUE(check.firstDamage->atBlock);
}

TEST(StreamCheck, ALaneThatStaysAtALevelIsStuck) {
    for (const bool high : {false, true}) {
        Words words = rampWords(length);
        for (std::size_t i = place; i < words.size(); ++i) {
            words[i] = static_cast<std::uint16_t>(high ? words[i] | 0x2222 : words[i] & 0xDDDD);
        }
        const StreamCheck check = checked(words);
        ASSERT_TRUE(check.firstDamage);
        EXPECT_EQ(check.firstDamage->kind, high ? DamageKind::StuckAt1 : DamageKind::StuckAt0);
        EXPECT_EQ(check.firstDamage->lane, 2U);
        EXPECT_EQ(check.damageCount, 1U);
    }
}

TEST(StreamCheck, ALaneThatIsStuckFromTheBeginningHidesNoSequence) {
    Words words = rampWords(length);
    for (std::uint16_t& word : words) {
        word &= 0x7777;
    }
    StreamForm form = rampForm();
    form.pattern.clear();
    const StreamCheck check = stream_test::checkOf(packed(words), form);
    ASSERT_TRUE(check.firstDamage);
    EXPECT_EQ(check.firstDamage->kind, DamageKind::StuckAt0);
    EXPECT_EQ(check.firstDamage->lane, 0U);
}

TEST(StreamCheck, SwappedLanesAreNamedBoth) {
    Words words = rampWords(length);
    for (std::size_t i = place; i < words.size(); ++i) {
        const unsigned word = words[i];
        words[i] = static_cast<std::uint16_t>((word & 0x6666) | (word & 0x8888) >> 3 | (word & 0x1111) << 3);
    }
    const StreamCheck check = checked(words);
    ASSERT_TRUE(check.firstDamage);
    EXPECT_EQ(check.firstDamage->kind, DamageKind::Swapped);
    ASSERT_EQ(check.lanes.size(), 2U);
    EXPECT_EQ(check.lanes[0].lane, 0U);
    EXPECT_EQ(check.lanes[0].carries, 3U);
    EXPECT_EQ(check.lanes[1].lane, 3U);
    EXPECT_EQ(check.lanes[1].carries, 0U);
}

TEST(StreamCheck, LanesThatAreSwappedBackAreFoundWithoutAPatternToo) {
    Words words = rampWords(length);
    const std::size_t back = place + 71 * 40;
    ASSERT_LT(back + 71 * 40, words.size());
    for (std::size_t i = place; i < back; ++i) {
        const unsigned word = words[i];
        words[i] = static_cast<std::uint16_t>((word & 0x6666) | (word & 0x8888) >> 3 | (word & 0x1111) << 3);
    }
    StreamForm form = rampForm();
    form.pattern.clear();
    const StreamCheck check = stream_test::checkOf(packed(words), form);
    // In the further words lanes 0 and 1 carry the same bits, so that lane 1 could have moved, too.
    std::vector<std::pair<unsigned, unsigned>> swaps;
    for (const auto& damage : check.damages) {
        EXPECT_EQ(damage.kind, DamageKind::Swapped);
        swaps.emplace_back(damage.lane.value(), damage.carries.value());
    }
    EXPECT_THAT(swaps, testing::UnorderedElementsAre(std::pair(0U, 3U), std::pair(3U, 0U), std::pair(0U, 0U),
                                                     std::pair(3U, 3U)));
}

TEST(StreamCheck, ACutPacketIsFoundByTheTrailersThatFollow) {
    std::vector<std::uint8_t> bytes = packed(rampWords(length));
    bytes.erase(bytes.begin() + placeByte, bytes.begin() + placeByte + 33);
    const StreamCheck check = stream_test::checkOf(bytes, rampForm());
    ASSERT_TRUE(check.firstDamage);
    EXPECT_EQ(check.firstDamage->kind, DamageKind::CutPacket);
    EXPECT_EQ(check.firstDamage->place.byte / 512, placeByte / 512);
    EXPECT_EQ(check.firstDamage->amount, 33U);
    EXPECT_EQ(check.cutPackets, 1U);
}

TEST(StreamCheck, ABadTrailerAloneIsNoCutPacket) {
    std::vector<std::uint8_t> bytes = packed(rampWords(length));
    bytes[512 * 20 + 511] = 0x80;
    const StreamCheck check = stream_test::checkOf(bytes, rampForm());
    ASSERT_TRUE(check.firstDamage);
    EXPECT_EQ(check.firstDamage->kind, DamageKind::BadTrailer);
    EXPECT_EQ(check.firstDamage->place.byte, 512U * 20 + 510);
    EXPECT_EQ(check.damageCount, 1U);
}

TEST(StreamCheck, FewerSamplesThanAnnouncedAreDamage) {
    StreamForm form = rampForm();
    form.announcedSamples = 60 * 64;
    const std::vector<std::uint8_t> bytes = packed(rampWords(length));
    EXPECT_EQ(stream_test::checkOf(bytes, form).verdict, StreamVerdict::Sound);
    form.announcedSamples = 60 * 64 + 2048;
    const StreamCheck check = stream_test::checkOf(bytes, form);
    ASSERT_TRUE(check.firstDamage);
    EXPECT_EQ(check.firstDamage->kind, DamageKind::MissingSamples);
    EXPECT_EQ(check.firstDamage->amount, 16384U);
}

TEST(StreamCheck, AnEndWithinAPacketIsDamage) {
    std::vector<std::uint8_t> bytes = packed(rampWords(length));
    bytes.resize(bytes.size() - 100);
    const StreamCheck check = stream_test::checkOf(bytes, rampForm());
    ASSERT_TRUE(check.firstDamage);
    EXPECT_EQ(check.firstDamage->kind, DamageKind::MissingSamples);
}

TEST(StreamCheck, WithoutThePatternOnlySequencesAreEvidence) {
    StreamForm form = rampForm();
    form.pattern.clear();
    Words words = rampWords(length);
    StreamCheck check = stream_test::checkOf(packed(words), form);
    EXPECT_EQ(check.verdict, StreamVerdict::Sound);
    EXPECT_NEAR(check.evidence(), 6.0 / 71, 0.01);
    words[place] ^= 0x0040;
    EXPECT_EQ(stream_test::checkOf(packed(words), form).verdict, StreamVerdict::Sound) << "content may be any";
    words.erase(words.begin() + place, words.begin() + place + 3);
    check = stream_test::checkOf(packed(words), form);
    ASSERT_TRUE(check.firstDamage);
    EXPECT_EQ(check.firstDamage->kind, DamageKind::LostWords);
    EXPECT_EQ(check.firstDamage->amount, 3U);
}

TEST(StreamCheck, WithoutThePatternEachWordOfASequenceIsCompared) {
    StreamForm form;
    form.mode = StreamMode::Pti;
    form.lanes = 4;
    for (std::size_t inside = 0; inside < 6; ++inside) {
        Words words = rampWords(length);
        const std::size_t wrong = 71 * 100 + inside;
        words[wrong] ^= 0x0001;
        const StreamCheck check = stream_test::checkOf(packed(words), form);
        EXPECT_EQ(check.wrongWords, 1U) << inside;
        EXPECT_EQ(check.sequencesDamaged, 1U) << inside;
        EXPECT_EQ(check.sequences + check.sequencesDamaged, length / 71 + 1) << inside;
        EXPECT_EQ(check.wordsJudged, 6 * (length / 71 + 1)) << inside;
        ASSERT_TRUE(check.firstDamage) << inside;
        EXPECT_EQ(check.firstDamage->kind, DamageKind::Noise) << inside;
        EXPECT_EQ(check.firstDamage->place.byte, wrong / 255 * 512 + wrong % 255 * 2) << inside;
    }
}

TEST(StreamCheck, WhatCannotBeJudgedIsUnknown) {
    std::vector<std::uint8_t> noise(65536);
    std::uint32_t state = 1;
    for (std::uint8_t& byte : noise) {
        state = state * 1664525 + 1013904223;
        byte = static_cast<std::uint8_t>(state >> 24);
    }
    StreamForm form;
    StreamCheck check = stream_test::checkOf(noise, form);
    EXPECT_EQ(check.verdict, StreamVerdict::Unknown);
    EXPECT_THAT(check.reason, testing::HasSubstr("--mode"));
    form.mode = StreamMode::Tpiu;
    check = stream_test::checkOf(noise, form);
    EXPECT_EQ(check.verdict, StreamVerdict::Unknown);
    EXPECT_THAT(check.reason, testing::HasSubstr("no synchronisation"));
    check = stream_test::checkOf({}, form);
    EXPECT_EQ(check.verdict, StreamVerdict::Unknown);
}

TEST(StreamCheck, TrailersShowTheKindOfExport) {
    const StreamCheck check = stream_test::checkOf(packed(rampWords(length)), {});
    EXPECT_EQ(check.form.mode, StreamMode::Pti);
    EXPECT_TRUE(check.modeRecognised);
    EXPECT_EQ(check.verdict, StreamVerdict::Sound);
}

TEST(StreamCheck, AnotherPatternIsDamage) {
    StreamForm form = rampForm();
    form.pattern = "walk";
    EXPECT_EQ(stream_test::checkOf(packed(rampWords(length)), form).verdict, StreamVerdict::Damaged);
}

TEST(StreamCheck, EveryPatternHasItsWordsForEachNumberOfPins) {
    for (const std::string_view name : diagnosis::checkedPatternNames()) {
        for (const unsigned lanes : {0U, 1U, 2U, 4U}) {
            EXPECT_TRUE(diagnosis::hasCheckedPattern(name, lanes)) << name << lanes;
        }
        EXPECT_FALSE(diagnosis::hasCheckedPattern(name, 3));
    }
    EXPECT_FALSE(diagnosis::hasCheckedPattern("lfsr", 4));
}

} // namespace
