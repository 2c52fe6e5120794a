#pragma once

#include "tests/simulation/exploration/Search.h"

#include <cstdint>
#include <string>
#include <vector>

namespace simulation {

/// How many schedules a search takes until its first failure, over several searches with seeds of their own.
struct FirstFailures {
    std::vector<std::uint64_t> schedules; ///< of the searches that found one, ascending
    std::uint64_t missed = 0;             ///< searches that found none
    std::vector<std::string> rules;       ///< that were broken, each once

    /// Over all searches; 0 when half of them or more found nothing.
    std::uint64_t median() const;
};

/// @param plan what each search does; its first seed counts the searches.
FirstFailures findFirstFailures(SearchPlan plan, unsigned searches);

/// As in "channel.stop: median 12, most 40 schedules, missed by 0 of 5: deadlock, lost data".
std::string textOf(const std::string& scenario, const FirstFailures& found);

} // namespace simulation
