#pragma once

#include "toolkit/LaneNames.h"

#include <map>
#include <string>

// A board's names of the trace pins, in a small TOML file:
//
//     [names]
//     CLK = "TRACECLK"
//     D0 = "TRACED0"

namespace host {

/// What --names was given: a list, as LaneNames::parse() reads it, or such a file. Throws Failure: Usage for a list, BadInput
/// for a file.
toolkit::LaneNames laneNamesOf(const std::string& listOrFile);

/// Whether that is a file.
bool isNamesFile(const std::string& listOrFile);

/// The names of a table of a file. Throws Failure (BadInput) with the file.
toolkit::LaneNames namesOfTable(const std::map<std::string, std::string>& table, const std::string& file);

} // namespace host
