#include "client/analysis/Margins.h"

#include "client/analysis/Conversions.h"
#include "client/analysis/Edges.h"

#include <algorithm>

namespace VX_QRS::ORV::CLIENT::analysis {

namespace {

/// Data edges nearer than a clock period to this sample are not judged: their next clock edge may lie outside.
constexpr std::uint32_t lastJudged = 8192;

} // namespace

void findMargin(const Burst& burst, std::uint32_t clockOffset, Metrics& m) {
    const std::uint32_t used = usedPins(burst.numPins);
    for (std::uint32_t p = 0; p < used; ++p) {
        m.proc[p].marginBefore = notSet;
        m.proc[p].marginAfter = notSet;
    }
    for (std::uint32_t p = 1; p < used; ++p) {
        ProcMetrics& pin = m.proc[p];
        std::uint32_t position = integerPart(burst.oversampling + static_cast<double>(burst.skip));
        while (nextEdge(burst.pin[p], position, burst.length) != 0) {
            if (integerPart(burst.oversampling + static_cast<double>(position)) > lastJudged) {
                break;
            }
            const std::uint32_t from = position - clockOffset;
            pin.marginBefore = std::min(pin.marginBefore, distanceToPrevEdge(burst.pin[0], from));
            pin.marginAfter = std::min(pin.marginAfter, distanceToNextEdge(burst.pin[0], from, burst.length));
        }
    }
}

ClockCentring clockMargins(const Burst& burst, const Metrics& m) {
    ClockCentring result;
    result.holdMargin = notSet;
    result.setupMargin = notSet;
    for (std::uint32_t p = 1; p < usedPins(burst.numPins); ++p) {
        result.holdMargin = std::min(result.holdMargin, m.proc[p].marginBefore);
        result.setupMargin = std::min(result.setupMargin, m.proc[p].marginAfter);
    }
    result.need = integerPart(burst.oversampling / Vx::Qrs::Trace::limits::marginDivisor + 0.5);
    result.enough = result.holdMargin + result.setupMargin >= result.need;
    return result;
}

void centreClock(std::uint32_t referencePin, Metrics& m) {
    const ProcMetrics& reference = m.proc[referencePin];
    m.proc[0].delay = wrappingSum(
        m.proc[0].delay, static_cast<std::uint32_t>(halfDifference(reference.marginBefore, reference.marginAfter)));
}

MarginFault findMarginFault(const Burst& burst, std::int32_t margin) {
    const std::uint32_t used = usedPins(burst.numPins);
    if (used == 0) {
        return {};
    }
    const std::uint32_t words = burst.length / samplesPerWord;
    std::uint32_t clockEdges = 0;
    std::uint32_t lastDataEdge = 0;
    std::uint32_t run = 0;
    std::uint32_t previous = 0;
    bool havePrevious = false;
    for (std::uint32_t word = burst.skip / samplesPerWord; word < words; ++word) {
        std::array<std::uint32_t, maxPins> levels{};
        for (std::uint32_t p = 0; p < used; ++p) {
            levels[p] = word < burst.pin[p].size() ? burst.pin[p][word] : std::uint16_t{0};
        }
        for (std::uint32_t bit = 0; bit < samplesPerWord; ++bit) {
            // The clock on top, the data pins below it with the first one highest.
            std::uint32_t value = 0;
            for (std::uint32_t p = 0; p < used; ++p) {
                value |= ((levels[p] >> bit) & 1) << (used - p - 1);
            }
            const std::uint32_t clockBit = 1U << (used - 1);
            const std::uint32_t changed = havePrevious ? value ^ previous : 0;
            if ((changed & clockBit) != 0) {
                ++clockEdges;
                if (static_cast<std::int32_t>(clockEdges - lastDataEdge) < margin) {
                    return {MarginFault::Kind::clock, word};
                }
            }
            if ((changed & ~clockBit) != 0 && run >= burst.bitSamples) {
                if (lastDataEdge != 0 && lastDataEdge == clockEdges) {
                    return {MarginFault::Kind::data, word};
                }
                lastDataEdge = clockEdges;
                run = 0;
            } else if (havePrevious) {
                ++run;
            }
            previous = value;
            havePrevious = true;
        }
    }
    return {};
}

} // namespace VX_QRS::ORV::CLIENT::analysis
