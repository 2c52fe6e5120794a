#pragma once

#include "client/Pattern.h"
#include "rcvr/framework/TraceLimits.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace VX_QRS::ORV::CLIENT {

/// The words that a repeating pattern continues with, written out for a packet, so that a recording is compared several
/// words at a time.
class PatternRun {
public:
    /// Nothing is expected of a pattern that does not repeat a short sequence, and of one without an image.
    explicit PatternRun(const Pattern& pattern);

    /// Number of `words`, at most a packet, that follow `last` without a fault; 0 when `last` is not of the pattern.
    std::size_t follow(std::uint16_t last, std::span<const std::uint16_t> words) const;

private:
    static constexpr std::size_t longestSequence = 8;

    std::size_t length = 0; // of the sequence, which is repeated to the end
    std::array<std::uint16_t, longestSequence + Vx::Qrs::Trace::limits::packetWords> words{};
};

} // namespace VX_QRS::ORV::CLIENT
