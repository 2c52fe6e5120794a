#pragma once

#include "bench/signal/WordStream.h"

#include <cstdint>
#include <vector>

namespace bench {

/// The levels of the lines of a group, slot by slot, for readers that look at many slots close to each other: the
/// stream's words are read in pieces and kept. The stream must outlive it.
class SlotLevels {
public:
    SlotLevels(const WordStream& words, unsigned dataPins) : stream(words), pins(dataPins) {}

    /// The level of a line, 0 for the top bit of the group. Slots before the start are low, and so are lines that the
    /// group does not have.
    bool operator()(unsigned line, std::int64_t slot) {
        if (slot < 0 || line >= pins) {
            return false;
        }
        const std::uint64_t bit = static_cast<std::uint64_t>(slot) * pins + line;
        std::uint64_t index = bit / wordBits - first;
        if (index >= kept.size()) { // also when it is below the first
            load(bit / wordBits);
            index = bit / wordBits - first;
        }
        return ((kept[index] >> (wordBits - 1 - bit % wordBits)) & 1) != 0;
    }

private:
    void load(std::uint64_t word);

    const WordStream& stream;
    unsigned pins;
    std::uint64_t first = 0;
    std::vector<std::uint16_t> kept;
};

} // namespace bench
