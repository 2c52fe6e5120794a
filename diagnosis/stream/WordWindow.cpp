#include "diagnosis/stream/WordWindow.h"

#include <algorithm>
#include <utility>

namespace diagnosis {

namespace {

constexpr std::size_t keptFaults = 4096; ///< waiting; more are counted only

} // namespace

WordWindow::WordWindow(ByteReader source, bool hasPackets)
    : reader(std::move(source), hasPackets), packets(hasPackets) {}

void WordWindow::append(const PayloadChunk& from) {
    const std::uint64_t first = wordsRead();
    segments.push_back({first, from.byte});
    held.insert(held.end(), from.words.begin(), from.words.end());
    if (from.fault != PayloadChunk::Fault::None && faults.size() < keptFaults) {
        faults.push_back({from.fault, from.byte, from.bytes, first, wordsRead()});
    }
    if (from.cutsZeros) {
        zeroCuts.push_back(wordsRead());
    }
}

bool WordWindow::load() {
    if (!reader.next(chunk)) {
        return false;
    }
    if (packets && chunk.fault == PayloadChunk::Fault::Rest) {
        // No packet, so nothing that the unit sent whole.
        faults.push_back({chunk.fault, chunk.byte, chunk.bytes, wordsRead(), wordsRead()});
        return true;
    }
    if (packets) {
        badTrailers += chunk.fault == PayloadChunk::Fault::BadTrailer;
        cutPackets += chunk.fault == PayloadChunk::Fault::Cut;
        tracePackets += chunk.trace && chunk.fault != PayloadChunk::Fault::BadTrailer;
        otherPackets += !chunk.trace;
    }
    if (!chunk.trace) {
        return true;
    }
    append(chunk);
    return true;
}

std::span<const std::uint16_t> WordWindow::from(std::uint64_t position, std::size_t most) {
    while (wordsRead() < position + most && load()) {
    }
    if (position >= wordsRead()) {
        return {};
    }
    const std::size_t begin = position - base;
    return std::span<const std::uint16_t>(held).subspan(begin, std::min(most, held.size() - begin));
}

void WordWindow::forget(std::uint64_t position) {
    // Moving the rest costs as much as it frees.
    const std::uint64_t old = std::min<std::uint64_t>(position - base, held.size());
    if (position < base || old * 2 < held.size()) {
        return;
    }
    held.erase(held.begin(), held.begin() + static_cast<std::ptrdiff_t>(old));
    base += old;
    while (segments.size() > 1 && segments[1].word <= base) {
        segments.pop_front();
    }
    while (zeroCuts.size() > 1 && zeroCuts[1] <= base) {
        zeroCuts.pop_front();
    }
}

std::uint64_t WordWindow::byteOf(std::uint64_t position) const {
    if (segments.empty()) {
        return 0;
    }
    const auto after = std::upper_bound(segments.begin(), segments.end(), position,
                                        [](std::uint64_t word, const Segment& each) { return word < each.word; });
    const Segment& own = after == segments.begin() ? *after : *(after - 1);
    return own.byte + 2 * (position - std::min(position, own.word));
}

bool WordWindow::nextFault(std::uint64_t position, Fault& fault) {
    if (faults.empty() || faults.front().firstWord > position) {
        return false;
    }
    fault = faults.front();
    faults.pop_front();
    return true;
}

bool WordWindow::cutsZerosAt(std::uint64_t position, std::uint64_t reach) const {
    const auto after = std::upper_bound(zeroCuts.begin(), zeroCuts.end(), position);
    return after != zeroCuts.begin() && *(after - 1) + reach >= position;
}

} // namespace diagnosis
