#include "client/patterns/Patterns.h"

#include "common/source/Exception.h"

#include <algorithm>
#include <memory>
#include <new>

namespace VX_QRS::ORV::CLIENT {

namespace {

using Words = const std::uint16_t[];

constexpr Words f0One = {0x5555}, f0Two = {0x3333}, f0Four = {0x0F0F};
constexpr Words a5One = {0x5555}, a5Two = {0x6666}, a5Four = {0x5A5A};
constexpr Words ff0Words = {0x0FF0, 0xFF0F, 0xF0FF};
constexpr Words ramp0One = {0x5555}, ramp0Two = {0x1B1B}, ramp0Four = {0x0123, 0x4567, 0x89AB, 0xCDEF};
constexpr Words ramp1One = {0xAAAA}, ramp1Two = {0x6C6C}, ramp1Four = {0x1234, 0x5678, 0x9ABC, 0xDEF0};
constexpr Words walkOne = {0x5555}, walkTwo = {0x1861, 0x8618, 0x6186},
                walkFour = {0x0124, 0x8012, 0x4801, 0x2480, 0x1248};

template <typename Class>
Pattern* make(std::uint32_t numPins) {
    return new Class(numPins);
}

struct Factory {
    const char* name;
    Pattern* (*make)(std::uint32_t numPins);
};
constexpr Factory factories[] = {
    {"none", make<PatternNone_1>}, {"f0", make<PatternF0_1>},      {"a5", make<PatternA5_1>},
    {"ff0", make<PatternFF0_1>},   {"ramp0", make<PatternRamp_0>}, {"ramp", make<PatternRamp_0>},
    {"ramp1", make<PatternRamp_1>}, {"walk", make<PatternWalk_1>}, {"lfsr", make<PatternLfsr_1>},
};

} // namespace

bool PatternNone_1::check(std::uint16_t, std::uint16_t, bool&) {
    return false;
}

bool PatternNone_1::checkSequence(std::span<const std::uint16_t> words, std::uint16_t previous, std::uint16_t current,
                                  bool& synced) {
    const auto found = std::find(words.begin(), words.end(), previous);
    bool bad = found == words.end();
    std::uint16_t expected = 0;
    if (!bad)
        expected = found + 1 == words.end() ? words.front() : *(found + 1);
    if (current != expected)
        bad = true;
    // What comes first, or behind a fault, is taken on trust: one fault is reported once.
    if (!synced)
        bad = false;
    synced = !bad;
    return bad;
}

bool SequencePattern::check(std::uint16_t previous, std::uint16_t current, bool& synced) {
    switch (numPins) {
    case 1:
        return checkSequence(sequences.onePin, previous, current, synced);
    case 2:
        return checkSequence(sequences.twoPins, previous, current, synced);
    case 4:
        return checkSequence(sequences.fourPins, previous, current, synced);
    default:
        fail(patternsUnit, eFAIL, sequences.unsupported);
    }
}

PatternF0_1::PatternF0_1(std::uint32_t dataPins)
    : SequencePattern(dataPins, {f0One, f0Two, f0Four, "unsupported number of pins for f0 pattern"}) {}

PatternA5_1::PatternA5_1(std::uint32_t dataPins)
    : SequencePattern(dataPins, {a5One, a5Two, a5Four, "unsupported number of pins for a5 pattern"}) {}

PatternFF0_1::PatternFF0_1(std::uint32_t dataPins) : PatternNone_1(dataPins) {
    ratio = 2.0 / 3.0;
}

bool PatternFF0_1::check(std::uint16_t previous, std::uint16_t current, bool& synced) {
    return checkSequence(ff0Words, previous, current, synced);
}

PatternRamp_0::PatternRamp_0(std::uint32_t dataPins)
    : SequencePattern(dataPins, {ramp0One, ramp0Two, ramp0Four, "unsupported number of pins for ramp pattern"}) {}

PatternRamp_1::PatternRamp_1(std::uint32_t dataPins)
    : SequencePattern(dataPins, {ramp1One, ramp1Two, ramp1Four, "unsupported number of pins ramp pattern"}) {}

PatternWalk_1::PatternWalk_1(std::uint32_t dataPins)
    : SequencePattern(dataPins, {walkOne, walkTwo, walkFour, "unsupported number of pins walking 1 pattern"}) {
    ratio = 0.2;
}

bool PatternLfsr_1::check(std::uint16_t, std::uint16_t, bool&) {
    fail(patternsUnit, eFAIL, "automatic lfsr pattern verification not supported");
}

Pattern* createPattern(const char* name, std::uint32_t numPins) {
    if (name == nullptr)
        fail(patternsUnit, eNULL);
    const std::string wanted = name;
    for (const Factory& factory : factories) {
        if (wanted != factory.name)
            continue;
        try {
            return factory.make(numPins);
        } catch (const std::bad_alloc&) {
            fail(patternsUnit, eALLOC);
        }
    }
    fail(patternsUnit, eFAIL, "unknown pattern " + wanted);
}

} // namespace VX_QRS::ORV::CLIENT
