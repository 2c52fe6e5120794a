#include "client/analysis/Metrics.h"

#include <algorithm>
#include <span>

namespace VX_QRS::ORV::CLIENT {

namespace {

std::span<const OvsStats::Entry> used(const OvsStats& stats) {
    return std::span(stats.entry).first(std::min<std::size_t>(stats.numProcs, stats.entry.size()));
}

} // namespace

Metrics& Metrics::operator=(const Metrics& other) {
    numProcs = other.numProcs;
    const std::size_t count = std::min<std::size_t>(numProcs, proc.size());
    std::copy_n(other.proc.begin(), count, proc.begin());
    return *this;
}

bool OvsStats::isEmpty() const {
    return std::ranges::all_of(used(*this), [](const Entry& e) { return e.level == 0; });
}

bool OvsStats::isFilled() const {
    return std::ranges::all_of(used(*this), [](const Entry& e) { return e.filled; });
}

} // namespace VX_QRS::ORV::CLIENT
