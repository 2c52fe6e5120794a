#include "diagnosis/files/Patterns.h"

#include <algorithm>
#include <array>

namespace diagnosis {

namespace {

constexpr std::string_view alternatingUnit = "the unit's alternating bits";
constexpr std::string_view rampUnit = "the unit's ramp";

constexpr std::array<std::uint16_t, 1> alternating1{0x5555};
constexpr std::array<std::uint16_t, 1> ramp1{0xAAAA};

constexpr std::array<std::uint16_t, 1> rampOn2{0x1B1B};
constexpr std::array<std::uint16_t, 1> unitRampOn2{0x6C6C};
constexpr std::array<std::uint16_t, 1> f0On2{0x3333};
constexpr std::array<std::uint16_t, 1> a5On2{0x6666};
constexpr std::array<std::uint16_t, 3> walkOn2{0x1861, 0x8618, 0x6186};

constexpr std::array<std::uint16_t, 4> rampOn4{0x0123, 0x4567, 0x89AB, 0xCDEF};
constexpr std::array<std::uint16_t, 4> unitRampOn4{0x1234, 0x5678, 0x9ABC, 0xDEF0};
constexpr std::array<std::uint16_t, 1> f0On4{0x0F0F};
constexpr std::array<std::uint16_t, 1> a5On4{0x5A5A};
constexpr std::array<std::uint16_t, 5> walkOn4{0x0124, 0x8012, 0x4801, 0x2480, 0x1248};

} // namespace

std::optional<std::uint16_t> Pattern::next(std::uint16_t word) const {
    for (std::size_t i = 0; i < words.size(); ++i) {
        if (words[i] == word) {
            return words[(i + 1) % words.size()];
        }
    }
    return std::nullopt;
}

std::span<const Pattern> patternsFor(std::size_t dataPins) {
    static constexpr std::array<Pattern, 2> onePin{{{"alternating bits", alternating1}, {alternatingUnit, ramp1}}};
    static constexpr std::array<Pattern, 5> twoPins{
        {{"ramp", rampOn2}, {rampUnit, unitRampOn2}, {"f0", f0On2}, {"a5", a5On2}, {"walk", walkOn2}}};
    static constexpr std::array<Pattern, 5> fourPins{
        {{"ramp", rampOn4}, {rampUnit, unitRampOn4}, {"f0", f0On4}, {"a5", a5On4}, {"walk", walkOn4}}};
    switch (dataPins) {
    case 1:
        return onePin;
    case 2:
        return twoPins;
    case 4:
        return fourPins;
    default:
        return {};
    }
}

std::optional<Pattern> patternNamed(std::size_t dataPins, std::string_view name) {
    const std::span<const Pattern> patterns = patternsFor(dataPins);
    const auto found =
        std::find_if(patterns.begin(), patterns.end(), [=](const Pattern& pattern) { return pattern.name == name; });
    return found == patterns.end() ? std::nullopt : std::optional(*found);
}

Pattern unitRamp(std::size_t dataPins) {
    return patternsFor(dataPins == 1 || dataPins == 2 ? dataPins : 4)[1];
}

} // namespace diagnosis
