#pragma once

#include <string>
#include <string_view>

namespace diagnosis::page {

/// Text as it may stand in an element or an attribute: markup is escaped, what is no UTF-8 or no printable character
/// becomes a question mark.
std::string escaped(std::string_view text);

/// A number with at most so many decimals, without zeros at its end.
std::string number(double value, int decimals = 2);

/// A number with just so many decimals.
std::string fixed(double value, int decimals);

/// <name class="...">content</name>; the content is markup already.
std::string element(const char* name, const char* classes, const std::string& content);

/// A cell of a table.
std::string cell(const std::string& content, const char* classes = "");

} // namespace diagnosis::page
