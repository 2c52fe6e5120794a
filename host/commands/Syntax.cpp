#include "host/commands/Syntax.h"

#include "host/commands/HelpText.h"
#include "toolkit/Units.h"

#include <CLI/CLI.hpp>
#include <fmt/core.h>

#include <cmath>
#include <limits>
#include <string_view>

namespace host {

namespace {

constexpr std::string_view exampleWord = "Example: "; ///< begins a line of its own in a footer

/// A number between two limits. Only decimal digits, as everywhere in this program.
CLI::Validator numberCheck(double lowest, double highest, const char* kind, const char* letters) {
    return CLI::Validator(
        [=](const std::string& text) {
            double value = 0.0;
            if (text.find_first_not_of(letters) != std::string::npos || !CLI::detail::lexical_cast(text, value)) {
                return fmt::format("'{}' is not a {}", text, kind);
            }
            std::string tested = text;
            return CLI::Range(lowest, highest)(tested).empty()
                       ? std::string()
                       : fmt::format("must be from {:.15g} to {:.15g}", lowest, highest);
        },
        "");
}

} // namespace

const Option& Option::check(std::function<std::string(const std::string&)> fault) const {
    option->check(std::move(fault));
    return *this;
}

const Option& Option::oneOf(const std::vector<std::string>& values) const {
    option->check(CLI::IsMember(values));
    return *this;
}

const Option& Option::needs(const Option& other) const {
    option->needs(other.option);
    return *this;
}

const Option& Option::excludes(const Option& other) const {
    option->excludes(other.option);
    return *this;
}

Option Syntax::addArgument(std::string& value, const char* valueName, const char* about) {
    const Option made = addOptionalArgument(value, valueName, about);
    made.option->required();
    return made;
}

Option Syntax::addOptionalArgument(std::string& value, const char* valueName, const char* about) {
    return addOption(valueName, value, valueName, about);
}

Option Syntax::addOption(const char* name, std::string& value, const char* valueName, const char* about) {
    return Option(app.add_option(name, value, about)->option_text(valueName));
}

Option Syntax::addRepeatable(const char* name, std::vector<std::string>& values, const char* valueName,
                             const char* about) {
    return Option(app.add_option(name, values, about)->option_text(valueName)->allow_extra_args(false));
}

Option Syntax::addFlag(const char* name, bool& value, const char* about) {
    return Option(app.add_flag(name, value, about));
}

Option Syntax::addNumber(const char* name, double& value, const char* valueName, double lowest, double highest,
                         const char* about) {
    return Option(app.add_option(name, value, about)
                      ->option_text(valueName)
                      ->check(numberCheck(lowest, highest, "number", "0123456789+-.eE")));
}

const Option& Option::common() const {
    option->group(commonGroup);
    return *this;
}

Option Syntax::addMeasure(const char* name, double& value, const char* valueName, Reader read, const char* kind,
                          double lowest, double highest, const char* about) {
    const auto store = [&value, read](const std::string& text) { value = read(text).value(); };
    return Option(app.add_option_function<std::string>(name, store, about)
                      ->option_text(valueName)
                      ->check([=](const std::string& text) {
                          const std::optional<double> given = read(text);
                          if (!given) {
                              return fmt::format("'{}' is not a {}", text, kind);
                          }
                          return *given >= lowest && *given <= highest
                                     ? std::string()
                                     : fmt::format("must be from {:.15g} to {:.15g}", lowest, highest);
                      }));
}

Option Syntax::addSeconds(const char* name, double& value, double lowest, double highest, const char* about) {
    return addMeasure(name, value, "TIME", toolkit::secondsOf, "time, such as 2, 500ms or 1min", lowest, highest,
                      about);
}

Option Syntax::addHertz(const char* name, double& value, double lowest, double highest, const char* about) {
    return addMeasure(name, value, "RATE", toolkit::hertzOf, "rate, such as 50e6 or 50MHz", lowest, highest, about);
}

Option Syntax::addWhole(const char* name, std::function<void(std::uint64_t)> store, const char* valueName,
                        std::uint64_t lowest, std::uint64_t highest, const char* about) {
    // The parser's own conversion reads "010" as octal.
    const auto read = [store = std::move(store)](const std::string& text) { store(std::stoull(text)); };
    return Option(app.add_option_function<std::string>(name, read, about)
                      ->option_text(valueName)
                      ->check(numberCheck(static_cast<double>(lowest), static_cast<double>(highest), "whole number",
                                          "0123456789-")));
}

void Syntax::footer(const char* text) {
    std::string flowing = text;
    for (std::size_t at = flowing.find('\n'); at != std::string::npos; at = flowing.find('\n', at + 1)) {
        if (flowing.compare(at + 1, exampleWord.size(), exampleWord) != 0) {
            flowing[at] = ' ';
        }
    }
    app.footer(flowing);
}

Syntax Syntax::addSubcommand(const char* name, const char* about, std::function<void()> chosen) {
    app.require_subcommand(1);
    CLI::App* made = app.add_subcommand(name, about);
    made->final_callback(std::move(chosen));
    return Syntax(*made);
}

} // namespace host
