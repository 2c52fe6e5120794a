#include "bench/unit/ContentChances.h"

#include <algorithm>
#include <cmath>

namespace bench {

namespace {

constexpr double nodesPerSample = 256.0;

} // namespace

ContentChances::Curve::Curve(double from, double to)
    : lowest(from - 1.0 / nodesPerSample),
      nodes(static_cast<std::size_t>(std::ceil((to - lowest) * nodesPerSample)) + 2, -1.0) {}

template <class Chance>
double ContentChances::Curve::at(double shift, Chance&& chance) {
    const double place = std::max((shift - lowest) * nodesPerSample, 0.0);
    const std::size_t index = std::min(static_cast<std::size_t>(place), nodes.size() - 2);
    const auto node = [&](std::size_t number) {
        if (nodes[number] < 0.0) {
            nodes[number] = chance(lowest + static_cast<double>(number) / nodesPerSample);
        }
        return nodes[number];
    };
    const double weight = place - static_cast<double>(index);
    return node(index) * (1.0 - weight) + node(index + 1) * weight;
}

ContentChances::ContentChances(const Transmission& transmission, const ProcPath& path)
    : timing(path.timing), edges(*path.edges), content(path.line, transmission.halfPeriod),
      levels(transmission.words, transmission.dataPins), bit(path.line.bit),
      earlyCurves{Curve(content.earliest(), content.latest()), Curve(content.earliest(), content.latest())},
      lateCurves(earlyCurves) {}

double ContentChances::early(std::int64_t slot) {
    if (!hasEdge(slot)) {
        return 0.0;
    }
    const bool level = levels(bit, slot);
    return earlyCurves[level ? 1 : 0].at(content.shiftAt(slot, levels),
                                         [&](double shift) { return edges.early(usual(level) + shift); });
}

double ContentChances::late(std::int64_t slot) {
    if (!hasEdge(slot + 1)) {
        return 0.0;
    }
    const bool level = levels(bit, slot + 1);
    return lateCurves[level ? 1 : 0].at(content.shiftAt(slot + 1, levels),
                                        [&](double shift) { return edges.late(usual(level) + shift); });
}

double ContentChances::lost(std::int64_t slot) {
    if (!hasEdge(slot) || !hasEdge(slot + 1)) {
        return 0.0;
    }
    const double longer = content.shiftAt(slot + 1, levels) - content.shiftAt(slot, levels);
    return levels(bit, slot) ? timing.lostOne(longer) : timing.lostZero(longer);
}

} // namespace bench
