#pragma once

#include <cstddef>
#include <vector>

namespace diagnosis::page {

/// A round distance between the ticks of an axis: 1, 2 or 5 times a power of ten, so that at most `most` of them fit into
/// `span`, which is above 0.
double roundStep(double span, std::size_t most);

/// The multiples of that distance from `from` to `to`.
std::vector<double> roundTicks(double from, double to, std::size_t most);

} // namespace diagnosis::page
