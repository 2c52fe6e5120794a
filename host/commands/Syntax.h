#pragma once

#include <concepts>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
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
    /// One that several commands have: their help names it in one line, and `orvtrace help options` explains it.
    const Option& common() const;

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
    /// A time in seconds, plain or with a unit: "0.5", "500ms".
    Option addSeconds(const char* name, double& value, double lowest, double highest, const char* about);
    /// A rate in Hz, plain or with a unit: "50e6", "50MHz".
    Option addHertz(const char* name, double& value, double lowest, double highest, const char* about);
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
    using Reader = std::optional<double> (*)(std::string_view);
    Option addMeasure(const char* name, double& value, const char* valueName, Reader read, const char* kind,
                      double lowest, double highest, const char* about);
    Option addWhole(const char* name, std::function<void(std::uint64_t)> store, const char* valueName,
                    std::uint64_t lowest, std::uint64_t highest, const char* about);

    CLI::App& app;
};

} // namespace host
