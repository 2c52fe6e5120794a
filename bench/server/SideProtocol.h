#pragma once

#include "bench/unit/Unit.h"

#include <mutex>
#include <string>
#include <string_view>

namespace bench {

/// The protocol of the simulated sibling libraries: one line of ASCII per request, one line back: "ok", "ok
/// <value>" or "err <text>", without line ends here.
///
///     program pattern=<none|f0|a5|ramp|walk|lfsr> frequency=<index> kind=<pti|tpiu|tpiulite>
///     pins=<clock>,<bit 0>,... shutdown flush end <0|1> status
std::string answerSideRequest(std::string_view line, Unit& unit, std::mutex& unitMutex);

} // namespace bench
