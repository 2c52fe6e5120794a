#pragma once

#include <cstddef>

namespace benchmarks {

/// Bytes of this process that are in memory now; 0 where the system does not report it.
std::size_t residentBytes();

/// The most that `residentBytes` has been since `forgetPeak`, or since the start where the system cannot reset it.
std::size_t peakResidentBytes();

/// Begins a new span for `peakResidentBytes`. False when the system cannot reset the peak.
bool forgetPeak();

} // namespace benchmarks
