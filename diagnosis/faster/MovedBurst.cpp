#include "diagnosis/faster/MovedBurst.h"

#include "diagnosis/analysis/BurstAnalysis.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

namespace diagnosis::faster {

namespace {

/// An edge in the first sample of its level came up to a sample before it: half a sample later it shows in the next one as
/// often as in the same. Which, follows from its number, in no period that a pattern has.
bool isRoundedUp(std::size_t number) {
    constexpr std::uint32_t mixed = 2654435761U;
    return ((static_cast<std::uint32_t>(number) * mixed) >> 16 & 1) != 0;
}

struct MovedEdge {
    long at;
    bool rise;
};

std::vector<MovedEdge> movedEdges(const BurstPin& pin, const tune::EdgeShift& shift, int wire) {
    std::vector<MovedEdge> moved;
    std::size_t number = 0;
    for (const Edge& edge : edgesOf(pin.levels)) {
        const double way = (edge.rise ? shift.rise : shift.fall) + wire;
        const double whole = std::floor(way);
        const bool isUp = way > whole && isRoundedUp(++number);
        moved.push_back({static_cast<long>(edge.at) + static_cast<long>(whole) + (isUp ? 1 : 0), edge.rise});
        // A stretch can close a pulse: both its edges are gone.
        if (moved.size() >= 2 && moved.back().at <= moved[moved.size() - 2].at) {
            moved.resize(moved.size() - 2);
        }
    }
    return moved;
}

} // namespace

Burst movedBurst(const Burst& raw, const tune::Values& values, std::span<const int> wires) {
    Burst burst = raw;
    for (std::size_t proc = 0; proc < burst.pins.size(); ++proc) {
        BurstPin& pin = burst.pins[proc];
        pin.delay = values[proc].delay;
        pin.stretch = values[proc].stretch;
        const auto edges = movedEdges(raw.pins[proc], tune::shiftOf(values[proc]), wires[proc]);
        const auto length = static_cast<long>(pin.levels.size());
        std::uint8_t level = pin.levels.empty() ? std::uint8_t{0} : pin.levels.front();
        long from = 0;
        for (const MovedEdge& edge : edges) {
            const long at = std::clamp(edge.at, 0L, length);
            std::fill(pin.levels.begin() + from, pin.levels.begin() + at, level);
            level = edge.rise ? 1 : 0;
            from = at;
        }
        std::fill(pin.levels.begin() + from, pin.levels.end(), level);
    }
    return burst;
}

} // namespace diagnosis::faster
