#include "diagnosis/stream/ExpectedStream.h"

#include <algorithm>
#include <map>
#include <numeric>
#include <vector>

namespace diagnosis {

namespace {

constexpr std::uint16_t frameFirst = 0xFFFF;
constexpr std::uint16_t frameSecond = halfSynchronisation;
constexpr std::size_t fewestDistances = 3; ///< that make sequences regular

struct Marks {
    std::vector<std::size_t> places;
    std::vector<std::size_t> zeros; ///< words of zeros before each
};

Marks findMarks(SequenceKind kind, std::span<const std::uint16_t> words, std::uint16_t mask) {
    Marks marks;
    std::size_t zeros = 0;
    for (std::size_t i = 0; i < words.size(); ++i) {
        if (isMarkAt(kind, words, i, mask)) {
            marks.places.push_back(i);
            marks.zeros.push_back(zeros);
        }
        zeros = (words[i] & mask) == 0 ? zeros + 1 : 0;
    }
    return marks;
}

template <class Value>
Value mostFrequent(const std::vector<Value>& values, std::size_t& count) {
    std::map<Value, std::size_t> counts;
    for (const Value& value : values) {
        ++counts[value];
    }
    Value best{};
    count = 0;
    for (const auto& [value, times] : counts) {
        if (times > count) {
            count = times;
            best = value;
        }
    }
    return best;
}

/// The word after the first marks if it hardly ever changes. Later ones may be those of lanes that were swapped.
std::optional<std::uint16_t> furtherWord(const Marks& marks, std::span<const std::uint16_t> words) {
    constexpr std::size_t enough = 8;
    std::vector<std::uint16_t> all;
    for (const std::size_t place : marks.places) {
        if (place + 1 < words.size() && all.size() < enough + enough / 2) {
            all.push_back(words[place + 1]);
        }
    }
    std::size_t count = 0;
    const std::uint16_t word = mostFrequent(all, count);
    return count >= enough ? std::optional(word) : std::nullopt;
}

Regularity learnWithMask(SequenceKind kind, std::span<const std::uint16_t> words, bool patternWords,
                         std::uint16_t mask) {
    const Marks marks = findMarks(kind, words, mask);
    Regularity learned;
    learned.kind = kind;
    learned.laneMask = mask;
    learned.marks = marks.places.size();
    learned.zeros = kind == SequenceKind::Frame ? 1 : limits::syncZeros;
    learned.trailing = kind == SequenceKind::Frame ? 0 : 1;
    std::vector<std::size_t> distances;
    for (std::size_t i = 1; i < marks.places.size(); ++i) {
        distances.push_back(marks.places[i] - marks.places[i - 1]);
    }
    std::size_t count = 0;
    const std::size_t usual = mostFrequent(distances, count);
    if (kind == SequenceKind::Zeros && patternWords && !marks.zeros.empty()) {
        std::size_t alike = 0;
        learned.zeros =
            static_cast<std::uint32_t>(std::max<std::size_t>(mostFrequent(marks.zeros, alike), limits::syncZeros));
    }
    // Beside the usual distance only damage makes others, and damage is rare or at the end.
    if (count < fewestDistances || 2 * count < distances.size() || usual <= learned.length()) {
        return learned;
    }
    learned.period = static_cast<std::uint32_t>(usual);
    for (std::size_t i = 0; i < distances.size(); ++i) {
        if (distances[i] == usual) {
            learned.firstMark = marks.places[i];
            break;
        }
    }
    // What comes before it in step is sound, too.
    const auto first = std::find_if(marks.places.begin(), marks.places.end(),
                                    [&](std::size_t place) { return place % usual == learned.firstMark % usual; });
    learned.firstMark = *first;
    if (kind == SequenceKind::Zeros && mask == 0xFFFF) {
        learned.further = furtherWord(marks, words);
    }
    return learned;
}

} // namespace

std::vector<std::uint16_t> withoutHalves(std::span<const std::uint16_t> words, std::uint16_t previous) {
    std::vector<std::uint16_t> kept;
    kept.reserve(words.size());
    for (const std::uint16_t word : words) {
        if (word != halfSynchronisation || previous == frameFirst) {
            kept.push_back(word);
        }
        previous = word;
    }
    return kept;
}

bool isMarkPreceded(SequenceKind kind, std::span<const std::uint16_t> words, std::size_t at, std::uint16_t mask) {
    switch (kind) {
    case SequenceKind::None:
        return false;
    case SequenceKind::Frame:
        return at > 0 && ((words[at - 1] ^ frameFirst) & mask) == 0;
    case SequenceKind::Zeros:
        break;
    }
    if (at < limits::syncZeros) {
        return false;
    }
    const auto before = words.subspan(at - limits::syncZeros, limits::syncZeros);
    return std::all_of(before.begin(), before.end(), [=](std::uint16_t word) { return (word & mask) == 0; });
}

Regularity learnRegularity(SequenceKind kind, std::span<const std::uint16_t> words, bool patternWords, unsigned lanes) {
    Regularity whole = learnWithMask(kind, words, patternWords, 0xFFFF);
    if (whole.regular() || lanes < 2 || kind == SequenceKind::None) {
        return whole;
    }
    Regularity best = whole;
    for (unsigned lane = 0; lane < lanes; ++lane) {
        const auto others = static_cast<std::uint16_t>(~laneBits(lanes, lane));
        const Regularity without = learnWithMask(kind, words, patternWords, others);
        if (without.regular() && (!best.regular() || without.marks > best.marks)) {
            best = without;
        }
    }
    return best;
}

ExpectedStream::ExpectedStream(const Regularity& known, std::optional<Pattern> content)
    : regularity(known), pattern(content) {
    if (pattern && regular()) {
        for (std::size_t i = 0; i < regularity.period + pattern->words.size(); ++i) {
            repeated.push_back(pattern->words[i % pattern->words.size()]);
        }
    }
}

ExpectedWord ExpectedStream::at(const Cursor& cursor) const {
    ExpectedWord word;
    if (regular() && cursor.inPeriod < regularity.length()) {
        word.sequence = true;
        if (regularity.kind == SequenceKind::Frame) {
            word.mark = cursor.inPeriod == 1;
            word.value = word.mark ? frameSecond : frameFirst;
            word.mask = 0xFFFF;
        } else if (cursor.inPeriod <= regularity.zeros) {
            word.mark = cursor.inPeriod == regularity.zeros;
            word.value = word.mark ? limits::syncWord : std::uint16_t{0};
            word.mask = 0xFFFF;
        } else {
            word.further = true;
            word.value = regularity.further.value_or(0);
            word.mask = regularity.further ? 0xFFFF : 0;
        }
        return word;
    }
    if (pattern) {
        word.value = pattern->words[cursor.phase];
        word.mask = 0xFFFF;
    }
    return word;
}

void ExpectedStream::step(Cursor& cursor) const {
    const bool content = !regular() || cursor.inPeriod >= regularity.length();
    if (content && pattern && ++cursor.phase == pattern->words.size()) {
        cursor.phase = 0;
    }
    if (regular() && ++cursor.inPeriod == regularity.period) {
        cursor.inPeriod = 0;
    }
}

void ExpectedStream::back(Cursor& cursor) const {
    if (regular()) {
        cursor.inPeriod = (cursor.inPeriod == 0 ? regularity.period : cursor.inPeriod) - 1;
    }
    if (pattern && (!regular() || cursor.inPeriod >= regularity.length())) {
        cursor.phase = (cursor.phase == 0 ? static_cast<std::uint32_t>(pattern->words.size()) : cursor.phase) - 1;
    }
}

Cursor ExpectedStream::moved(Cursor cursor, std::uint64_t words) const {
    if (cycle() == 0) {
        return cursor;
    }
    words %= cycle();
    if (regular() && pattern) {
        const std::uint64_t every = regularity.period - regularity.length();
        cursor.phase =
            static_cast<std::uint32_t>((cursor.phase + words / regularity.period * every) % pattern->words.size());
        words %= regularity.period;
    }
    for (; words != 0; --words) {
        step(cursor);
    }
    return cursor;
}

std::uint32_t ExpectedStream::unknownFrom(const Cursor& cursor) const {
    const bool content = regular() && !pattern && cursor.inPeriod >= regularity.length();
    return content ? regularity.period - cursor.inPeriod : 0;
}

void ExpectedStream::skip(Cursor& cursor, std::uint32_t words) const {
    cursor.inPeriod += words;
    if (cursor.inPeriod == regularity.period) {
        cursor.inPeriod = 0;
    }
}

std::span<const std::uint16_t> ExpectedStream::patternFrom(const Cursor& cursor) const {
    if (repeated.empty() || cursor.inPeriod < regularity.length()) {
        return {};
    }
    return std::span(repeated).subspan(cursor.phase, regularity.period - cursor.inPeriod);
}

void ExpectedStream::skipPattern(Cursor& cursor, std::uint32_t words) const {
    cursor.phase = static_cast<std::uint32_t>((cursor.phase + words) % pattern->words.size());
    skip(cursor, words);
}

Cursor ExpectedStream::atDistance(std::uint64_t position, std::uint64_t mark) const {
    Cursor cursor;
    if (regular()) {
        const std::uint64_t period = regularity.period;
        cursor.inPeriod =
            static_cast<std::uint32_t>((position % period + regularity.zeros + period - mark % period) % period);
    }
    return cursor;
}

std::uint64_t ExpectedStream::cycle() const {
    const std::uint64_t length = patternLength();
    if (!regular()) {
        return length;
    }
    const std::uint64_t every = regularity.period - regularity.length();
    return length == 0 ? regularity.period : regularity.period * (length / std::gcd(every, length));
}

} // namespace diagnosis
