#pragma once

#include <string>
#include <string_view>

namespace VX_QRS::textFile {

// The whole file, read as text, whatever its bytes are. False when it cannot be opened, a directory included. A
// failure further on ends the text there.
bool read(const std::string& path, std::string& text);

// Takes the next line off the front of the text. A line ends at the first of the characters `ends`, which is removed
// with it, or behind `limit` characters. False at the end of the text.
bool takeLine(std::string_view& text, std::string_view ends, std::string_view::size_type limit, std::string_view& line);

} // namespace VX_QRS::textFile
