#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
} // namespace CLI

namespace host {

/// What an option or an argument is, in the words of the help text.
struct OptionFacts {
    std::string name;                 ///< "--vcd"; an argument has the name of its value
    std::string shortName;            ///< "-h"; mostly empty
    std::string value;                ///< "FILE"; empty for a flag
    std::string about;                ///< one line
    std::vector<std::string> choices; ///< the values that it accepts; empty if they are not listed
    bool required = false;
    bool repeatable = false;
};

/// A level of the command line: the program, a subcommand, or a nested one.
struct CommandFacts {
    std::string name;
    std::string about;
    std::string footer;
    std::vector<OptionFacts> arguments; ///< in their order
    std::vector<OptionFacts> options;
    std::vector<CommandFacts> nested;
};

/// From the tables that the help texts come from.
CommandFacts commandFactsOf(const CLI::App& app);

} // namespace host
