#include "toolkit/Format.h"

#include <fmt/core.h>

#include <array>
#include <cmath>
#include <utility>

namespace toolkit {

std::string frequencyText(double hertz) {
    constexpr std::array<std::pair<double, const char*>, 3> scales{{{1e9, "GHz"}, {1e6, "MHz"}, {1e3, "kHz"}}};
    for (const auto& [scale, unit] : scales) {
        if (hertz >= scale) {
            return fmt::format("{:.4g} {}", hertz / scale, unit);
        }
    }
    return fmt::format("{:.4g} Hz", hertz);
}

std::string fixedText(double value, int decimals) {
    return std::isfinite(value) ? fmt::format("{:.{}f}", value, decimals) : std::string("-");
}

std::string numberText(double value, int decimals) {
    std::string out = fixedText(value, decimals);
    if (out.find('.') != std::string::npos) {
        out.resize(out.find_last_not_of('0') + 1);
        if (out.back() == '.') {
            out.pop_back();
        }
    }
    return out == "-0" ? "0" : out;
}

std::string percentText(double share) {
    return fixedText(share * 100.0, share > 0.0 && share < 0.001 ? 4 : 1) + " %";
}

std::string sizeText(std::uint64_t bytes) {
    constexpr std::array units{"bytes", "KiB", "MiB", "GiB"};
    double value = static_cast<double>(bytes);
    std::size_t unit = 0;
    while (value >= 1024.0 && unit + 1 < units.size()) {
        value /= 1024.0;
        ++unit;
    }
    return fmt::format("{:.{}f} {}", value, unit == 0 ? 0 : 2, units[unit]);
}

std::string countText(std::uint64_t count, const std::string& what) {
    return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

} // namespace toolkit
