#include "client/patterns/PatternRun.h"

#include "client/patterns/Patterns.h"

#include <algorithm>
#include <cstring>

namespace VX_QRS::ORV::CLIENT {

namespace {

// Number of words up to the first difference.
std::size_t equalWords(const std::uint16_t* left, const std::uint16_t* right, std::size_t count) {
    using Group = std::uint64_t;
    constexpr std::size_t groupWords = sizeof(Group) / sizeof(std::uint16_t);
    std::size_t equal = 0;
    for (; count - equal >= groupWords; equal += groupWords) {
        Group l = 0;
        Group r = 0;
        std::memcpy(&l, left + equal, sizeof l);
        std::memcpy(&r, right + equal, sizeof r);
        if (l != r) {
            break;
        }
    }
    while (equal < count && left[equal] == right[equal]) {
        ++equal;
    }
    return equal;
}

} // namespace

PatternRun::PatternRun(const Pattern& pattern) {
    const auto* const cycle = dynamic_cast<const PatternCycle*>(&pattern);
    if (cycle == nullptr || cycle->sequence().empty() || cycle->sequence().size() > longestSequence) {
        return;
    }
    length = cycle->sequence().size();
    for (std::size_t i = 0; i < words.size(); ++i) {
        words[i] = cycle->sequence()[i % length];
    }
}

std::size_t PatternRun::follow(std::uint16_t last, std::span<const std::uint16_t> recorded) const {
    const auto end = words.begin() + static_cast<std::ptrdiff_t>(length);
    const auto found = std::find(words.begin(), end, last);
    if (found == end) {
        return 0;
    }
    const auto next = static_cast<std::size_t>(found - words.begin()) + 1;
    return equalWords(words.data() + next, recorded.data(), std::min(recorded.size(), words.size() - next));
}

} // namespace VX_QRS::ORV::CLIENT
