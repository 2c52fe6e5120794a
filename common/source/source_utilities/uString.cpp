#include "common/source/source_utilities/uString.h"

#include "rcvr/framework/compiler/Compiler.h"

#include <array>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <ios>
#include <locale>
#include <span>
#include <sstream>

namespace VX_QRS {

namespace {

void require(const void* pointer, const char* failure) {
    if (pointer == nullptr) {
        throw uString::error(failure);
    }
}

// Formatted through one fixed buffer, so that the width in a format cannot make a text arbitrarily long.
const char* formatted(std::string& out, bool append, const char* format, ...) ORV_PRINTF_CHECKED(3, 4);

const char* formatted(std::string& out, bool append, const char* format, ...) {
    std::array<char, 1024> buffer{};
    std::va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(buffer.data(), buffer.size(), format, arguments);
    va_end(arguments);
    if (!append) {
        out.clear();
    }
    return out.append(buffer.data()).c_str();
}

struct Prefix {
    double scale; // also the smallest value with this prefix
    const char* word;
    const char* symbol;
};

constexpr std::array<Prefix, 17> decimalPrefixes{{
    {1e24, "yotta", "Y"},
    {1e21, "zetta", "Z"},
    {1e18, "exa", "E"},
    {1e15, "peta", "P"},
    {1e12, "tera", "T"},
    {1e9, "giga", "G"},
    {1e6, "mega", "M"},
    {1e3, "kilo", "k"},
    {1, "", ""},
    {1e-3, "milli", "m"},
    {1e-6, "micro", "u"},
    {1e-9, "nano", "n"},
    {1e-12, "pico", "p"},
    {1e-15, "femto", "f"},
    {1e-18, "atto", "a"},
    {1e-21, "zepto", "z"},
    {1e-24, "yocto", "y"},
}};

constexpr std::array<Prefix, 8> iecPrefixes{{
    {0x1p80, "yobi", "Yi"},
    {0x1p70, "zebi", "Zi"},
    {0x1p60, "exbi", "Ei"},
    {0x1p50, "pebi", "Pi"},
    {0x1p40, "tebi", "Ti"},
    {0x1p30, "gibi", "Gi"},
    {0x1p20, "mebi", "Mi"},
    {0x1p10, "kibi", "Ki"},
}};

} // namespace

template <class Number>
Number uString::streamNumber(const char* text) {
    require(text, "unable to convert null string to numeric");
    if (*text == '\0') {
        throw error("unable to convert empty string to numeric");
    }
    std::ios_base::fmtflags base = std::ios_base::dec;
    const char* digits = text;
    if (text[0] == '0') {
        if (text[1] == '\0') {
            return Number{};
        }
        const bool hexadecimal = text[1] == 'x' || text[1] == 'X';
        base = hexadecimal ? std::ios_base::hex : std::ios_base::oct;
        digits = text + (hexadecimal ? 2 : 1);
    }
    // The stream sets the number to 0 when it reads none, and to the nearest limit on overflow.
    std::istringstream stream(digits);
    stream.imbue(std::locale::classic());
    stream.setf(base, std::ios_base::basefield);
    Number number{};
    stream >> number;
    return number;
}

template short uString::streamNumber<short>(const char*);
template unsigned short uString::streamNumber<unsigned short>(const char*);
template int uString::streamNumber<int>(const char*);
template unsigned uString::streamNumber<unsigned>(const char*);
template long uString::streamNumber<long>(const char*);
template unsigned long uString::streamNumber<unsigned long>(const char*);
template long long uString::streamNumber<long long>(const char*);
template unsigned long long uString::streamNumber<unsigned long long>(const char*);
template float uString::streamNumber<float>(const char*);
template double uString::streamNumber<double>(const char*);

bool uString::toBool(const char* text) {
    require(text, "unable to convert null string to boolean");
    const std::string_view word(text);
    if (word.empty()) {
        throw error("unable to convert empty string to boolean");
    }
    if (word == "true" || word == "TRUE" || word == "True") {
        return true;
    }
    if (word == "false" || word == "FALSE" || word == "False") {
        return false;
    }
    throw error("unable to convert \"" + std::string(word) + "\" to boolean");
}

namespace {

// The caller's format arrives as a parameter, which no compiler can check; these are the only such calls.
template <class Value>
const char* formattedBy(const char* format, Value value, std::string& out, bool append) {
    ORV_FORMAT_FROM_CALLER_BEGIN
    return formatted(out, append, format, value);
    ORV_FORMAT_FROM_CALLER_END
}

} // namespace

const char* uString::formatSigned(long long value, bool wide, std::string& out, bool append, const char* format) {
    if (wide) {
        return formattedBy(format != nullptr ? format : "%lld", value, out, append);
    }
    return formattedBy(format != nullptr ? format : "%d", static_cast<int>(value), out, append);
}

const char* uString::formatUnsigned(unsigned long long value, bool wide, std::string& out, bool append,
                                    const char* format) {
    if (wide) {
        return formattedBy(format != nullptr ? format : "%llu", value, out, append);
    }
    return formattedBy(format != nullptr ? format : "%d", static_cast<unsigned>(value), out, append);
}

const char* uString::formatFloating(double value, std::string& out, bool append, const char* format) {
    return formattedBy(format != nullptr ? format : "%f", value, out, append);
}

double uString::prefixDecimal(double value, bool symbol, const char*& prefix) {
    const Prefix* found = &decimalPrefixes.back();
    for (const Prefix& entry : decimalPrefixes) {
        if (value >= entry.scale) {
            found = &entry;
            break;
        }
    }
    prefix = symbol ? found->symbol : found->word;
    return found->scale;
}

double uString::prefixBinary(double value, bool symbol, bool iec, const char*& prefix) {
    for (std::size_t i = 0; i < iecPrefixes.size(); ++i) {
        if (value >= iecPrefixes[i].scale) {
            // The decimal table begins with the same eight magnitudes.
            const Prefix& names = iec ? iecPrefixes[i] : decimalPrefixes[i];
            prefix = symbol ? names.symbol : names.word;
            return iecPrefixes[i].scale;
        }
    }
    prefix = "";
    return 1;
}

double uString::prefixDecimal(double value, bool symbol, std::string& prefix) {
    const char* text = nullptr;
    const double scale = prefixDecimal(value, symbol, text);
    prefix = text;
    return scale;
}

double uString::prefixBinary(double value, bool symbol, bool iec, std::string& prefix) {
    const char* text = nullptr;
    const double scale = prefixBinary(value, symbol, iec, text);
    prefix = text;
    return scale;
}

const char* uString::toTextWithPrefix(double value, std::string& out, bool symbol, bool append, const char* format) {
    const char* prefix = nullptr;
    const double scale = prefixDecimal(value, symbol, prefix);
    toText(value / scale, out, append, format);
    return out.append(prefix).c_str();
}

void uString::trimLeft(std::string& text, const char* set) {
    text.erase(0, text.find_first_not_of(set));
}

void uString::trimRight(std::string& text, const char* set) {
    text.erase(text.find_last_not_of(set) + 1);
}

namespace {

constexpr const char* nullDelimiter = "unable to split with null delimeter";

// Position of the delimiter; npos for an empty one, which would match everywhere.
std::size_t findDelimiter(std::string_view text, std::string_view delimiter, std::size_t from) {
    return delimiter.empty() ? std::string_view::npos : text.find(delimiter, from);
}

} // namespace

int uString::splitOnce(const std::string& text, const char* delimiter, std::string& first, std::string& second) {
    require(delimiter, nullDelimiter);
    const std::size_t at = findDelimiter(text, delimiter, 0);
    if (at == std::string::npos) {
        const bool empty = text.empty();
        first = text;
        second.clear();
        return empty ? 0 : 1;
    }
    // In temporaries: either result may be the text itself.
    std::string head = text.substr(0, at);
    std::string tail = text.substr(at + std::strlen(delimiter));
    first = std::move(head);
    second = std::move(tail);
    return 2;
}

int uString::splitOnce(const char* text, const char* delimiter, std::string& first, std::string& second) {
    require(text, "unable to split null string");
    return splitOnce(std::string(text), delimiter, first, second);
}

std::size_t uString::split(std::vector<std::string>& out, const std::string& text, const char* delimiter) {
    require(delimiter, nullDelimiter);
    const std::size_t width = std::strlen(delimiter);
    std::size_t from = 0;
    while (from < text.size()) {
        const std::size_t at = findDelimiter(text, delimiter, from);
        if (at == std::string::npos) {
            out.push_back(text.substr(from));
            break;
        }
        out.push_back(text.substr(from, at - from));
        from = at + width;
    }
    return out.size();
}

std::size_t uString::split(std::vector<std::string>& out, const char* text, const char* delimiter) {
    require(text, "unable to split null string");
    return split(out, std::string(text), delimiter);
}

const char* uString::replace(std::string& text, const char* original, const char* replacement) {
    require(original, "unable to perform string replacement from null original text");
    require(replacement, "unable to perform string replacement with null replacement text");
    const std::size_t width = std::strlen(original);
    std::string result;
    std::size_t from = 0;
    for (std::size_t at = findDelimiter(text, original, 0); at != std::string::npos;
         at = findDelimiter(text, original, from)) {
        result.append(text, from, at - from).append(replacement);
        from = at + width;
    }
    if (from != 0) {
        text = result.append(text, from);
    }
    return text.c_str();
}

} // namespace VX_QRS
