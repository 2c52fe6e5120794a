#include "client/analysis/Conversions.h"

#include <cmath>
#include <limits>

namespace VX_QRS::ORV::CLIENT::analysis {

std::uint32_t integerPart(double value) {
    constexpr double limit = 9223372036854775808.0; // 2^63
    if (!(value >= -limit && value < limit)) {      // also for what is not a number
        return 0;
    }
    return static_cast<std::uint32_t>(static_cast<std::uint64_t>(static_cast<std::int64_t>(value)));
}

std::int32_t roundAway(double value) {
    if (std::isnan(value)) {
        return 0;
    }
    const double rounded = std::trunc(value > 0.0 ? value + 0.5 : value - 0.5);
    constexpr std::int32_t lowest = std::numeric_limits<std::int32_t>::min();
    constexpr std::int32_t highest = std::numeric_limits<std::int32_t>::max();
    if (rounded <= static_cast<double>(lowest)) {
        return lowest;
    }
    if (rounded >= static_cast<double>(highest)) {
        return highest;
    }
    return static_cast<std::int32_t>(rounded);
}

std::int32_t halfDifference(std::uint32_t minuend, std::uint32_t subtrahend) {
    return roundAway(static_cast<double>(static_cast<std::int32_t>(minuend - subtrahend)) / 2.0);
}

} // namespace VX_QRS::ORV::CLIENT::analysis
