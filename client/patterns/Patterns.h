#pragma once

#include "client/Pattern.h"

#include <cstddef>
#include <cstdint>
#include <span>

// The test patterns, each by its image in 16-bit trace words. The image depends on how many pins the word is spread over.

namespace VX_QRS::ORV::CLIENT {

/// The source unit that failures of the patterns name.
inline constexpr const char* patternsUnit = "orv_client_patterns";

/// An unknown stream, without faults. Base of all the others.
class PatternNone_1 : public Pattern {
public:
    explicit PatternNone_1(std::uint32_t pins) : numPins(pins) {}

    double onesRatio() override { return ratio; }
    bool check(std::uint16_t previous, std::uint16_t current, bool& synced) override;

protected:
    std::uint32_t numPins; // data pins
    double ratio = 0.5;
};

/// The words of a pattern for each number of data pins; the first follows the last.
struct PatternImages {
    std::span<const std::uint16_t> onePin;
    std::span<const std::uint16_t> twoPins;
    std::span<const std::uint16_t> fourPins;
    const char* unsupported; // text of the failure for any other number of pins

    /// Empty when there is no image for that number of pins.
    std::span<const std::uint16_t> forPins(std::uint32_t numPins) const;
};

/// A pattern that repeats a short sequence of words.
class PatternCycle : public PatternNone_1 {
public:
    bool check(std::uint16_t previous, std::uint16_t current, bool& synced) override;

    /// Each word occurs once, and none is 0. Empty when there is no image for the number of pins.
    std::span<const std::uint16_t> sequence() const { return words; }

protected:
    PatternCycle(std::uint32_t numPins, const PatternImages& images);

private:
    std::span<const std::uint16_t> words; // static storage
    const char* unsupported;
    std::size_t next = 0; // index of the successor of the word found last; each word occurs once in a sequence
};

class PatternF0_1 : public PatternCycle {
public:
    explicit PatternF0_1(std::uint32_t numPins);
};

class PatternA5_1 : public PatternCycle {
public:
    explicit PatternA5_1(std::uint32_t numPins);
};

/// Looks the same for every number of pins.
class PatternFF0_1 : public PatternCycle {
public:
    explicit PatternFF0_1(std::uint32_t numPins);
};

/// The target's ramp, which begins at 0.
class PatternRamp_0 : public PatternCycle {
public:
    explicit PatternRamp_0(std::uint32_t numPins);
};

/// The ramp of the unit's own generator, which begins at 1.
class PatternRamp_1 : public PatternCycle {
public:
    explicit PatternRamp_1(std::uint32_t numPins);
};

class PatternWalk_1 : public PatternCycle {
public:
    explicit PatternWalk_1(std::uint32_t numPins);
};

/// Can be sent but not verified: check always throws.
class PatternLfsr_1 : public PatternNone_1 {
public:
    explicit PatternLfsr_1(std::uint32_t pins) : PatternNone_1(pins) {}

    bool check(std::uint16_t previous, std::uint16_t current, bool& synced) override;
};

} // namespace VX_QRS::ORV::CLIENT
