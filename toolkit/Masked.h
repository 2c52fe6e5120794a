#pragma once

#include <string>
#include <string_view>

// Names and texts from elsewhere may have bytes that move a terminal's cursor, change its colours or end a line early.

namespace toolkit {

/// Bytes of the UTF-8 character at the beginning of a text; 0 if there is none.
std::size_t characterLength(std::string_view text);

/// With a question mark for each control character and each byte that is no UTF-8. Line ends are control characters.
std::string masked(std::string_view text);

/// The same for a text of several lines, whose line ends stay.
std::string maskedLines(std::string_view text);

/// Prints on the standard output, masked as maskedLines() does. Text that goes there passes through this.
void printText(std::string_view text);

/// One masked line on the standard error output, after "orvtrace: ".
void printNotice(std::string_view text);

} // namespace toolkit
