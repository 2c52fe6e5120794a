#pragma once

#include <charconv>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// Taking texts apart: lines, lists, keys, numbers. Views point into the text that was passed.

namespace toolkit {

struct TextLine {
    std::string_view text; ///< without its end
    std::size_t number;    ///< from 1
};

/// Lines that end in LF or CR LF. The end of the last line begins no further one.
std::vector<TextLine> textLines(std::string_view text);

/// The parts between separators. An empty text has one empty part.
std::vector<std::string_view> splitAt(std::string_view text, char separator);

/// The items of a list. An empty text has none, and a separator at the end begins none.
std::vector<std::string> split(std::string_view text, char separator);

/// "a, b, c" with the separator ", ".
std::string joined(const std::vector<std::string>& parts, const char* separator);

/// Without blanks and tabs at both ends.
std::string_view trimmed(std::string_view text);

/// The text after the first occurrence of a mark; nothing without one.
std::optional<std::string_view> textAfter(std::string_view text, std::string_view mark);

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

/// The text in quotes for a message: shortened, with a question mark for each character that cannot be printed.
std::string shown(std::string_view text);

/// "a, b and c".
std::string enumeration(const std::vector<std::string>& items);

} // namespace toolkit
