#include "client/patterns/Patterns.h"

#include "common/source/Exception.h"
#include "common/source/source_utilities/uLog.h"

#include <array>
#include <iterator>
#include <memory>
#include <new>
#include <string>
#include <string_view>

namespace VX_QRS::ORV::CLIENT {

namespace {

using Word = std::uint16_t;

// On one pin every pattern but the unit's ramp is a plain alternation.
constexpr std::array<Word, 1> alternation{0x5555};

constexpr std::array<Word, 1> f0TwoPins{0x3333};
constexpr std::array<Word, 1> f0FourPins{0x0F0F};
constexpr PatternImages f0Images{alternation, f0TwoPins, f0FourPins, "unsupported number of pins for f0 pattern"};

constexpr std::array<Word, 1> a5TwoPins{0x6666};
constexpr std::array<Word, 1> a5FourPins{0x5A5A};
constexpr PatternImages a5Images{alternation, a5TwoPins, a5FourPins, "unsupported number of pins for a5 pattern"};

constexpr std::array<Word, 3> ff0AnyPins{0x0FF0, 0xFF0F, 0xF0FF};
constexpr PatternImages ff0Images{ff0AnyPins, ff0AnyPins, ff0AnyPins, nullptr};

constexpr std::array<Word, 1> ramp0TwoPins{0x1B1B};
constexpr std::array<Word, 4> ramp0FourPins{0x0123, 0x4567, 0x89AB, 0xCDEF};
constexpr PatternImages ramp0Images{alternation, ramp0TwoPins, ramp0FourPins,
                                    "unsupported number of pins for ramp pattern"};

constexpr std::array<Word, 1> ramp1OnePin{0xAAAA};
constexpr std::array<Word, 1> ramp1TwoPins{0x6C6C};
constexpr std::array<Word, 4> ramp1FourPins{0x1234, 0x5678, 0x9ABC, 0xDEF0};
constexpr PatternImages ramp1Images{ramp1OnePin, ramp1TwoPins, ramp1FourPins,
                                    "unsupported number of pins ramp pattern"};

constexpr std::array<Word, 3> walkTwoPins{0x1861, 0x8618, 0x6186};
constexpr std::array<Word, 5> walkFourPins{0x0124, 0x8012, 0x4801, 0x2480, 0x1248};
constexpr PatternImages walkImages{alternation, walkTwoPins, walkFourPins,
                                   "unsupported number of pins walking 1 pattern"};

constexpr double ff0OnesRatio = 2.0 / 3.0;
constexpr double walkOnesRatio = 0.2;

template <class Class>
std::unique_ptr<Pattern> make(std::uint32_t numPins) {
    return std::make_unique<Class>(numPins);
}

struct FactoryEntry {
    std::string_view name;
    std::unique_ptr<Pattern> (*make)(std::uint32_t numPins);
};

constexpr FactoryEntry factoryTable[] = {
    {"none", make<PatternNone_1>},  {"f0", make<PatternF0_1>},      {"a5", make<PatternA5_1>},
    {"ff0", make<PatternFF0_1>},    {"ramp0", make<PatternRamp_0>}, {"ramp", make<PatternRamp_0>},
    {"ramp1", make<PatternRamp_1>}, {"walk", make<PatternWalk_1>},  {"lfsr", make<PatternLfsr_1>},
};

} // namespace

std::span<const std::uint16_t> PatternImages::forPins(std::uint32_t numPins) const {
    switch (numPins) {
    case 1:
        return onePin;
    case 2:
        return twoPins;
    case 4:
        return fourPins;
    default:
        return {};
    }
}

bool PatternNone_1::check(std::uint16_t, std::uint16_t, bool&) {
    return false;
}

PatternCycle::PatternCycle(std::uint32_t pins, const PatternImages& images)
    : PatternNone_1(pins), words(images.forPins(pins)), unsupported(images.unsupported) {}

bool PatternCycle::check(std::uint16_t previous, std::uint16_t current, bool& synced) {
    if (words.empty()) {
        fail(patternsUnit, eFAIL, unsupported);
    }
    Word expected = 0;
    bool bad = true;
    // Mostly the word is where the last one's successor is.
    if (words[next] != previous) {
        std::size_t i = 0;
        while (i < words.size() && words[i] != previous) {
            ++i;
        }
        next = i < words.size() ? i : 0;
    }
    if (words[next] == previous) {
        next = next + 1 < words.size() ? next + 1 : 0;
        expected = words[next];
        bad = false;
    }
    bad = synced && (bad || current != expected);
    // A fault loses the lock, so that it is reported once and not for every following word.
    synced = !bad;
    return bad;
}

PatternF0_1::PatternF0_1(std::uint32_t pins) : PatternCycle(pins, f0Images) {}

PatternA5_1::PatternA5_1(std::uint32_t pins) : PatternCycle(pins, a5Images) {}

PatternFF0_1::PatternFF0_1(std::uint32_t) : PatternCycle(1, ff0Images) {
    ratio = ff0OnesRatio;
}

PatternRamp_0::PatternRamp_0(std::uint32_t pins) : PatternCycle(pins, ramp0Images) {}

PatternRamp_1::PatternRamp_1(std::uint32_t pins) : PatternCycle(pins, ramp1Images) {}

PatternWalk_1::PatternWalk_1(std::uint32_t pins) : PatternCycle(pins, walkImages) {
    ratio = walkOnesRatio;
}

bool PatternLfsr_1::check(std::uint16_t, std::uint16_t, bool&) {
    fail(patternsUnit, eFAIL, "automatic lfsr pattern verification not supported");
}

Pattern* createPattern(const char* name, std::uint32_t numPins) {
    logEntry(patternsUnit, "VX_QRS::ORV::CLIENT::createPattern");
    if (name == nullptr) {
        fail(patternsUnit, eNULL);
    }
    for (const FactoryEntry& entry : factoryTable) {
        if (entry.name != name) {
            continue;
        }
        try {
            return entry.make(numPins).release();
        } catch (const std::bad_alloc&) {
            fail(patternsUnit, eALLOC);
        }
    }
    fail(patternsUnit, eFAIL, std::string("unknown pattern ") + name);
}

} // namespace VX_QRS::ORV::CLIENT
