#pragma once

#include <string>
#include <string_view>

namespace bench {

/// Checks a text before the TOML parser reads it. toml++ 3.3 runs into undefined behaviour at characters beyond ASCII
/// outside of strings and comments, where TOML has no use for them, and after a backslash that ends a line of a string.
/// (Nor must the parser get the file's name: it keeps it in memory from a function that may not throw.)
///
/// Returns an empty text if the parser may have it; otherwise what is wrong, with `file`, line and column (in
/// characters) in the form "FILE:LINE:COLUMN: ...".
std::string tomlTextFault(std::string_view text, const std::string& file);

} // namespace bench
