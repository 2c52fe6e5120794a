#include "toolkit/Units.h"

#include "toolkit/Text.h"

#include <algorithm>
#include <cmath>
#include <span>
#include <string>

namespace toolkit {

namespace {

struct Unit {
    std::string_view name;
    double factor;
};

constexpr Unit times[] = {{"s", 1.0},   {"ms", 1e-3}, {"us", 1e-6}, {"\xC2\xB5s", 1e-6},
                          {"ns", 1e-9}, {"min", 60},  {"h", 3600.0}};
constexpr Unit rates[] = {{"Hz", 1.0}, {"k", 1e3}, {"kHz", 1e3}, {"M", 1e6}, {"MHz", 1e6}, {"G", 1e9}, {"GHz", 1e9}};
constexpr double kibi = 1024.0;
constexpr Unit sizes[] = {{"b", 1.0},
                          {"k", kibi},
                          {"kb", kibi},
                          {"kib", kibi},
                          {"m", kibi* kibi},
                          {"mb", kibi* kibi},
                          {"mib", kibi* kibi},
                          {"g", kibi* kibi* kibi},
                          {"gb", kibi* kibi* kibi},
                          {"gib", kibi* kibi* kibi}};

std::optional<double> valueOf(std::string_view text, std::span<const Unit> units) {
    // The exponent's letter is no unit: it is followed by a digit or a sign.
    const std::size_t end = text.find_last_of("0123456789.");
    if (end == std::string_view::npos) {
        return std::nullopt;
    }
    const auto isOfNumber = [](char letter) {
        return (letter >= '0' && letter <= '9') || std::string_view("+-.eE").find(letter) != std::string_view::npos;
    };
    const std::string_view digits = text.substr(0, end + 1);
    std::string number(digits);
    number.erase(0, number.starts_with('+') ? 1 : 0);
    const auto value =
        std::all_of(digits.begin(), digits.end(), isOfNumber) ? fractionOf(number) : std::optional<double>();
    if (!value || !std::isfinite(*value)) {
        return std::nullopt;
    }
    if (end + 1 == text.size()) {
        return value;
    }
    const std::string_view unit = trimmed(text.substr(end + 1));
    const auto found = std::find_if(units.begin(), units.end(), [&](const Unit& each) { return each.name == unit; });
    return found == units.end() ? std::nullopt : std::optional(*value * found->factor);
}

} // namespace

std::optional<double> secondsOf(std::string_view text) {
    return valueOf(text, times);
}

std::optional<double> hertzOf(std::string_view text) {
    return valueOf(text, rates);
}

std::optional<double> bytesOf(std::string_view text) {
    std::string lower(text);
    std::transform(lower.begin(), lower.end(), lower.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
    // "1e3" has no unit, and no size is written with an exponent.
    return valueOf(lower, sizes);
}

} // namespace toolkit
