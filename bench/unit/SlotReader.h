#pragma once

#include "bench/unit/SegmentReader.h"

namespace bench {

/// A reader that follows a segment slot by slot: for clock lines without a regular clock, for open inputs, and for
/// another number of procs than the transmitter has data pins.
std::unique_ptr<SegmentReader> readSlots(const Segment& segment, std::uint64_t skip);

} // namespace bench
