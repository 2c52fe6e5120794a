#include "common/source/properties/AddedProperties.h"

#include "common/source/Exception.h"
#include "common/source/properties/ChannelProperties.h"
#include "common/source/source_utilities/PropertyParser.h"
#include "common/source/source_utilities/TextFile.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <limits>
#include <locale>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string_view>

namespace VX_QRS::ORV::CLIENT {

namespace {

using Value = ChannelProperty::Value;

/// The whole text as a number in the bases of the properties file. The channel itself reads as far as it can, so that
/// "60M" would be 60: a user's text has to be a number to its end.
std::optional<std::int64_t> wholeNumber(std::string_view text) {
    const bool isNegative = text.starts_with('-');
    text.remove_prefix(isNegative ? 1 : 0);
    int base = 10;
    if (!isNegative && text.size() > 1 && text.front() == '0') {
        base = text[1] == 'x' || text[1] == 'X' ? 16 : 8;
        text.remove_prefix(base == 16 ? 2 : 1);
    }
    std::uint32_t number = 0;
    const auto [end, failed] = std::from_chars(text.data(), text.data() + text.size(), number, base);
    if (failed != std::errc() || end != text.data() + text.size()) {
        return std::nullopt;
    }
    return isNegative ? -std::int64_t{number} : std::int64_t{number};
}

bool isUnsigned(std::string_view text) {
    return wholeNumber(text).value_or(-1) >= 0;
}

bool isSigned(std::string_view text) {
    using Limits = std::numeric_limits<std::int32_t>;
    const std::optional<std::int64_t> number = wholeNumber(text);
    return number && *number >= Limits::min() && *number <= Limits::max();
}

bool isReal(const std::string& text) {
    if (text.find_first_not_of("0123456789.eE+-") != std::string::npos) {
        return false;
    }
    std::istringstream stream(text);
    stream.imbue(std::locale::classic());
    double number = 0.0;
    return (stream >> number) && stream.peek() == std::istringstream::traits_type::eof();
}

bool isBufferSize(std::string_view text) {
    const std::int64_t number = wholeNumber(text).value_or(-1);
    if (number >= 0 && number < bufferSizeCount) {
        return true;
    }
    for (std::int64_t size = smallestBufferBytes; size <= largestBufferBytes; size *= 2) {
        if (number == size) {
            return true;
        }
    }
    return false;
}

bool isList(std::string_view text) {
    if (text.empty()) {
        return true;
    }
    for (;;) {
        const std::size_t comma = text.find(',');
        if (!isSigned(text.substr(0, comma))) {
            return false;
        }
        if (comma == std::string_view::npos) {
            return true;
        }
        text.remove_prefix(comma + 1);
    }
}

/// What the value has to be, where it is something else.
const char* expectedOf(Value kind, const std::string& value) {
    switch (kind) {
    case Value::Unsigned:
        return isUnsigned(value) ? nullptr : "must be a whole number";
    case Value::Signed:
        return isSigned(value) ? nullptr : "must be a whole number, with or without a sign";
    case Value::Real:
        return isReal(value) ? nullptr : "must be a decimal number";
    case Value::BufferSize:
        return isBufferSize(value) ? nullptr : "must be a number from 0 to 9, or a size of the unit's buffer in bytes";
    case Value::List:
        return isList(value) ? nullptr : "must be whole numbers separated by commas";
    case Value::Text:
    case Value::Words:
        break;
    }
    return nullptr;
}

void checkValue(const ChannelProperty& property, const std::string& value) {
    const std::string name = property.name;
    if (property.words != nullptr && !isOneOf(property.words, value)) {
        throw std::runtime_error(name + " must be " + property.words);
    }
    if (const char* expected = expectedOf(property.value, value); expected != nullptr) {
        throw std::runtime_error(name + " " + expected + ", not '" + value + "'");
    }
}

/// What a property follows from that cannot be added.
std::string sourceOf(const ChannelProperty& property) {
    const std::string key = property.follows;
    return key.empty() ? "the name of the channel settings file" : key + " of the channel settings file";
}

bool isControl(char letter) {
    return (static_cast<unsigned char>(letter) < ' ' && letter != '\t') || letter == 0x7F;
}

std::string withoutByteOrderMark(const std::string& text) {
    constexpr std::string_view mark = "\xEF\xBB\xBF";
    return text.starts_with(mark) ? text.substr(mark.size()) : text;
}

} // namespace

AddedProperty parseAddedProperty(const std::string& text) {
    if (std::any_of(text.begin(), text.end(), isControl)) {
        throw std::runtime_error("control characters are not expected here, only plain text");
    }
    if (text.size() > propertyLine::limit) {
        throw std::runtime_error("a property has " + std::to_string(propertyLine::limit) + " characters at most");
    }
    if (text.starts_with('[')) {
        throw std::runtime_error("a section header is not expected here: the properties are added to every channel's");
    }
    if (text.find('=') == std::string::npos) {
        throw std::runtime_error("'" + text + "' is not NAME=VALUE");
    }
    AddedProperty added;
    propertyLine::split(text.substr(0, text.find_last_not_of(" \t") + 1), added.name, added.value);
    const ChannelProperty* property = findChannelProperty(added.name);
    if (property == nullptr) {
        throw std::runtime_error("there is no property '" + added.name + "'");
    }
    if (property->isReadOnly) {
        throw std::runtime_error(added.name + " is read only");
    }
    if (property->follows != nullptr) {
        throw std::runtime_error(added.name + " cannot be added: it follows from " + sourceOf(*property));
    }
    std::string value = added.value;
    try {
        propertyLine::expandVariable(value);
    } catch (const Exception& undefined) {
        throw std::runtime_error(undefined.detail());
    }
    checkValue(*property, value);
    return added;
}

void addProperty(std::vector<AddedProperty>& all, const AddedProperty& next) {
    std::erase_if(all, [&](const AddedProperty& each) { return each.name == next.name; });
    all.push_back(next);
}

std::vector<AddedProperty> readAddedProperties(const std::string& path) {
    std::string text;
    if (!textFile::readWhole(path, text)) {
        throw std::runtime_error("cannot read " + path + ", which " + addedPropertiesVariable +
                                 " names; correct the variable or unset it");
    }
    std::vector<AddedProperty> all;
    std::istringstream lines(withoutByteOrderMark(text));
    std::size_t number = 1;
    for (std::string line; std::getline(lines, line); ++number) {
        if (line.ends_with('\r')) {
            line.pop_back();
        }
        if (line.starts_with('#') || line.find_first_not_of(" \t") == std::string::npos) {
            continue;
        }
        try {
            addProperty(all, parseAddedProperty(line));
        } catch (const std::runtime_error& fault) {
            throw std::runtime_error(path + ":" + std::to_string(number) + ": " + fault.what() +
                                     "; correct or remove the line");
        }
    }
    return all;
}

} // namespace VX_QRS::ORV::CLIENT
