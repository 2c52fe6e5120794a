#pragma once

#include "bench/unit/DataPath.h"

#include <cstdint>
#include <memory>
#include <span>

namespace bench {

/// Below this probability no recording that fits the unit has a fault.
inline constexpr double negligibleChance = 1e-15;

/// The payload words of a segment, in order, as the recorder assembles them: the words sent, with the errors of
/// the pins.
class SegmentReader {
public:
    virtual ~SegmentReader() = default;
    virtual void fill(std::span<std::uint16_t> out) = 0;
};

/// Starts `skip` words after the segment's first. The segment must outlive the reader. The clock must have
/// edges.
///
/// If the procs are the transmitter's clock and data pins, whole words are copied and single faults inserted.
/// Other pins (swapped with the clock, open) are followed slot by slot.
std::unique_ptr<SegmentReader> readSegment(const Segment& segment, std::uint64_t skip);

} // namespace bench
