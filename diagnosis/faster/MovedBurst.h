#pragma once

#include "diagnosis/files/BurstFile.h"
#include "diagnosis/tune/Values.h"

#include <span>

namespace diagnosis::faster {

/// The burst that the unit would show with these delays and stretches, from one without any: edges are moved in whole
/// samples, half ones to either side in turn. `wires` are samples by which each wire is longer, the clock's first. What
/// comes from before the burst has the level of its first sample.
Burst movedBurst(const Burst& raw, const tune::Values& values, std::span<const int> wires);

} // namespace diagnosis::faster
