#pragma once

#include <string>
#include <string_view>

namespace bench {

/// Checks a text before the TOML parser reads it. toml++ 3.3 has undefined behaviour at non-ASCII characters outside of
/// strings and comments, where TOML does not allow them, and after a backslash that ends a line of a string.
/// (The parser must not get the file's name either: it copies it in a noexcept function.)
///
/// Returns an empty text if the parser can read it; otherwise the error, with `file`, line and column (in
/// characters) in the form "FILE:LINE:COLUMN: ...".
std::string tomlTextFault(std::string_view text, const std::string& file);

} // namespace bench
