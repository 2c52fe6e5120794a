#include "host/report/Html.h"

#include <array>
#include <cmath>
#include <cstdio>

namespace host::page {

namespace {

/// Bytes of the UTF-8 character at the front; 0 when there is none.
std::size_t characterLength(std::string_view text) {
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned char first = byte(0);
    const std::size_t length = first < 0x80   ? 1
                               : first < 0xC2 ? 0
                               : first < 0xE0 ? 2
                               : first < 0xF0 ? 3
                               : first < 0xF5 ? 4
                                              : 0;
    if (length == 0 || length > text.size())
        return 0;
    for (std::size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xC0) != 0x80)
            return 0;
    }
    return length;
}

} // namespace

std::string escaped(std::string_view text) {
    std::string out;
    while (!text.empty()) {
        const std::size_t length = characterLength(text);
        const char c = text.front();
        if (c == '&')
            out += "&amp;";
        else if (c == '<')
            out += "&lt;";
        else if (c == '>')
            out += "&gt;";
        else if (c == '"')
            out += "&quot;";
        else if (length == 0 || (length == 1 && static_cast<unsigned char>(c) < ' ') || c == 127)
            out += '?';
        else
            out += text.substr(0, length);
        text.remove_prefix(length == 0 ? 1 : length);
    }
    return out;
}

std::string fixed(double value, int decimals) {
    if (!std::isfinite(value))
        return "-";
    std::array<char, 400> text{};
    std::snprintf(text.data(), text.size(), "%.*f", decimals, value);
    return text.data();
}

std::string number(double value, int decimals) {
    std::string out = fixed(value, decimals);
    if (out.find('.') != std::string::npos) {
        while (out.back() == '0')
            out.pop_back();
        if (out.back() == '.')
            out.pop_back();
    }
    return out == "-0" ? "0" : out;
}

std::string element(const char* name, const char* classes, const std::string& content) {
    std::string out = std::string("<") + name;
    if (classes != nullptr && *classes != '\0')
        out += std::string(" class=\"") + classes + "\"";
    return out + ">" + content + "</" + name + ">";
}

std::string cell(const std::string& content, const char* classes) {
    return element("td", classes, content);
}

} // namespace host::page
