#include "client/analysis/Periods.h"

#include <algorithm>
#include <cmath>

namespace VX_QRS::ORV::CLIENT::analysis {

std::uint32_t convertPeriod(std::uint32_t words, std::uint32_t low, std::uint32_t high, double ratio) {
    const double counts = std::max(words, low) * ratio + 0.5;
    // A value beyond 64 bits has no low half either.
    constexpr double limit = 9223372036854775808.0;
    if (!std::isfinite(counts) || counts >= limit || counts < -limit) {
        return 0;
    }
    const auto period = static_cast<std::uint32_t>(static_cast<std::int64_t>(counts) & 0xFFFFFFFF);
    return std::min(period, high);
}

} // namespace VX_QRS::ORV::CLIENT::analysis
