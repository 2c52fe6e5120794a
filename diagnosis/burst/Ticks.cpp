#include "diagnosis/burst/Ticks.h"

#include <algorithm>
#include <cmath>

namespace diagnosis::page {

double roundStep(double span, std::size_t most) {
    const double least = span / static_cast<double>(std::max<std::size_t>(most, 1));
    const double decade = std::pow(10.0, std::floor(std::log10(least)));
    for (const double factor : {1.0, 2.0, 5.0}) {
        if (factor * decade >= least * (1.0 - 1e-9)) {
            return factor * decade;
        }
    }
    return 10.0 * decade;
}

std::vector<double> roundTicks(double from, double to, std::size_t most) {
    std::vector<double> ticks;
    if (!(to > from) || !std::isfinite(from) || !std::isfinite(to)) {
        return ticks;
    }
    const double step = roundStep(to - from, most);
    const double slack = step * 1e-6;
    for (double at = std::ceil((from - slack) / step); at * step <= to + slack; at += 1.0) {
        ticks.push_back(at == 0.0 ? 0.0 : at * step);
    }
    return ticks;
}

} // namespace diagnosis::page
