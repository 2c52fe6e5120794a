#pragma once

#include "host/commands/Syntax.h"
#include "toolkit/ExitCode.h"

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace host {

/// One subcommand of orvtrace. To add one: derive a class, write a free function that makes one, and put that
/// function's name into the list in main.cpp.
///
/// setUp() is called once; then run(), once, if the command line can be parsed and names this subcommand. A Failure that
/// run() throws ends the program with its code and one line on the standard error output; with `json` set, an object
/// with the error goes to the standard output too. "see 'orvtrace NAME --help'" is added to a Failure of the code Usage.
/// Each subcommand has --json and --help.
class Command {
public:
    Command(std::string commandName, std::string oneLine) : name(std::move(commandName)), about(std::move(oneLine)) {}
    virtual ~Command() = default;
    Command(const Command&) = delete;
    Command& operator=(const Command&) = delete;

    /// Describes arguments and options, bound to members of this object.
    virtual void setUp(Syntax& syntax) = 0;

    /// Does the work. Results go to the standard output, everything else to the standard error output.
    virtual toolkit::ExitCode run() = 0;

    const std::string name;  ///< as on the command line
    const std::string about; ///< one line for the list of subcommands
    bool json = false;       ///< the user wants JSON
};

/// What --version prints: name and value, in order. The first is the program's own version.
using VersionFacts = std::vector<std::pair<std::string, std::string>>;
/// The first of the facts that runCommandLine() was given; empty before.
std::string programVersion();
using CommandList = std::vector<std::unique_ptr<Command>>;

/// The whole program: parses the line, runs the command that it names, returns the exit status.
int runCommandLine(const CommandList& commands, const VersionFacts& version, int argc, const char* const* argv);

} // namespace host
