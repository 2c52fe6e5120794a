#include "toolkit/Numbers.h"

#include "toolkit/Format.h"

#include <charconv>
#include <cmath>

namespace toolkit {

namespace {

template <class Number>
std::string checked(const std::string& text, Number lowest, Number highest, const char* kind) {
    Number value{};
    const auto [end, failed] = std::from_chars(text.data(), text.data() + text.size(), value);
    const bool whole = end == text.data() + text.size() && !text.empty();
    bool number = whole && failed != std::errc::invalid_argument;
    if constexpr (std::is_floating_point_v<Number>) {
        number = number && std::isfinite(value);
    }
    if (!number) {
        return "'" + text + "' is not a " + kind;
    }
    if (failed == std::errc::result_out_of_range || value < lowest || value > highest) {
        return print("must be from %.15g to %.15g", static_cast<double>(lowest), static_cast<double>(highest));
    }
    return {};
}

} // namespace

TextCheck numberFrom(double lowest, double highest) {
    return [=](const std::string& text) { return checked(text, lowest, highest, "number"); };
}

TextCheck wholeNumberFrom(std::int64_t lowest, std::int64_t highest) {
    return [=](const std::string& text) { return checked(text, lowest, highest, "whole number"); };
}

} // namespace toolkit
