#include "bench/signal/SlotLevels.h"

#include <algorithm>

namespace bench {

namespace {

// Enough history before the wanted word for a line's memory; the rest is for the slots that are asked for next.
constexpr std::uint64_t wordsBefore = 32;
constexpr std::size_t piece = 256;

} // namespace

void SlotLevels::load(std::uint64_t word) {
    first = word - std::min(word, wordsBefore);
    kept.resize(piece);
    stream.fill(first, kept);
}

} // namespace bench
