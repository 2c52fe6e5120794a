#pragma once

#include <cstdint>

// Periods of the capture unit's timers.

namespace VX_QRS::ORV::CLIENT::analysis {

/// Counts of the word clock in `words` words of data, of which there are `ratio` in one word: at least `low` words,
/// rounded, then at most `high` counts. 0 for a ratio or a result that is not a number of 64 bits. Counts have 32 bits
/// before `high` limits them.
std::uint32_t convertPeriod(std::uint32_t words, std::uint32_t low, std::uint32_t high, double ratio);

} // namespace VX_QRS::ORV::CLIENT::analysis
