#pragma once

#include <string_view>

// Strict checks of what the diagnosis writes for a browser: every element is closed in its order, elements and attributes
// are only those that the pages have, and text contains neither markup nor bytes that are no characters.

namespace fuzz {

/// A page of the report.
void requirePage(std::string_view page);
/// A drawing as a file of its own.
void requireDrawing(std::string_view file);

/// UTF-8 without control characters other than line ends.
void requirePrintable(std::string_view text);

} // namespace fuzz
