#pragma once

#include <cstddef>
#include <string>

// Results for a person: lines that fit the terminal, and colour where it shows. Colour repeats what the words say.

namespace host {

enum class Colour { Auto, Always, Never };

/// For this process. Auto: on a terminal that shows colours, unless NO_COLOR is set.
void useColour(Colour colour);

/// The text with lines of at most `columns` characters, broken between words; what continues a line is indented below its
/// text. With colour, the words that judge are coloured: green for good, yellow for little to spare or unknown, red for a
/// fault.
std::string terminalText(const std::string& text, std::size_t columns, bool coloured);

/// Prints a result on the standard output, masked as printText() does.
void printResult(const std::string& text);

} // namespace host
