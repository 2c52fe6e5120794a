#pragma once

#include "common/source/source_utilities/source_utilities_error.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace VX_QRS {

/// Names for the switches of the conversions, where a call gives them.
inline constexpr bool appended = true;
inline constexpr bool withSymbol = true;

/// Conversions between text and values. Stateless and thread-safe. Failures are uString::error.
class uString {
public:
    class error : public source_utilities_error {
    public:
        using source_utilities_error::source_utilities_error;
    };

    /// Text to number. "0x10" is 16, "010" is 8, "10" is 10; only the first character selects the base. A text that does
    /// not begin with a number is 0, text after a number is ignored, a value out of range becomes the nearest limit, and
    /// "-1" as unsigned is the largest value. The base does not apply to floating types: "0x10" as a double is 10.0.
    /// Character-sized types are read as int and then narrowed. Throws only on a null or an empty text.
    template <class Number>
    static Number toNumber(const char* text);
    template <class Number>
    static Number toNumber(const std::string& text) {
        return toNumber<Number>(text.c_str());
    }

    /// "true", "TRUE", "True", "false", "FALSE", "False"; throws on anything else, including null and an empty text.
    static bool toBool(const char* text);
    static bool toBool(const std::string& text) { return toBool(text.c_str()); }

    /// Number to text: replaces `out`, or appends to it, and returns its characters. `format` is a printf format for one
    /// value: an int or unsigned for types of up to 32 bits, a long long or unsigned long long for wider ones, a double
    /// for floating types. Null means "%f" for floating types and "%d" for integers, which writes an unsigned value of
    /// 2^31 and above as negative; 64-bit values are written in full. A result of more than 1023 characters is cut.
    template <class Number>
    static const char* toText(Number value, std::string& out, bool append = false, const char* format = nullptr);

    /// The decimal prefix for a value: "mega" or, with `symbol`, "M", and its scale, 1e6. A value of 1 up to 1000
    /// has an empty one; 0 and negative values have the last of the table, "yocto".
    static double prefixDecimal(double value, bool symbol, const char*& prefix);
    static double prefixDecimal(double value, bool symbol, std::string& prefix);

    /// The prefix for a value on the scale of powers of 1024, empty below 1024. With `iec` "mebi" or "Mi", without
    /// it "mega" or "M".
    static double prefixBinary(double value, bool symbol, bool iec, const char*& prefix);
    static double prefixBinary(double value, bool symbol, bool iec, std::string& prefix);

    /// The value divided by its decimal scale and formatted, followed by the prefix: 25000000 with `symbol` and the
    /// format "%3.2f " is "25.00 M".
    static const char* toTextWithPrefix(double value, std::string& out, bool symbol, bool append = false,
                                        const char* format = nullptr);

    /// Removes the characters of `set` from one end, in place.
    static void trimLeft(std::string& text, const char* set);
    static void trimRight(std::string& text, const char* set);

    /// Splits at the first `delimiter`. Returns 2 when it was found; otherwise `first` is the whole text and the result
    /// 1, or 0 for an empty text. An empty delimiter is never found. Throws on null.
    static int splitOnce(const char* text, const char* delimiter, std::string& first, std::string& second);
    static int splitOnce(const std::string& text, const char* delimiter, std::string& first, std::string& second);

    /// Appends all pieces to `out` and returns its size. "a;;b" has three pieces, "a;" has one, an empty text none.
    /// Time is linear in the text.
    static std::size_t split(std::vector<std::string>& out, const char* text, const char* delimiter);
    static std::size_t split(std::vector<std::string>& out, const std::string& text, const char* delimiter);

    /// Replaces every occurrence in place, left to right, without searching the inserted text, and returns the text's
    /// characters. An empty original changes nothing. Throws on null.
    static const char* replace(std::string& text, const char* original, const char* replacement);

private:
    template <class Number>
    static Number streamNumber(const char* text);
    static const char* formatSigned(long long value, bool wide, std::string& out, bool append, const char* format);
    static const char* formatUnsigned(unsigned long long value, bool wide, std::string& out, bool append,
                                      const char* format);
    static const char* formatFloating(double value, std::string& out, bool append, const char* format);
};

/// One instance per built-in type, defined in uString.cpp.
extern template short uString::streamNumber<short>(const char*);
extern template unsigned short uString::streamNumber<unsigned short>(const char*);
extern template int uString::streamNumber<int>(const char*);
extern template unsigned uString::streamNumber<unsigned>(const char*);
extern template long uString::streamNumber<long>(const char*);
extern template unsigned long uString::streamNumber<unsigned long>(const char*);
extern template long long uString::streamNumber<long long>(const char*);
extern template unsigned long long uString::streamNumber<unsigned long long>(const char*);
extern template float uString::streamNumber<float>(const char*);
extern template double uString::streamNumber<double>(const char*);

template <class Number>
Number uString::toNumber(const char* text) {
    static_assert(std::is_arithmetic_v<Number> && !std::is_same_v<Number, bool>);
    if constexpr (sizeof(Number) == 1) {
        return static_cast<Number>(streamNumber<int>(text));
    } else {
        return streamNumber<Number>(text);
    }
}

template <class Number>
const char* uString::toText(Number value, std::string& out, bool append, const char* format) {
    static_assert(std::is_arithmetic_v<Number>);
    constexpr bool wide = sizeof(Number) > sizeof(int);
    if constexpr (std::is_floating_point_v<Number>) {
        return formatFloating(double{value}, out, append, format);
    } else if constexpr (std::is_signed_v<Number>) {
        return formatSigned(value, wide, out, append, format);
    } else {
        return formatUnsigned(value, wide, out, append, format);
    }
}

} // namespace VX_QRS
