#include "client/patterns/Patterns.h"
#include "common/source/Exception.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <memory>
#include <string>
#include <typeinfo>
#include <vector>

namespace VX_QRS::ORV::CLIENT {

namespace {

using Words = std::vector<std::uint16_t>;

std::unique_ptr<Pattern> make(const char* name, std::uint32_t numPins) {
    return std::unique_ptr<Pattern>(createPattern(name, numPins));
}

void expectFailure(const std::function<void()>& action, Status status, const std::string& detail) {
    try {
        action();
        ADD_FAILURE() << "nothing was thrown";
    } catch (const Exception& e) {
        EXPECT_EQ(e.status(), status);
        EXPECT_EQ(std::string(e.detail()), detail);
        EXPECT_EQ(std::string(e.file()), "orv_client_patterns");
    }
}

/// Expects every step of the sequence, and no step to any other word, to be right.
void expectSequence(Pattern& pattern, const Words& words, const std::string& what) {
    for (std::size_t i = 0; i < words.size(); ++i) {
        const std::uint16_t next = words[(i + 1) % words.size()];
        unsigned faults = 0;
        for (std::uint32_t current = 0; current < 0x10000; ++current) {
            bool synced = true;
            const bool fault = pattern.check(words[i], static_cast<std::uint16_t>(current), synced);
            EXPECT_EQ(synced, !fault);
            if (fault != (current != next)) {
                ADD_FAILURE() << what << ": " << std::hex << words[i] << " " << current;
            }
            faults += fault ? 1 : 0;
        }
        EXPECT_EQ(faults, 0xFFFFu) << what;
    }
}

struct Image {
    const char* name;
    Words onePin;
    Words twoPins;
    Words fourPins;
    double onesRatio;
    const char* unsupported;
};

const std::vector<Image>& images() {
    static const std::vector<Image> all{
        {"f0", {0x5555}, {0x3333}, {0x0F0F}, 0.5, "unsupported number of pins for f0 pattern"},
        {"a5", {0x5555}, {0x6666}, {0x5A5A}, 0.5, "unsupported number of pins for a5 pattern"},
        {"ramp0",
         {0x5555},
         {0x1B1B},
         {0x0123, 0x4567, 0x89AB, 0xCDEF},
         0.5,
         "unsupported number of pins for ramp pattern"},
        {"ramp",
         {0x5555},
         {0x1B1B},
         {0x0123, 0x4567, 0x89AB, 0xCDEF},
         0.5,
         "unsupported number of pins for ramp pattern"},
        {"ramp1", {0xAAAA}, {0x6C6C}, {0x1234, 0x5678, 0x9ABC, 0xDEF0}, 0.5, "unsupported number of pins ramp pattern"},
        {"walk",
         {0x5555},
         {0x1861, 0x8618, 0x6186},
         {0x0124, 0x8012, 0x4801, 0x2480, 0x1248},
         0.2,
         "unsupported number of pins walking 1 pattern"},
    };
    return all;
}

constexpr std::array<std::uint32_t, 6> oddPinCounts{0, 3, 5, 6, 7, 0xFFFFFFFF};

} // namespace

TEST(PatternTable, EveryWordIsFollowedByItsSuccessorOnly) {
    for (const Image& image : images()) {
        expectSequence(*make(image.name, 1), image.onePin, std::string(image.name) + " on 1");
        expectSequence(*make(image.name, 2), image.twoPins, std::string(image.name) + " on 2");
        expectSequence(*make(image.name, 4), image.fourPins, std::string(image.name) + " on 4");
    }
}

TEST(PatternTable, Ff0IsTheSameForEveryPinCount) {
    for (const std::uint32_t pins : {0u, 1u, 2u, 3u, 4u, 7u}) {
        expectSequence(*make("ff0", pins), {0x0FF0, 0xFF0F, 0xF0FF}, "ff0");
    }
}

TEST(PatternTable, SharesOfOnes) {
    for (const Image& image : images()) {
        for (const std::uint32_t pins : {1u, 2u, 4u, 9u}) {
            EXPECT_EQ(make(image.name, pins)->onesRatio(), image.onesRatio) << image.name;
        }
    }
    EXPECT_EQ(make("none", 4)->onesRatio(), 0.5);
    EXPECT_EQ(make("lfsr", 4)->onesRatio(), 0.5);
    EXPECT_EQ(make("ff0", 4)->onesRatio(), 2.0 / 3.0);
}

TEST(PatternTable, OtherPinCountsFailAtTheFirstCheckWhetherLockedOrNot) {
    for (const Image& image : images()) {
        for (const std::uint32_t pins : oddPinCounts) {
            const auto pattern = make(image.name, pins);
            for (const bool locked : {false, true}) {
                bool synced = locked;
                expectFailure([&] { pattern->check(0x5555, 0x5555, synced); }, eFAIL, image.unsupported);
            }
        }
    }
}

TEST(PatternTable, NoneTakesEverything) {
    const auto pattern = make("none", 3);
    for (const bool locked : {false, true}) {
        bool synced = locked;
        EXPECT_FALSE(pattern->check(1, 2, synced));
        EXPECT_EQ(synced, locked);
    }
}

TEST(PatternTable, LfsrCannotBeVerified) {
    for (const std::uint32_t pins : {1u, 2u, 4u}) {
        const auto pattern = make("lfsr", pins);
        bool synced = false;
        expectFailure([&] { pattern->check(0, 0, synced); }, eFAIL,
                      "automatic lfsr pattern verification not supported");
    }
}

TEST(PatternTable, AWordThatIsNotOfThePatternHasNoSuccessor) {
    const auto pattern = make("f0", 4);
    for (const std::uint16_t current : {std::uint16_t{0}, std::uint16_t{0x0F0F}, std::uint16_t{0x1234}}) {
        bool synced = true;
        EXPECT_TRUE(pattern->check(0x0F0E, current, synced));
        EXPECT_FALSE(synced);
    }
}

TEST(PatternTable, WithoutLockTheWordIsTakenOnTrust) {
    const auto pattern = make("ramp", 4);
    bool synced = false;
    EXPECT_FALSE(pattern->check(0xFFFF, 0xFFFE, synced));
    EXPECT_TRUE(synced);
}

TEST(PatternTable, AWrongWordIsOneFaultAndTheRightOneAfterItIsTrusted) {
    const auto pattern = make("ramp", 4);
    bool synced = false;
    const Words words{0x0123, 0x4567, 0x4568, 0xCDEF, 0x0123, 0x4567};
    std::vector<bool> faults;
    std::uint16_t previous = 0;
    for (const std::uint16_t word : words) {
        faults.push_back(pattern->check(previous, word, synced));
        previous = word;
    }
    EXPECT_THAT(faults, testing::ElementsAre(false, false, true, false, false, false));
}

TEST(PatternFactory, NamesChooseClasses) {
    const auto classOf = [](const char* name) -> const std::type_info& {
        const std::unique_ptr<Pattern> pattern = make(name, 1);
        const Pattern& object = *pattern;
        return typeid(object);
    };
    EXPECT_EQ(classOf("none"), typeid(PatternNone_1));
    EXPECT_EQ(classOf("f0"), typeid(PatternF0_1));
    EXPECT_EQ(classOf("a5"), typeid(PatternA5_1));
    EXPECT_EQ(classOf("ff0"), typeid(PatternFF0_1));
    EXPECT_EQ(classOf("ramp0"), typeid(PatternRamp_0));
    EXPECT_EQ(classOf("ramp"), typeid(PatternRamp_0));
    EXPECT_EQ(classOf("ramp1"), typeid(PatternRamp_1));
    EXPECT_EQ(classOf("walk"), typeid(PatternWalk_1));
    EXPECT_EQ(classOf("lfsr"), typeid(PatternLfsr_1));
}

TEST(PatternFactory, EveryPatternIsANone) {
    for (const char* name : {"none", "f0", "a5", "ff0", "ramp0", "ramp", "ramp1", "walk", "lfsr"}) {
        EXPECT_NE(dynamic_cast<PatternNone_1*>(make(name, 4).get()), nullptr) << name;
    }
}

TEST(PatternFactory, UnknownNamesFail) {
    for (const char* name : {"", "F0", "f0 ", "ramp2", "calibration", "verification"}) {
        expectFailure([&] { make(name, 4); }, eFAIL, std::string("unknown pattern ") + name);
    }
}

TEST(PatternFactory, ANullNameFails) {
    expectFailure([] { make(nullptr, 4); }, eNULL, "");
}

} // namespace VX_QRS::ORV::CLIENT
