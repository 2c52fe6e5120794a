#include "tests/unit/diagnosis/stream/DamagedStreams.h"

#include <gtest/gtest.h>

#include <cstdlib>

// Recordings by seed: sound ones raise no alarm, and a damage is found where it is.

namespace {

using diagnosis::StreamCheck;
using diagnosis::StreamVerdict;

constexpr std::uint64_t packet = 512;

std::string found(const StreamCheck& check) {
    if (!check.firstDamage) {
        return std::string(diagnosis::streamVerdictName(check.verdict));
    }
    std::string text = std::string(diagnosis::damageKindName(check.firstDamage->kind)) + " at " +
                       std::to_string(check.firstDamage->place.byte) + ", " + std::to_string(check.damageCount) +
                       " in all";
    for (const diagnosis::LaneDamage& lane : check.lanes) {
        text += "; lane " + std::to_string(lane.lane) + ": " + std::to_string(lane.wrongBits) + " bits, " +
                std::to_string(lane.likePreceding) + " late, " + std::to_string(lane.likeNext) + " early";
    }
    return text;
}

TEST(RandomStreams, SoundOnesRaiseNoAlarm) {
    constexpr std::uint64_t rounds = 1000 / ORV_RANDOM_SHARE;
    std::uint64_t judged = 0;
    std::uint64_t sound = 0;
    std::string unjudged;
    for (std::uint64_t seed = 0; seed < rounds; ++seed) {
        const stream_test::MadeStream made = stream_test::makeSound(seed);
        const StreamCheck check = stream_test::checkOf(made.bytes, made.form);
        EXPECT_NE(check.verdict, StreamVerdict::Damaged) << made.what << ": " << found(check);
        EXPECT_EQ(check.bytes, made.bytes.size()) << made.what;
        if (made.judged) {
            ++judged;
            sound += check.verdict == StreamVerdict::Sound;
            if (check.verdict == StreamVerdict::Unknown) {
                unjudged += made.what + ": " + check.reason + "\n";
            }
        } else {
            EXPECT_EQ(check.verdict, StreamVerdict::Unknown) << made.what;
        }
    }
    EXPECT_GE(sound * 100, judged * 95) << sound << " of " << judged << " are called sound\n" << unjudged;
    RecordProperty("sound", std::to_string(sound) + " of " + std::to_string(judged));
}

TEST(RandomStreams, DamageIsFoundWhereItIs) {
    constexpr std::uint64_t rounds = 100 / ORV_RANDOM_SHARE;
    std::uint64_t placed = 0;
    std::uint64_t named = 0;
    std::string wrong;
    const char* const more = std::getenv("ORV_DAMAGES");
    const std::uint64_t count = more == nullptr ? rounds : static_cast<std::uint64_t>(std::atoll(more));
    for (std::uint64_t seed = 0; seed < count; ++seed) {
        const stream_test::MadeStream made = stream_test::makeDamaged(seed);
        const StreamCheck check = stream_test::checkOf(made.bytes, made.form);
        const std::uint64_t place = check.firstDamage ? check.firstDamage->place.byte : ~std::uint64_t{0};
        const bool right = place + packet >= made.place && place <= made.place + packet;
        const bool alike = check.firstDamage && check.firstDamage->kind == made.kind;
        placed += right;
        named += alike;
        if (!right || !alike) {
            wrong += made.what + "; found " + found(check) + "\n";
        }
    }
    EXPECT_GE(placed * 100, count * 98) << wrong;
    EXPECT_GE(named * 100, count * 95) << wrong;
    RecordProperty("placed", std::to_string(placed));
    RecordProperty("named", std::to_string(named));
    std::printf("of %d: %d placed, %d named\n%s", static_cast<int>(count), static_cast<int>(placed),
                static_cast<int>(named), wrong.c_str());
}

} // namespace
