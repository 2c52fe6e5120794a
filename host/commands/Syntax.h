#pragma once

#include <concepts>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace CLI {
class App;
class Option;
} // namespace CLI

namespace host {

/// One argument or option of a command.
class Option {
public:
    /// Rejects a value for which `fault` returns a text.
    const Option& check(std::function<std::string(const std::string&)> fault) const;
    const Option& oneOf(const std::vector<std::string>& values) const;
    const Option& needs(const Option& other) const;
    const Option& excludes(const Option& other) const;
    /// Only named at the end of the help text, which has to fit a screen.
    const Option& rare() const;

private:
    friend class Syntax;
    explicit Option(CLI::Option* made) : option(made) {}
    CLI::Option* option;
};

/// Describes a command line. Values are bound to variables, which must live until the line is parsed; a value that is
/// not given leaves its variable unchanged. `valueName` is the value's name in the help text.
class Syntax {
public:
    explicit Syntax(CLI::App& described) : app(described) {}

    Option addArgument(std::string& value, const char* valueName, const char* about);
    Option addOptionalArgument(std::string& value, const char* valueName, const char* about);
    Option addOption(const char* name, std::string& value, const char* valueName, const char* about);
    /// May be given several times, a value each time.
    Option addRepeatable(const char* name, std::vector<std::string>& values, const char* valueName, const char* about);
    Option addFlag(const char* name, bool& value, const char* about);
    /// A finite number from `lowest` to `highest`.
    Option addNumber(const char* name, double& value, const char* valueName, double lowest, double highest,
                     const char* about);
    /// A whole number, decimal.
    template <std::unsigned_integral Number>
    Option addWhole(const char* name, Number& value, const char* valueName, std::uint64_t lowest, std::uint64_t highest,
                    const char* about) {
        return addWhole(
            name, [&value](std::uint64_t given) { value = static_cast<Number>(given); }, valueName, lowest, highest,
            about);
    }
    /// Text after the options, such as an example.
    void footer(const char* text);
    /// Makes one of the nested subcommands required; `chosen` is called if it is on the line.
    Syntax addSubcommand(const char* name, const char* about, std::function<void()> chosen);

private:
    Option addWhole(const char* name, std::function<void(std::uint64_t)> store, const char* valueName,
                    std::uint64_t lowest, std::uint64_t highest, const char* about);

    CLI::App& app;
};

} // namespace host
