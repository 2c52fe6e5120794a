#include "diagnosis/files/Text.h"

#include "toolkit/ExitCode.h"

#include <cmath>
#include <fstream>
#include <limits>

namespace diagnosis {

namespace {

constexpr std::size_t longestQuote = 40;
constexpr std::string_view prefixes = "yzafpnum kMGTPEZY";
constexpr int prefixOfOne = 8; // place of the blank

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

void damaged(const std::string& file, std::size_t line, const std::string& what) {
    std::string text = file;
    if (line != 0) {
        text += ":" + std::to_string(line);
    }
    throw toolkit::Failure(toolkit::ExitCode::BadInput, text + ": " + what);
}

std::string readBytes(const std::filesystem::path& file, std::size_t limit) {
    std::ifstream in(file, std::ios::binary);
    std::string bytes;
    std::string block(std::size_t{1} << 16, '\0');
    while (in && bytes.size() < limit) {
        in.read(block.data(), static_cast<std::streamsize>(block.size()));
        bytes.append(block.data(), static_cast<std::size_t>(in.gcount()));
    }
    if (!in.eof() && bytes.size() < limit) {
        damaged(file.string(), 0, "cannot be read; check that it is there and that it may be read");
    }
    bytes.resize(std::min(bytes.size(), limit));
    return bytes;
}

std::string shown(std::string_view text) {
    std::string out = "\"";
    for (const char c : text.substr(0, longestQuote)) {
        out += c >= ' ' && c < 127 ? c : '?';
    }
    return out + (text.size() > longestQuote ? "...\"" : "\"");
}

std::string_view trimmed(std::string_view text) {
    while (!text.empty() && (text.front() == ' ' || text.front() == '\t')) {
        text.remove_prefix(1);
    }
    while (!text.empty() && (text.back() == ' ' || text.back() == '\t')) {
        text.remove_suffix(1);
    }
    return text;
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

std::optional<KeyValue> keyValue(std::string_view line) {
    const std::size_t equals = line.find('=');
    if (equals == std::string_view::npos) {
        return std::nullopt;
    }
    return KeyValue{line.substr(0, equals), line.substr(equals + 1)};
}

std::optional<double> fractionOf(std::string_view text) {
    // "nan", "-nan", "nan(ind)", "1.#IND": what is no number prints differently everywhere.
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
    const std::size_t place = prefix.empty() ? std::size_t{prefixOfOne} : prefixes.find(prefix.front());
    if (place == std::string_view::npos) {
        return std::nullopt;
    }
    return *value * std::pow(1000.0, static_cast<int>(place) - prefixOfOne);
}

} // namespace diagnosis
