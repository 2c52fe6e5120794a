#include "bench/wiring/ContentShift.h"

#include <algorithm>
#include <cmath>

namespace bench {

namespace {

constexpr double forgotten = 1e-9;

} // namespace

LineMemory::LineMemory(double timeConstant, double halfPeriod) : tau(timeConstant) {
    if (tau > 0.0) {
        keeps = std::exp(-halfPeriod / tau);
        remembered = static_cast<int>(std::ceil(-std::log(forgotten) * tau / halfPeriod));
    }
}

double LineMemory::shift(double state, bool level) const {
    const double distance = std::max(std::abs(driven(level) - state), 0.5);
    return tau * std::log((1.0 + keeps) * distance);
}

ContentShift::ContentShift(const Line& line, double halfPeriod) {
    if (line.source != LineSource::Data) {
        return;
    }
    hasMemory = line.timing.memory > 0.0;
    response = LineMemory(line.timing.memory, halfPeriod);
    bit = line.bit;
    if (line.timing.coupling > 0.0) {
        neighbours = line.neighbours;
        coupling = neighbours.empty() ? 0.0 : line.timing.coupling;
        reach = coupling * static_cast<double>(neighbours.size());
    }
}

} // namespace bench
