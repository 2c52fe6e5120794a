#include "diagnosis/files/Patterns.h"

#include "rcvr/framework/TracePatterns.h"

#include <algorithm>
#include <array>

namespace diagnosis {

namespace {

namespace words = Vx::Qrs::Trace::patterns;

constexpr std::string_view alternatingUnit = "the unit's alternating bits";
constexpr std::string_view rampUnit = "the unit's ramp";

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
    static constexpr std::array<Pattern, 2> onePin{
        {{"alternating bits", words::alternation}, {alternatingUnit, words::unitRampOnePin}}};
    static constexpr std::array<Pattern, 5> twoPins{{{"ramp", words::rampTwoPins},
                                                     {rampUnit, words::unitRampTwoPins},
                                                     {"f0", words::f0TwoPins},
                                                     {"a5", words::a5TwoPins},
                                                     {"walk", words::walkTwoPins}}};
    static constexpr std::array<Pattern, 5> fourPins{{{"ramp", words::rampFourPins},
                                                      {rampUnit, words::unitRampFourPins},
                                                      {"f0", words::f0FourPins},
                                                      {"a5", words::a5FourPins},
                                                      {"walk", words::walkFourPins}}};
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

std::span<const Pattern> usualPatterns(std::size_t dataPins) {
    const std::span<const Pattern> all = patternsFor(dataPins);
    return all.first(std::min<std::size_t>(all.size(), 2));
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
