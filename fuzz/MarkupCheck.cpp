#include "fuzz/MarkupCheck.h"

#include "fuzz/Require.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace fuzz {

namespace {

constexpr auto elements = std::to_array<std::string_view>(
    {"b",    "body",  "circle",  "code", "dd",    "details", "div",  "dl",   "dt",    "footer", "h1",   "h2",
     "h3",   "head",  "html",    "li",   "line",  "link",    "main", "meta", "p",     "path",   "rect", "section",
     "span", "style", "summary", "svg",  "table", "td",      "text", "th",   "title", "tr",     "ul"});
constexpr std::array<std::string_view, 2> withoutEnd{"link", "meta"};
constexpr auto attributes = std::to_array<std::string_view>(
    {"aria-label", "charset", "class", "colspan", "content", "cx",  "cy",   "d",     "height",      "href",
     "id",         "lang",    "name",  "opacity", "r",       "rel", "role", "style", "text-anchor", "viewBox",
     "width",      "x",       "x1",    "x2",      "xmlns",   "y",   "y1",   "y2"});
constexpr std::array<std::string_view, 5> entities{"&amp;", "&lt;", "&gt;", "&quot;", "&nbsp;"};

template <class Names>
bool known(const Names& names, std::string_view name) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

class Checker {
public:
    explicit Checker(std::string_view markup) : rest(markup) {}

    void run() {
        while (!rest.empty()) {
            if (rest.front() == '<') {
                tag();
            } else {
                text(rest.substr(0, rest.find('<')));
            }
        }
        require(open.empty(), "every element is closed");
    }

private:
    void text(std::string_view content) {
        characters(content);
        rest.remove_prefix(content.size());
    }

    /// Text of an element or of an attribute.
    static void characters(std::string_view content) {
        require(content.find_first_of("<>\"") == std::string_view::npos, "markup in a text is escaped");
        for (std::size_t at = content.find('&'); at != std::string_view::npos; at = content.find('&', at + 1)) {
            require(std::any_of(entities.begin(), entities.end(),
                                [&](std::string_view entity) { return content.substr(at).starts_with(entity); }),
                    "an ampersand is escaped");
        }
    }

    void tag() {
        rest.remove_prefix(1);
        const bool end = take("/");
        const std::string_view name = rest.substr(0, rest.find_first_of(" />"));
        require(known(elements, name), "elements are those of the pages");
        rest.remove_prefix(name.size());
        if (end) {
            require(take(">") && !open.empty() && open.back() == name, "elements are closed in their order");
            open.pop_back();
            return;
        }
        while (take(" ")) {
            attribute();
        }
        if (take("/>")) {
            return;
        }
        require(take(">"), "a tag ends");
        if (name == "style") {
            const std::size_t stop = rest.find("</style>");
            require(stop != std::string_view::npos, "a style sheet ends");
            rest.remove_prefix(stop);
        }
        if (!known(withoutEnd, name)) {
            open.push_back(name);
        }
    }

    void attribute() {
        const std::string_view name = rest.substr(0, rest.find('='));
        require(known(attributes, name), "attributes are those of the pages");
        rest.remove_prefix(name.size());
        require(take("=\""), "an attribute has a value");
        const std::string_view value = rest.substr(0, rest.find('"'));
        characters(value);
        rest.remove_prefix(value.size());
        require(take("\""), "a value ends");
    }

    bool take(std::string_view mark) {
        const bool there = rest.starts_with(mark);
        rest.remove_prefix(there ? mark.size() : 0);
        return there;
    }

    std::string_view rest;
    std::vector<std::string_view> open;
};

/// The first character of a text in UTF-8, or nothing, with its length.
struct Character {
    std::uint32_t code = 0;
    std::size_t bytes = 0;
};
Character characterAt(std::string_view text) {
    const auto byte = [&](std::size_t at) { return static_cast<std::uint8_t>(text[at]); };
    const std::uint8_t first = byte(0);
    const std::size_t length = first < 0x80                    ? 1
                               : first >= 0xC2 && first < 0xE0 ? 2
                               : first >= 0xE0 && first < 0xF0 ? 3
                               : first >= 0xF0 && first < 0xF5 ? 4
                                                               : 0;
    if (length == 0 || length > text.size()) {
        return {};
    }
    std::uint32_t code = length == 1 ? first : first & (0x7FU >> length);
    for (std::size_t at = 1; at < length; ++at) {
        if ((byte(at) & 0xC0) != 0x80) {
            return {};
        }
        code = code << 6 | (byte(at) & 0x3F);
    }
    constexpr std::array<std::uint32_t, 5> least{0, 0, 0x80, 0x800, 0x10000};
    const bool surrogate = code >= 0xD800 && code < 0xE000;
    return code < least[length] || code > 0x10FFFF || surrogate ? Character{} : Character{code, length};
}

} // namespace

void requirePrintable(std::string_view text) {
    while (!text.empty()) {
        const Character character = characterAt(text);
        require(character.bytes != 0, "text is UTF-8");
        const bool control = character.code < ' ' || (character.code >= 0x7F && character.code < 0xA0);
        require(!control || character.code == '\n', "text has no control characters");
        text.remove_prefix(character.bytes);
    }
}

void requirePage(std::string_view page) {
    constexpr std::string_view head = "<!DOCTYPE html>\n";
    require(page.starts_with(head), "a page has its type");
    requirePrintable(page);
    Checker(page.substr(head.size())).run();
}

void requireDrawing(std::string_view file) {
    requirePrintable(file);
    Checker(file).run();
}

} // namespace fuzz
