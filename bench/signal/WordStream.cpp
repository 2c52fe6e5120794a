#include "bench/signal/WordStream.h"

#include <algorithm>
#include <utility>

namespace bench {

WordStream::WordStream(ContentPointer content, unsigned syncEvery) : source(std::move(content)), every(syncEvery) {}

void WordStream::fill(std::uint64_t first, std::span<std::uint16_t> out) const {
    if (!framed()) {
        source->fill(first, out);
        return;
    }
    std::uint64_t round = first / period();
    std::uint64_t inside = first % period();
    while (!out.empty()) {
        std::size_t count = 0;
        if (inside < syncSequence.size()) {
            count = std::min<std::size_t>(out.size(), syncSequence.size() - inside);
            std::copy_n(syncSequence.begin() + static_cast<std::ptrdiff_t>(inside), count, out.begin());
        } else {
            count = std::min<std::size_t>(out.size(), period() - inside);
            source->fill(round * every + inside - syncSequence.size(), out.first(count));
        }
        out = out.subspan(count);
        inside += count;
        if (inside == period()) {
            inside = 0;
            ++round;
        }
    }
}

std::uint16_t WordStream::at(std::uint64_t index) const {
    std::uint16_t word = 0;
    fill(index, std::span(&word, 1));
    return word;
}

std::optional<unsigned> WordStream::positionInSequence(std::uint64_t index) const {
    if (!framed() || index % period() >= syncSequence.size()) {
        return std::nullopt;
    }
    return static_cast<unsigned>(index % period());
}

std::uint64_t WordStream::nextSequence(std::uint64_t index) const {
    return framed() ? (index + period() - 1) / period() * period() : index;
}

bool lineBit(const WordStream& stream, unsigned dataPins, std::uint64_t slot, unsigned line) {
    const std::uint64_t bit = slot * dataPins + line;
    const auto shift = static_cast<unsigned>(wordBits - 1 - bit % wordBits);
    return ((stream.at(bit / wordBits) >> shift) & 1) != 0;
}

} // namespace bench
