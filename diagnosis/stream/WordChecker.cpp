#include "diagnosis/stream/WordChecker.h"

#include "rcvr/framework/TraceLimits.h"

#include <algorithm>
#include <bit>
#include <functional>

namespace diagnosis {

namespace {

constexpr std::size_t keptDamages = 16;
constexpr std::size_t phaseWindow = 64;    ///< words that show where the pattern begins
constexpr std::uint64_t firstBackoff = 64; ///< words until the next attempt at an explanation
constexpr std::uint64_t longestBackoff = 65536;

} // namespace

std::uint16_t reordered(std::uint16_t word, const LaneOrder& order, unsigned lanes) {
    unsigned result = 0;
    for (unsigned lane = 0; lane < lanes; ++lane) {
        const unsigned bits = word & laneBits(lanes, order[lane]);
        result |= order[lane] >= lane ? bits << (order[lane] - lane) : bits >> (lane - order[lane]);
    }
    return static_cast<std::uint16_t>(result);
}

void addDamage(StreamCheck& check, const Damage& damage) {
    ++check.damageCount;
    const auto place =
        std::upper_bound(check.damages.begin(), check.damages.end(), damage,
                         [](const Damage& one, const Damage& other) { return one.place.byte < other.place.byte; });
    check.damages.insert(place, damage);
    if (check.damages.size() > keptDamages) {
        check.damages.pop_back();
    }
}

WordChecker::WordChecker(WordWindow& words, const ExpectedStream& stream, StreamCheck& result)
    : window(words), expected(stream), check(result), tally(result.form.lanes) {
    tally.expect(expected.patternWords());
}

std::uint16_t WordChecker::seen(std::uint16_t word) const {
    return straight ? word : reordered(word, order, tally.count());
}

/// Where the stream begins: after the quiet of a transmitter that has not begun, at the first sequence of a content that
/// is unknown.
void WordChecker::start() {
    const Words words = window.from(0, stride);
    const Regularity& learned = expected.learned();
    if (!expected.hasPattern()) {
        const std::size_t first = learned.firstMark - std::min<std::size_t>(learned.firstMark, learned.zeros);
        position = first;
        if (learned.kind == SequenceKind::Frame) {
            position = startOfFrames(first);
        }
        cursor = expected.atDistance(first, learned.firstMark);
    } else {
        while (position < words.size() && words[position] == 0) {
            ++position;
        }
        cursor = expected.atDistance(position, learned.firstMark);
        choosePhase(words);
    }
    nextAnalysis = position;
    backoff = firstBackoff;
}

/// The position of a word that was counted without half-word synchronisations.
std::uint64_t WordChecker::startOfFrames(std::size_t counted) {
    std::uint16_t earlier = 0;
    std::uint64_t at = 0;
    for (const std::uint16_t word : window.from(0, learnedWords)) {
        const bool counts = word != halfSynchronisation || earlier == frameStart;
        if (counts && counted-- == 0) {
            break;
        }
        earlier = word;
        ++at;
    }
    return at;
}

/// The pattern's word at the stream's first one, by the bits that agree.
void WordChecker::choosePhase(Words words) {
    std::size_t best = 0;
    Cursor chosen = cursor;
    std::uint64_t begin = position;
    // A stream may begin within a sequence whose place is not known.
    const std::uint64_t latest = expected.regular() ? position : position + 2 * limits::syncLength;
    for (std::uint64_t from = position; from <= latest; ++from) {
        for (std::uint32_t phase = 0; phase < expected.patternLength(); ++phase) {
            Cursor at = cursor;
            at.phase = phase;
            std::size_t agreeing = 0;
            std::size_t judged = 0;
            for (std::size_t i = from; i < words.size() && judged < phaseWindow; ++i, expected.step(at)) {
                const ExpectedWord here = expected.at(at);
                if (!here.sequence) {
                    const auto wrong = static_cast<std::uint16_t>(words[i] ^ here.value);
                    agreeing += wrong == 0 ? 32 : 16 - static_cast<std::size_t>(std::popcount(wrong));
                    ++judged;
                }
            }
            if (agreeing > best) {
                best = agreeing;
                begin = from;
                chosen = cursor;
                chosen.phase = phase;
            }
        }
    }
    position = begin;
    cursor = chosen;
}

void WordChecker::run() {
    start();
    while (!ended) {
        const Words words = window.from(position, stride);
        if (words.empty()) {
            break;
        }
        if (scan(words)) {
            takeFaults(position);
            resolve();
        }
        takeFaults(position);
        window.forget(position);
    }
    takeFaults(~std::uint64_t{0});
}

void WordChecker::advance(const ExpectedWord& here) {
    if (here.mark) {
        doubtful.clear();
    }
    before = here;
    expected.step(cursor);
    ++position;
}

/// Takes the words of a pattern that are sound, to the next sequence; returns their number.
std::size_t WordChecker::takePattern(Words words) {
    Words sent = expected.patternFrom(cursor);
    if (tally.any() && !sent.empty()) {
        // Those between two others of the pattern.
        const bool follows = before.mask != 0 && !before.sequence;
        sent = follows ? sent.first(sent.size() - 1) : Words();
    }
    if (sent.empty() || !straight) {
        return 0;
    }
    const std::size_t most = std::min(words.size(), sent.size());
    const auto differs = std::mismatch(words.begin(), words.begin() + static_cast<std::ptrdiff_t>(most), sent.begin());
    const auto taken = static_cast<std::uint32_t>(differs.first - words.begin());
    if (taken == 0 || (tally.any() && !tally.takeRun(cursor.phase, words.first(taken)))) {
        return 0;
    }
    // What countJudged and advance would add up, word by word.
    check.wordsJudged += taken;
    check.wordsCompared += taken;
    expected.skipPattern(cursor, taken - 1);
    before = expected.at(cursor);
    expected.step(cursor);
    last = words[taken - 1];
    position += taken;
    return taken;
}

/// Takes sequences that are sound, and the words between them where any content is right; returns their number. The next
/// word is one to look at.
std::size_t WordChecker::takeSound(Words words) {
    if (expected.hasPattern()) {
        return takePattern(words);
    }
    if (expected.learned().kind != SequenceKind::Zeros || tally.any()) {
        return 0;
    }
    std::size_t taken = takeUnknown(words);
    while (takeSequence(words.subspan(taken))) {
        taken += expected.learned().length();
        taken += takeUnknown(words.subspan(taken));
    }
    return taken;
}

/// A whole sequence at once; false if it is not sound, or the position is not at the first word of one.
bool WordChecker::takeSequence(Words words) {
    const Regularity& learned = expected.learned();
    if (!expected.beginsSequence(cursor) || expected.hasPattern() || !straight || words.size() < learned.length()) {
        return false;
    }
    const Words zeros = words.first(learned.zeros);
    const Words further = words.subspan(learned.zeros + 1, learned.trailing);
    const auto differs = [&](std::uint16_t word) { return learned.further && word != *learned.further; };
    if (words[learned.zeros] != limits::syncWord || std::any_of(zeros.begin(), zeros.end(), std::identity()) ||
        std::any_of(further.begin(), further.end(), differs)) {
        return false;
    }
    // What countJudged and advance would add up, word by word.
    check.wordsJudged += learned.zeros + 1;
    ++(sequenceSound ? check.sequences : check.sequencesDamaged);
    sequenceSound = true;
    position += learned.length();
    before = expected.at({learned.length() - 1, cursor.phase});
    expected.skip(cursor, learned.length());
    last = words[learned.length() - 1];
    return true;
}

/// Takes the words up to the next sequence at once where any content is right; returns their number.
std::size_t WordChecker::takeUnknown(Words words) {
    const std::size_t taken = std::min<std::size_t>(words.size(), expected.unknownFrom(cursor));
    if (taken != 0) {
        before = ExpectedWord{};
        last = words[taken - 1];
        position += taken;
        expected.skip(cursor, static_cast<std::uint32_t>(taken));
    }
    return taken;
}

/// Takes words to the first that is wrong; true if there is one.
bool WordChecker::scan(Words words) {
    for (std::size_t i = takeSound(words); i < words.size(); i += 1 + takeSound(words.subspan(i + 1))) {
        const std::uint16_t raw = words[i];
        const ExpectedWord here = expected.at(cursor);
        if (!expected.regular()) {
            countLooseMarks(raw);
        } else if (expected.isExtra(last, raw, here)) {
            ++check.halfSequences;
            ++position;
            last = raw;
            continue;
        }
        if (here.mask != 0 || tally.any()) {
            const std::uint16_t word = seen(raw);
            const auto wrong = static_cast<std::uint16_t>((word ^ here.value) & here.mask);
            if (wrong != 0 && needsResolving(raw, here)) {
                return true;
            }
            if (wrong != 0) {
                takeWrong(word, wrong, here);
                last = raw;
                advance(here);
                continue;
            }
            if (tally.any()) {
                Cursor next = cursor;
                expected.step(next);
                tally.take(position, 0, before, here, expected.at(next));
                tally.follow(word);
            }
            countJudged(here, true);
        }
        if (here.mask == 0) {
            noteHalf(raw);
        }
        last = raw;
        advance(here);
    }
    return false;
}

void WordChecker::countLooseMarks(std::uint16_t word) {
    if (expected.learned().kind == SequenceKind::Frame) {
        countLooseFrames(word);
        return;
    }
    if (word == limits::syncWord && zeroRun >= limits::syncZeros && expected.learned().kind == SequenceKind::Zeros) {
        ++check.sequences;
        check.wordsJudged += expected.hasPattern() ? 0U : limits::syncLength;
    }
    zeroRun = word == 0 ? zeroRun + 1 : 0;
}

void WordChecker::countJudged(const ExpectedWord& here, bool sound) {
    if (here.mask == 0 || (here.further && !expected.hasPattern())) {
        return;
    }
    ++check.wordsJudged;
    check.wordsCompared += expected.hasPattern() ? 1U : 0U;
    check.wrongWords += sound ? 0U : 1U;
    if (!here.sequence) {
        return;
    }
    sequenceSound = sequenceSound && sound;
    if (here.mark) {
        check.sequences += sequenceSound ? 1U : 0U;
        check.sequencesDamaged += sequenceSound ? 0U : 1U;
        sequenceSound = true;
    }
}

/// Whether a wrong word may be more than that: its turn has come to be explained, or it begins padding or a sequence.
bool WordChecker::needsResolving(std::uint16_t word, const ExpectedWord& here) const {
    return position >= nextAnalysis || word == 0 || here.further;
}

/// A word that differs from what it should be.
void WordChecker::resolve() {
    const ExpectedWord here = expected.at(cursor);
    if (skipSequence()) {
        return;
    }
    if (isPadding()) {
        check.padding = window.from(position, ~std::size_t{0} / 4).size();
        ended = true;
        return;
    }
    if (position >= nextAnalysis) {
        if (explain(here)) {
            backoff = firstBackoff;
            nextAnalysis = position + 1;
            return;
        }
        nextAnalysis = here.further ? position : position + backoff;
        backoff = expected.hasPattern() ? std::min(backoff * 2, longestBackoff) : firstBackoff;
    }
    const Words words = window.from(position, 1);
    if (words.empty()) {
        return;
    }
    const std::uint16_t word = seen(words.front());
    last = words.front();
    // Any word may follow a mark.
    if (!here.further) {
        takeWrong(word, static_cast<std::uint16_t>((word ^ here.value) & here.mask), here);
    }
    advance(here);
}

void WordChecker::takeWrong(std::uint16_t word, std::uint16_t wrong, const ExpectedWord& here) {
    if (wrong != 0) {
        for (unsigned lane = 0; lane < tally.count(); ++lane) {
            if (tally.of(lane).wrongBits == 0 && (wrong & tally.maskOf(lane)) != 0) {
                firstBytes[lane] = window.byteOf(position);
            }
        }
        if (tally.count() == 0 && check.wrongWords == 0) {
            firstBytes[0] = window.byteOf(position);
        }
        Cursor next = cursor;
        expected.step(next);
        tally.follow(word);
        tally.take(position, wrong, before, here, expected.at(next));
    }
    countJudged(here, wrong == 0);
}

void WordChecker::takeFaults(std::uint64_t until) {
    WordWindow::Fault fault{};
    while (window.nextFault(until, fault)) {
        Damage damage;
        damage.place.byte = fault.byte;
        switch (fault.kind) {
        case PayloadChunk::Fault::Cut:
            damage.kind = DamageKind::CutPacket;
            damage.amount = fault.bytes < limits::packetBytes ? limits::packetBytes - fault.bytes
                                                              : fault.bytes - limits::packetBytes;
            cutUntil = fault.endWord + expected.learned().period + expected.learned().length();
            break;
        case PayloadChunk::Fault::BadTrailer:
            damage.kind = DamageKind::BadTrailer;
            damage.place.byte += limits::packetBytes - 2;
            damage.amount = 1;
            break;
        case PayloadChunk::Fault::Rest:
        case PayloadChunk::Fault::None:
            continue; // judged by the stream's length
        }
        addDamage(check, damage);
    }
}

} // namespace diagnosis
