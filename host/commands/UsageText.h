#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
class ParseError;
} // namespace CLI

namespace host {

/// What is wrong with a command line, in the words of the help text.
std::string usageText(const CLI::App& app, const CLI::ParseError& error);

/// The one of the known words that a mistyped one was probably meant to be; empty without one.
std::string nearestWord(const std::string& word, const std::vector<std::string>& known);

} // namespace host
