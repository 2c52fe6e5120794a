#include "client/analysis/SamplingPosition.h"

#include "client/analysis/Edges.h"

#include <algorithm>

namespace VX_QRS::ORV::CLIENT::analysis {

SamplingPositionCounts countSamplingPositions(const Burst& burst) {
    const std::uint32_t low = burst.bitSamples / 2;
    const std::uint32_t high = low * 3;
    SamplingPositionCounts counts;
    for (std::uint32_t p = 1; p < usedPins(burst.numPins); ++p) {
        std::uint32_t position = burst.bitSamples + burst.skip;
        while (nextEdge(burst.pin[p], position, burst.length) != 0) {
            const std::uint32_t distance = std::min(distanceToNextEdge(burst.pin[0], position, burst.length),
                                                    distanceToPrevEdge(burst.pin[0], position));
            if (distance > low && distance <= high) {
                ++counts.center;
            } else {
                ++counts.edge;
            }
        }
    }
    return counts;
}

SamplingPosition samplingPosition(SamplingPositionCounts counts) {
    constexpr std::uint32_t majority = 3;
    if (counts.center != 0 && (counts.edge == 0 || counts.center / counts.edge >= majority)) {
        return SamplingPosition::center;
    }
    if (counts.edge == 0 || (counts.center != 0 && counts.edge / counts.center < majority)) {
        return SamplingPosition::undetected;
    }
    return SamplingPosition::edge;
}

} // namespace VX_QRS::ORV::CLIENT::analysis
