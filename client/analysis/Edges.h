#pragma once

#include "client/analysis/Burst.h"

namespace VX_QRS::ORV::CLIENT::analysis {

/// Finds the next edge after a sample, in a burst of `limit` samples; whole words only. Returns +1 for a rise, -1 for a
/// fall, with the first sample of the new level in `word` and `bit`; 0 for none, and both stay.
int nextEdge(Samples samples, std::uint32_t& word, std::uint32_t& bit, std::uint32_t limit);

/// Finds the edge before a sample. Returns +1 when the level at the sample is 0 (going back, the level rises), -1 when
/// it is 1, with the last sample of the earlier level in `word` and `bit`; 0 for none, and both stay.
int prevEdge(Samples samples, std::uint32_t& word, std::uint32_t& bit);

/// The same by sample number.
int nextEdge(Samples samples, std::uint32_t& position, std::uint32_t limit);
int prevEdge(Samples samples, std::uint32_t& position);

/// Distance from a sample on to the next edge; 0x7FFFFFFF for none.
std::uint32_t distanceToNextEdge(Samples samples, std::uint32_t position, std::uint32_t limit);
/// Distance from a sample back to the last sample of the earlier level; 0x7FFFFFFF for none.
std::uint32_t distanceToPrevEdge(Samples samples, std::uint32_t position);

} // namespace VX_QRS::ORV::CLIENT::analysis
