#include "diagnosis/burst/Markup.h"

#include "toolkit/Masked.h"

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

std::string element(const char* name, const char* classes, const std::string& content) {
    std::string out = std::string("<") + name;
    if (classes != nullptr && *classes != '\0') {
        out += std::string(" class=\"") + classes + "\"";
    }
    return out + ">" + content + "</" + name + ">";
}

std::string section(const std::string& id, const std::string& content) {
    return content.empty() ? content : "<section id=\"" + id + "\">" + content + "</section>";
}

std::string cell(const std::string& content, const char* classes) {
    return element("td", classes, content);
}

} // namespace diagnosis::page
