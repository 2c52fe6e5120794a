#include "toolkit/Text.h"

#include <cmath>
#include <limits>

namespace toolkit {

namespace {

constexpr std::size_t longestQuote = 40;
constexpr std::string_view prefixes = "yzafpnum kMGTPEZY";
constexpr int prefixOfOne = 8; // index of the blank

} // namespace

std::vector<TextLine> textLines(std::string_view text) {
    std::vector<TextLine> lines;
    while (!text.empty()) {
        const std::size_t end = text.find('\n');
        std::string_view line = text.substr(0, end);
        if (!line.empty() && line.back() == '\r') {
            line.remove_suffix(1);
        }
        lines.push_back({line, lines.size() + 1});
        if (end == std::string_view::npos) {
            break;
        }
        text.remove_prefix(end + 1);
    }
    return lines;
}

std::vector<std::string_view> splitAt(std::string_view text, char separator) {
    std::vector<std::string_view> parts;
    for (;;) {
        const std::size_t end = text.find(separator);
        parts.push_back(text.substr(0, end));
        if (end == std::string_view::npos) {
            return parts;
        }
        text.remove_prefix(end + 1);
    }
}

std::vector<std::string> split(std::string_view text, char separator) {
    std::vector<std::string_view> parts = splitAt(text, separator);
    if (parts.back().empty()) {
        parts.pop_back();
    }
    return {parts.begin(), parts.end()};
}

std::string_view trimmed(std::string_view text) {
    const std::size_t begin = text.find_first_not_of(" \t");
    if (begin == std::string_view::npos) {
        return {};
    }
    return text.substr(begin, text.find_last_not_of(" \t") - begin + 1);
}

std::optional<std::string_view> textAfter(std::string_view text, std::string_view mark) {
    const std::size_t at = text.find(mark);
    return at == std::string_view::npos ? std::nullopt : std::optional(text.substr(at + mark.size()));
}

std::optional<KeyValue> keyValue(std::string_view line) {
    const std::size_t equals = line.find('=');
    if (equals == std::string_view::npos) {
        return std::nullopt;
    }
    return KeyValue{line.substr(0, equals), line.substr(equals + 1)};
}

std::optional<double> fractionOf(std::string_view text) {
    // "nan", "-nan", "nan(ind)", "1.#IND": each platform prints them in another way.
    if (text.find_first_of("nN#") != std::string_view::npos && text.size() < 16) {
        if (text.find("nf") != std::string_view::npos || text.find("INF") != std::string_view::npos) {
            return std::numeric_limits<double>::infinity();
        }
        return std::numeric_limits<double>::quiet_NaN();
    }
    double value = 0.0;
    const char* end = text.data() + text.size();
    const auto [stopped, failed] = std::from_chars(text.data(), end, value);
    if (failed != std::errc() || stopped != end) {
        return std::nullopt;
    }
    return value;
}

std::optional<double> scaledNumber(std::string_view text, std::string_view unit) {
    const std::size_t blank = text.find(' ');
    if (blank == std::string_view::npos || !text.ends_with(unit)) {
        return std::nullopt;
    }
    const std::optional<double> value = fractionOf(text.substr(0, blank));
    std::string_view prefix = text.substr(blank + 1);
    prefix.remove_suffix(unit.size());
    if (!value || prefix.size() > 1) {
        return std::nullopt;
    }
    const std::size_t index = prefix.empty() ? std::size_t{prefixOfOne} : prefixes.find(prefix.front());
    if (index == std::string_view::npos) {
        return std::nullopt;
    }
    return *value * std::pow(1000.0, static_cast<int>(index) - prefixOfOne);
}

std::string shown(std::string_view text) {
    std::string out = "\"";
    for (const char c : text.substr(0, longestQuote)) {
        out += c >= ' ' && c < 127 ? c : '?';
    }
    return out + (text.size() > longestQuote ? "...\"" : "\"");
}

std::string enumeration(const std::vector<std::string>& items) {
    std::string text;
    for (std::size_t i = 0; i < items.size(); ++i) {
        text += (i == 0 ? "" : i + 1 == items.size() ? " and " : ", ") + items[i];
    }
    return text;
}

std::string joined(const std::vector<std::string>& parts, const char* separator) {
    std::string all;
    for (const std::string& part : parts) {
        all.append(&part == &parts.front() ? "" : separator).append(part);
    }
    return all;
}

} // namespace toolkit
