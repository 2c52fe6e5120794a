#pragma once

#include <charconv>
#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// What the readers of the receiver's text files share.

namespace diagnosis {

struct TextLine {
    std::string_view text; ///< without its end; views the text that was split
    std::size_t number;    ///< from 1
};

/// Lines that end in LF or CR LF. Nothing stands behind the last line's end.
std::vector<TextLine> textLines(std::string_view text);

/// Throws Failure (BadInput) "FILE:LINE: WHAT"; line 0 leaves the line out.
[[noreturn]] void damaged(const std::string& file, std::size_t line, const std::string& what);

/// Up to `limit` bytes of a file from its start; throws Failure (BadInput) when it cannot be read.
std::string readBytes(const std::filesystem::path& file, std::size_t limit);

/// A text in quotes, cut to a length that suits a message, with what cannot be printed replaced.
std::string shown(std::string_view text);

std::string_view trimmed(std::string_view text);
std::vector<std::string_view> splitAt(std::string_view text, char separator);

/// Splits "key=value" at its first "="; nothing without one.
struct KeyValue {
    std::string_view key;
    std::string_view value;
};
std::optional<KeyValue> keyValue(std::string_view line);

/// The whole text as a number, or nothing.
template <class Number>
std::optional<Number> numberOf(std::string_view text, int base = 10) {
    Number value{};
    const char* end = text.data() + text.size();
    const auto [stopped, failed] = std::from_chars(text.data(), end, value, base);
    if (failed != std::errc() || stopped != end) {
        return std::nullopt;
    }
    return value;
}

/// A decimal fraction, "nan" and "inf" in the spellings of all platforms included.
std::optional<double> fractionOf(std::string_view text);

/// "50.00 MHz" with the unit "Hz" is 5e7. Prefixes y to Y.
std::optional<double> scaledNumber(std::string_view text, std::string_view unit);

} // namespace diagnosis
