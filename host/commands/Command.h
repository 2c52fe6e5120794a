#pragma once

#include "toolkit/ExitCode.h"

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace CLI {
class App;
}

namespace host {

/// One subcommand of orvtrace. To add one: derive a class, give it a free function that makes one, and put that
/// function's name into the list in main.cpp.
///
/// What every subcommand can rely on: setUp() is called once, then, if its name stands on the command line and the line
/// can be parsed, run() once. A Failure that run() throws ends the program with its code and with one line on the
/// standard error output; with `json` set an object {"outcome", "exitCode", "error"} goes to the standard output too. A
/// Failure of the code Usage has "see 'orvtrace NAME --help'" added to it.
class Command {
public:
    Command(std::string commandName, std::string oneLine) : name(std::move(commandName)), about(std::move(oneLine)) {}
    virtual ~Command() = default;
    Command(const Command&) = delete;
    Command& operator=(const Command&) = delete;

    /// Adds options and arguments to the subcommand's own parser, bound to members of this object. Every command
    /// that has results calls addJson() here.
    virtual void setUp(CLI::App& app) = 0;

    /// Does the work. Results go to the standard output, everything else to the standard error output.
    virtual toolkit::ExitCode run() = 0;

    const std::string name;  ///< as on the command line
    const std::string about; ///< one line for the list of subcommands
    bool json = false;       ///< the user wants JSON

protected:
    /// The flag --json.
    void addJson(CLI::App& app);
};

/// What --version tells: name and value, in order. The first is the program's own version.
using VersionFacts = std::vector<std::pair<std::string, std::string>>;
using CommandList = std::vector<std::unique_ptr<Command>>;

/// The whole program: parses the line, runs the command that it names, gives the exit status.
int runCommandLine(const CommandList& commands, const VersionFacts& version, int argc, const char* const* argv);

} // namespace host
