#pragma once

#include "client/analysis/Burst.h"

namespace VX_QRS::ORV::CLIENT::analysis {

enum class SamplingPosition {
    undetected, ///< no data edges, or less than three to one for either
    center,     ///< the data change in the middle between clock edges
    edge,       ///< the data change together with the clock
};

struct SamplingPositionCounts {
    std::uint32_t center = 0; ///< data edges well away from the nearer clock edge
    std::uint32_t edge = 0;
};

SamplingPositionCounts countSamplingPositions(const Burst& burst);
SamplingPosition samplingPosition(SamplingPositionCounts counts);

} // namespace VX_QRS::ORV::CLIENT::analysis
