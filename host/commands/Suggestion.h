#pragma once

#include <string>
#include <vector>

namespace host {

/// The known word that a mistyped one probably means; empty if none is near.
std::string nearestWord(const std::string& word, const std::vector<std::string>& known);

} // namespace host
