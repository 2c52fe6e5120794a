#include "bench/unit/Recorder.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstring>
#include <limits>
#include <utility>

namespace bench {

namespace {

constexpr std::size_t packetWords = packetBytes / 2;
constexpr std::size_t payloadWords = packetWords - 1;
constexpr std::size_t packetsPerBlock = blockBytes / packetBytes;

static_assert(std::endian::native == std::endian::little, "words in memory are those of a recording");

// @return the position after them.
std::uint8_t* putWords(std::uint8_t* out, std::span<const std::uint16_t> words) {
    std::memcpy(out, words.data(), words.size_bytes());
    return out + words.size_bytes();
}

// A synchronisation sequence without its further word would look like a whole one.
void mendCutSequence(const Segment& segment, std::uint64_t words, std::uint16_t& last) {
    const WordStream& stream = segment.transmission->words;
    if (stream.positionInSequence(segment.firstWord + words) == syncSequence.size() - 1) {
        last = 0;
    }
}

} // namespace

void Recorder::open(std::uint32_t size, bool wrapping) {
    capacity = size;
    wraps = wrapping;
    open_ = false;
    done = false;
    hasWrapped = false;
    pieces.clear();
    forgetFetched();
}

void Recorder::forgetFetched() {
    fetched = 0;
    ahead = 0;
    cursorReady = false;
}

void Recorder::begin(Segment segment, double from, double wordsPerSample) {
    pieces.push_back({std::move(segment), from, wordsPerSample, 0});
    open_ = true;
    done = false;
}

std::uint64_t Recorder::wordsUntil(double now, const Piece& piece) {
    const double words = (now - piece.from) * piece.rate;
    return words > 0.0 ? static_cast<std::uint64_t>(words) : 0;
}

std::uint64_t Recorder::wordsOf(const Piece& piece, double now) const {
    return open_ && &piece == &pieces.back() ? wordsUntil(now, piece) : piece.words;
}

std::uint64_t Recorder::nextWord(double now) const {
    return pieces.back().segment.firstWord + wordsOf(pieces.back(), now);
}

std::uint64_t Recorder::total(double now) const {
    std::uint64_t sum = 0;
    for (const Piece& piece : pieces) {
        sum += wordsOf(piece, now);
    }
    return wraps ? sum : std::min(sum, capacityWords());
}

void Recorder::end(double now) {
    if (!open_) {
        return;
    }
    // A full buffer records no more, however late this is checked.
    std::uint64_t before = 0;
    for (std::size_t index = 0; index + 1 < pieces.size(); ++index) {
        before += pieces[index].words;
    }
    Piece& last = pieces.back();
    last.words = wordsUntil(now, last);
    if (!wraps) {
        last.words = std::min(last.words, capacityWords() - std::min(before, capacityWords()));
    }
    open_ = false;
}

std::uint64_t Recorder::wordsPerBlock() const {
    return format == Framing::Packets ? packetsPerBlock * payloadWords : blockBytes / 2;
}

std::uint64_t Recorder::capacityWords() const {
    return capacity / blockBytes * wordsPerBlock();
}

bool Recorder::full(double now) const {
    return !wraps && capacity != 0 && total(now) >= capacityWords();
}

bool Recorder::wrapped(double now) const {
    return wraps && capacity != 0 && (hasWrapped || total(now) >= capacityWords());
}

void Recorder::finish(double now) {
    end(now);
    hasWrapped = wrapped(now);
    done = true;
}

std::uint64_t Recorder::lastBlock() const {
    return (total(0.0) + wordsPerBlock() - 1) / wordsPerBlock();
}

std::uint64_t Recorder::firstBlock() const {
    const std::uint64_t last = lastBlock();
    const std::uint64_t kept = hasWrapped ? capacity / blockBytes - 1 : last;
    return last - std::min(last, kept);
}

std::uint32_t Recorder::bytesHeld(double now) const {
    std::uint64_t blocks = 0;
    if (done) {
        blocks = lastBlock() - firstBlock();
    } else {
        blocks = wrapped(now) ? capacity / blockBytes - 1 : total(now) / wordsPerBlock();
    }
    return static_cast<std::uint32_t>(blocks * blockBytes - fetched);
}

void Recorder::seek(Cursor& cursor, std::uint64_t word) const {
    cursor = Cursor{};
    cursor.blocksBefore = word / wordsPerBlock();
    while (cursor.piece < pieces.size() && word >= pieces[cursor.piece].words) {
        word -= pieces[cursor.piece].words;
        ++cursor.piece;
    }
    cursor.done = word;
    if (cursor.piece < pieces.size()) {
        cursor.reader = readSegment(pieces[cursor.piece].segment, word);
    }
}

bool Recorder::isContinued(std::size_t index) const {
    if (index + 1 >= pieces.size()) {
        return false;
    }
    const Segment& segment = pieces[index].segment;
    const Segment& next = pieces[index + 1].segment;
    return next.transmission == segment.transmission && next.firstWord == segment.firstWord + pieces[index].words;
}

void Recorder::readBlock(Cursor& cursor) const {
    makeBlock(cursor);
    // A buffer that wraps starts again at its first byte.
    const std::uint64_t place = cursor.blocksBefore++ % (capacity / blockBytes);
    cells.spoil(place * blockBytes, cursor.block);
}

void Recorder::makeBlock(Cursor& cursor) const {
    std::vector<std::uint16_t> payload(wordsPerBlock(), 0);
    std::size_t filled = 0;
    while (filled < payload.size() && cursor.piece < pieces.size()) {
        const Piece& piece = pieces[cursor.piece];
        const std::size_t count = std::min<std::size_t>(payload.size() - filled, piece.words - cursor.done);
        if (count != 0) {
            cursor.reader->fill(std::span(payload).subspan(filled, count));
            filled += count;
            cursor.done += count;
        }
        if (cursor.done == piece.words) {
            if (filled != 0 && !isContinued(cursor.piece)) {
                mendCutSequence(piece.segment, piece.words, payload[filled - 1]);
            }
            ++cursor.piece;
            cursor.done = 0;
            cursor.reader = cursor.piece < pieces.size() ? readSegment(pieces[cursor.piece].segment, 0) : nullptr;
        }
    }
    cursor.block.resize(blockBytes);
    cursor.blockAt = 0;
    std::uint8_t* out = cursor.block.data();
    if (format == Framing::Words) {
        putWords(out, payload);
        return;
    }
    for (std::size_t packet = 0; packet < packetsPerBlock; ++packet) {
        const std::size_t first = packet * payloadWords;
        out = putWords(out, std::span(payload).subspan(first, payloadWords));
        const std::uint16_t trailer = first < filled ? traceTrailer : otherTrailer;
        out = putWords(out, std::span(&trailer, 1));
    }
}

std::size_t Recorder::copyOut(Cursor& cursor, std::uint64_t left, std::span<std::uint8_t> out) const {
    std::size_t copied = 0;
    const std::size_t wanted = std::min<std::size_t>(out.size(), left);
    while (copied < wanted) {
        if (cursor.blockAt == blockBytes) {
            readBlock(cursor);
        }
        const std::size_t count = std::min(wanted - copied, blockBytes - cursor.blockAt);
        std::copy_n(cursor.block.begin() + static_cast<std::ptrdiff_t>(cursor.blockAt), count,
                    out.begin() + static_cast<std::ptrdiff_t>(copied));
        cursor.blockAt += count;
        copied += count;
    }
    return copied;
}

std::size_t Recorder::fetch(std::span<std::uint8_t> out) {
    const std::size_t copied = readAhead(out);
    takeAhead();
    return copied;
}

std::size_t Recorder::readAhead(std::span<std::uint8_t> out) {
    if (!done) {
        return 0;
    }
    if (!cursorReady) {
        seek(fetchCursor, firstBlock() * wordsPerBlock());
        cursorReady = true;
    }
    const std::size_t copied = copyOut(fetchCursor, bytesHeld(0.0) - ahead, out);
    ahead += copied;
    return copied;
}

void Recorder::takeAhead() {
    fetched += std::exchange(ahead, 0);
}

std::size_t Recorder::look(std::span<std::uint8_t> out) const {
    if (!done) {
        return 0;
    }
    Cursor cursor;
    seek(cursor, (firstBlock() + fetched / blockBytes) * wordsPerBlock());
    std::array<std::uint8_t, blockBytes> skipped{};
    copyOut(cursor, bytesHeld(0.0), std::span(skipped).first(fetched % blockBytes));
    return copyOut(cursor, bytesHeld(0.0), out);
}

std::vector<Recorder::Run> Recorder::runs() const {
    std::vector<Run> all;
    for (const Piece& piece : pieces) {
        all.push_back({piece.segment.firstWord, piece.words});
    }
    return all;
}

void Recorder::discard(double now) {
    if (open_) {
        Piece current = std::move(pieces.back());
        const std::uint64_t words = wordsUntil(now, current);
        current.segment.firstWord += words;
        current.from += static_cast<double>(words) / current.rate;
        pieces.clear();
        pieces.push_back(std::move(current));
    } else {
        pieces.clear();
    }
    hasWrapped = false;
    forgetFetched();
}

} // namespace bench
