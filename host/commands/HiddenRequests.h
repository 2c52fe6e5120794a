#pragma once

#include "host/commands/CommandFacts.h"

#include <functional>
#include <optional>
#include <string>

namespace host {

/// Answers what no person types, if the line begins with it; the exit status then. The rest of the program answers else.
///
///     --complete WORD...         candidates for the last word, a line each: word, tab, text. For the shells' scripts.
///     --complete-next WORD...    the same for a word after these, since some shells cannot pass an empty one
///     --manual-pages DIR DATE    writes the manual pages into a folder
std::optional<int> answeredHidden(const std::function<CommandFacts()>& program, const std::string& version, int argc,
                                  const char* const* argv);

} // namespace host
