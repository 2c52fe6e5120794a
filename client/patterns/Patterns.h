#pragma once

#include "client/Pattern.h"

#include <cstdint>
#include <span>
#include <string>

namespace VX_QRS::ORV::CLIENT {

/// The source unit that pattern failures name.
inline constexpr char patternsUnit[] = "orv_client_patterns";

/// Nothing is expected: every word is right. Base of all the others.
class PatternNone_1 : public Pattern {
public:
    explicit PatternNone_1(std::uint32_t dataPins) : numPins(dataPins) {}
    double onesRatio() override { return ratio; }
    bool check(std::uint16_t previous, std::uint16_t current, bool& synced) override;

protected:
    /// The frame that every check runs in: `words` is the cyclic sequence of the pattern.
    static bool checkSequence(std::span<const std::uint16_t> words, std::uint16_t previous, std::uint16_t current,
                              bool& synced);

    std::uint32_t numPins;
    double ratio = 0.5;
};

/// A pattern that is one cyclic sequence of words for each supported number of data pins.
class SequencePattern : public PatternNone_1 {
public:
    /// The sequences for 1, 2 and 4 data pins, and the failure for any other number.
    struct Images {
        std::span<const std::uint16_t> onePin;
        std::span<const std::uint16_t> twoPins;
        std::span<const std::uint16_t> fourPins;
        const char* unsupported;
    };
    SequencePattern(std::uint32_t dataPins, const Images& images) : PatternNone_1(dataPins), sequences(images) {}
    bool check(std::uint16_t previous, std::uint16_t current, bool& synced) override;

private:
    Images sequences;
};

class PatternF0_1 final : public SequencePattern {
public:
    explicit PatternF0_1(std::uint32_t dataPins);
};

class PatternA5_1 final : public SequencePattern {
public:
    explicit PatternA5_1(std::uint32_t dataPins);
};

/// The same three words for every number of pins.
class PatternFF0_1 final : public PatternNone_1 {
public:
    explicit PatternFF0_1(std::uint32_t dataPins);
    bool check(std::uint16_t previous, std::uint16_t current, bool& synced) override;
};

/// The target's ramp, which begins at 0.
class PatternRamp_0 final : public SequencePattern {
public:
    explicit PatternRamp_0(std::uint32_t dataPins);
};

/// The capture unit's own ramp, which begins at 1.
class PatternRamp_1 final : public SequencePattern {
public:
    explicit PatternRamp_1(std::uint32_t dataPins);
};

class PatternWalk_1 final : public SequencePattern {
public:
    explicit PatternWalk_1(std::uint32_t dataPins);
};

/// Can be sent but not verified: every check throws.
class PatternLfsr_1 final : public PatternNone_1 {
public:
    explicit PatternLfsr_1(std::uint32_t dataPins) : PatternNone_1(dataPins) {}
    bool check(std::uint16_t previous, std::uint16_t current, bool& synced) override;

private:
    std::uint16_t lfsr = 0xFFFF;
};

} // namespace VX_QRS::ORV::CLIENT
