#include "diagnosis/files/Patterns.h"

#include <array>

namespace diagnosis {

namespace {

using Words = std::span<const std::uint16_t>;

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

std::vector<Pattern> patternsFor(std::size_t dataPins) {
    switch (dataPins) {
    case 1:
        return {{"alternating bits", Words(alternating1)}, {"the unit's alternating bits", Words(ramp1)}};
    case 2:
        return {{"ramp", Words(rampOn2)},
                {"the unit's ramp", Words(unitRampOn2)},
                {"f0", Words(f0On2)},
                {"a5", Words(a5On2)},
                {"walk", Words(walkOn2)}};
    case 4:
        return {{"ramp", Words(rampOn4)},
                {"the unit's ramp", Words(unitRampOn4)},
                {"f0", Words(f0On4)},
                {"a5", Words(a5On4)},
                {"walk", Words(walkOn4)}};
    default:
        return {};
    }
}

} // namespace diagnosis
