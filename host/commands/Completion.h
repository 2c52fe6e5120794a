#pragma once

#include "host/commands/CommandFacts.h"

#include <functional>
#include <string>
#include <vector>

namespace host {

/// One way to go on. `word` is a whole word; or it is completeFiles or completeFolders: the shell completes names itself.
struct Candidate {
    std::string word;
    std::string about; ///< may be empty

    friend bool operator==(const Candidate&, const Candidate&) = default;
};

inline constexpr const char* completeFiles = ":files";
inline constexpr const char* completeFolders = ":folders";

/// Values that only the program knows, such as names of scenarios, by the name of the value in the help text.
using ValueSource = std::function<std::vector<std::string>(const std::string& valueName)>;

/// What the last of the words can become. They follow the program's name; the last one may be empty. An "=" of its own,
/// as some shells pass it, joins its neighbours.
std::vector<Candidate> candidatesFor(const CommandFacts& program, const std::vector<std::string>& words,
                                     const ValueSource& values);

} // namespace host
