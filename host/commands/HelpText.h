#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace CLI {
class App;
class FormatterBase;
class Option;
class ParseError;
} // namespace CLI

namespace host {

/// Heading of the options that every command has.
inline constexpr const char* commonGroup = "Common";
/// Where the descriptions of options begin.
inline constexpr std::size_t optionColumn = 24;

/// Writes help texts that fit a screen.
std::shared_ptr<CLI::FormatterBase> helpFormatter();
/// Lines that fit a screen.
std::string helpText(const std::string& text);

bool hasSubcommands(const CLI::App& app);
std::vector<const CLI::Option*> positionalsOf(const CLI::App& app);
/// The innermost subcommand on the line.
const CLI::App& activeApp(const CLI::App& app);
/// An option or subcommand that there is not, and the nearest that there is.
std::string unknownText(const CLI::App& app, const std::vector<std::string>& arguments);
/// What is wrong with a command line, and what was probably meant.
std::string usageText(const CLI::App& app, const CLI::ParseError& error);

} // namespace host
