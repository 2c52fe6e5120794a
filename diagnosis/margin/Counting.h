#pragma once

#include <cstdint>

// What a count of errors says about their rate.

namespace diagnosis {

/// The largest mean of a Poisson count that still has `1 - confidence` chance to show so few errors: 3.00, 4.74, 6.30 for
/// 0, 1, 2 at 0.95.
double upperCount(std::uint64_t errors, double confidence = 0.95);
/// The smallest mean that has that chance to show so many; 0 for none.
double lowerCount(std::uint64_t errors, double confidence = 0.95);

/// Errors per opportunity are below it with this confidence; exact without errors, 1 without an opportunity.
double rateBelow(std::uint64_t errors, std::uint64_t opportunities, double confidence = 0.95);

/// The chance that a chi-square value with so many degrees of freedom is above `value`; 1 without any degree.
double chiSquareTail(double value, unsigned degrees);

/// Whether two counts of the same setting are too different for one rate, at the level of 1 in a
/// thousand: a scan asks it of every wall.
bool hasMoved(std::uint64_t errors, std::uint64_t opportunities, std::uint64_t laterErrors,
              std::uint64_t laterOpportunities);

} // namespace diagnosis
