#include "client/patterns/Patterns.h"

#include "common/source/Exception.h"
#include "common/source/source_utilities/uLog.h"
#include "rcvr/framework/TracePatterns.h"

#include <array>
#include <iterator>
#include <memory>
#include <new>
#include <string>
#include <string_view>

namespace VX_QRS::ORV::CLIENT {

namespace {

namespace words = Vx::Qrs::Trace::patterns;

using words::Word;

constexpr PatternImages f0Images{words::alternation, words::f0TwoPins, words::f0FourPins,
                                 "unsupported number of pins for f0 pattern"};
constexpr PatternImages a5Images{words::alternation, words::a5TwoPins, words::a5FourPins,
                                 "unsupported number of pins for a5 pattern"};
constexpr PatternImages ff0Images{words::ff0, words::ff0, words::ff0, nullptr};
constexpr PatternImages ramp0Images{words::alternation, words::rampTwoPins, words::rampFourPins,
                                    "unsupported number of pins for ramp pattern"};
constexpr PatternImages ramp1Images{words::unitRampOnePin, words::unitRampTwoPins, words::unitRampFourPins,
                                    "unsupported number of pins ramp pattern"};
constexpr PatternImages walkImages{words::alternation, words::walkTwoPins, words::walkFourPins,
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
