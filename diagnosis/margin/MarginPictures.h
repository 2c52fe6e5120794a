#pragma once

#include "diagnosis/margin/MarginScan.h"

#include <string>

namespace diagnosis {

/// Errors per opportunity of one lane over the offset of its sampling point, as markup.
std::string bathtubPicture(const RateScan& rate, std::size_t lane);
/// Rates against offsets, the worst lane in each cell, as markup; empty for fewer than two rates.
std::string shmooPicture(const MarginScan& scan);

} // namespace diagnosis
