#pragma once

#include "bench/unit/DataPath.h"

#include <cstdint>
#include <memory>
#include <span>

namespace bench {

// The payload words of a segment, in order, as the recorder puts them together: what was sent, with what the
// pins did to it.
class SegmentReader {
public:
    virtual ~SegmentReader() = default;
    virtual void fill(std::span<std::uint16_t> out) = 0;
};

// Starts `skip` words behind the segment's first. The segment has to outlive the reader. The clock must have
// edges.
//
// Where the procs are the transmitter's clock and data pins, whole words are moved and single faults put in.
// Pins that do not fit what is sent (swapped with the clock, hanging in the air) are followed slot by slot.
std::unique_ptr<SegmentReader> readSegment(const Segment& segment, std::uint64_t skip);

} // namespace bench
