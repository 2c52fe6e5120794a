#pragma once

#include <string>
#include <vector>

namespace toolkit {

/// The known word that a mistyped one probably means; empty if none is near.
std::string nearestWord(const std::string& word, const std::vector<std::string>& known);

/// "; did you mean WORD?" with that word after `before`; empty if none is near.
std::string suggestion(const std::string& word, const std::vector<std::string>& known, const std::string& before = {});

} // namespace toolkit
