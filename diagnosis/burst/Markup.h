#pragma once

#include <string>
#include <string_view>

namespace diagnosis::page {

/// Text for an element or an attribute: markup is escaped; a question mark replaces everything that is not UTF-8 or
/// cannot be printed.
std::string escaped(std::string_view text);

/// <name class="...">content</name>; the content is markup already.
std::string element(const char* name, const char* classes, const std::string& content);

/// A part of the page that a link can name.
std::string section(const std::string& id, const std::string& content);

/// A cell of a table.
std::string cell(const std::string& content, const char* classes = "");

} // namespace diagnosis::page
