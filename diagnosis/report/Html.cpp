#include "diagnosis/report/Html.h"

#include "toolkit/Masked.h"

#include <array>
#include <cmath>
#include <cstdio>

namespace diagnosis::page {

std::string escaped(std::string_view text) {
    std::string out;
    for (const char c : toolkit::masked(text)) {
        if (c == '&') {
            out += "&amp;";
        } else if (c == '<') {
            out += "&lt;";
        } else if (c == '>') {
            out += "&gt;";
        } else if (c == '"') {
            out += "&quot;";
        } else {
            out += c;
        }
    }
    return out;
}

std::string fixed(double value, int decimals) {
    if (!std::isfinite(value)) {
        return "-";
    }
    std::array<char, 400> text{};
    std::snprintf(text.data(), text.size(), "%.*f", decimals, value);
    return text.data();
}

std::string number(double value, int decimals) {
    std::string out = fixed(value, decimals);
    if (out.find('.') != std::string::npos) {
        while (out.back() == '0') {
            out.pop_back();
        }
        if (out.back() == '.') {
            out.pop_back();
        }
    }
    return out == "-0" ? "0" : out;
}

std::string element(const char* name, const char* classes, const std::string& content) {
    std::string out = std::string("<") + name;
    if (classes != nullptr && *classes != '\0') {
        out += std::string(" class=\"") + classes + "\"";
    }
    return out + ">" + content + "</" + name + ">";
}

std::string cell(const std::string& content, const char* classes) {
    return element("td", classes, content);
}

} // namespace diagnosis::page
