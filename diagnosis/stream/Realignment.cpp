#include "diagnosis/stream/WordChecker.h"
#include "rcvr/framework/TraceLimits.h"

#include <algorithm>
#include <utility>
#include <vector>

// How a stream continues after a word that is wrong.

namespace diagnosis {

namespace {

constexpr std::size_t windowWords = 48;    ///< of a pattern, that decide what happened
constexpr std::size_t windowSequences = 3; ///< whose next words show an order of lanes
constexpr std::size_t triedSequences = 6;  ///< of which one may be sound
constexpr std::size_t nearWords = 8;       ///< right after words were lost or inserted
constexpr std::size_t mostPadding = 8192;  ///< words: a block of the unit
constexpr std::size_t mostInserted = 512;  ///< words, where only a pattern shows it
constexpr double moved = 0.7;              ///< share of sound words below which the stream has moved

} // namespace

/// So far the words ahead are looked at.
std::size_t WordChecker::farthest() const {
    return std::max<std::size_t>(mostPadding + 1,
                                 (triedSequences + 2) * std::size_t{expected.learned().period} + windowWords);
}

/// A sequence at an irregular distance, between words of a pattern.
bool WordChecker::skipSequence() {
    if (expected.regular() || !expected.hasPattern()) {
        return false;
    }
    const Words words = window.from(position, farthest());
    const auto mark = static_cast<std::size_t>(
        std::find_if(words.begin(), words.end(), [](std::uint16_t word) { return word != 0; }) - words.begin());
    if (mark < limits::syncZeros || mark >= words.size() || words[mark] != limits::syncWord) {
        return false;
    }
    const std::size_t length = std::min(mark + 2, words.size());
    ++check.sequences;
    check.wordsJudged += length;
    check.wordsCompared += length;
    position += length;
    zeroRun = 0;
    return true;
}

/// The unit fills its last block with zeros.
bool WordChecker::isPadding() {
    const Words words = window.from(position, mostPadding + 1);
    return words.size() <= mostPadding &&
           std::all_of(words.begin(), words.end(), [](std::uint16_t word) { return word == 0; });
}

WordChecker::Fit WordChecker::fitFrom(std::uint64_t from, Cursor at, const LaneOrder& lanesAs, std::size_t most) {
    Fit fit;
    for (const std::uint16_t raw : window.from(from, farthest())) {
        if (fit.judged == most) {
            break;
        }
        const ExpectedWord here = expected.at(at);
        expected.step(at);
        if (here.mask != 0 && !here.further) {
            const std::uint16_t word = lanesAs == straightLanes ? raw : reordered(raw, lanesAs, tally.count());
            ++fit.judged;
            fit.good += ((word ^ here.value) & here.mask) == 0;
        }
    }
    return fit;
}

/// Whether one of the next sequences that have not begun yet is where it belongs.
bool WordChecker::sequencesHold() {
    const Words words = window.from(position, farthest());
    Cursor at = cursor;
    std::size_t count = 0;
    bool whole = false; // begun, and sound so far
    std::uint16_t previous = last;
    for (const std::uint16_t raw : words) {
        const ExpectedWord here = expected.at(at);
        const bool extra = expected.isExtra(std::exchange(previous, raw), raw, here);
        if (extra) {
            continue;
        }
        if (here.sequence) {
            whole = at.inPeriod == 0 ? &raw != words.data() : whole;
            whole = whole && ((seen(raw) ^ here.value) & here.mask) == 0;
            count += here.mark ? 1U : 0U;
            if (here.mark && (whole || count > triedSequences)) {
                return whole;
            }
        }
        expected.step(at);
    }
    return count < 2; // the stream ends before it shows
}

/// True if the words after the wrong one make sense again, and the position, the cursor or the lanes' order has changed.
bool WordChecker::explain(const ExpectedWord& here) {
    if (here.further) {
        return reorderLanes();
    }
    if (expected.learned().kind == SequenceKind::Frame && frameExplained(here)) {
        return skipDamagedHalves();
    }
    if (expected.regular() && !sequencesHold() && realignBySequence()) {
        return true;
    }
    if (!expected.hasPattern()) {
        return false;
    }
    const Fit stay = fitFrom(position, cursor, order, windowWords);
    if (stay.judged < nearWords || stay.share() >= moved) {
        return false;
    }
    return (expected.regular() ? realignBySequence() : realignByPattern()) || reorderLanes();
}

/// With the lanes in their places, and without half-word synchronisations.
std::vector<std::uint16_t> WordChecker::wordsAhead() {
    const Words raw = window.from(position, farthest());
    std::vector<std::uint16_t> words(raw.begin(), raw.end());
    if (!straight) {
        std::transform(words.begin(), words.end(), words.begin(), [&](std::uint16_t word) { return seen(word); });
    }
    return expected.learned().kind == SequenceKind::Frame ? withoutHalves(words, last) : words;
}

bool WordChecker::realignBySequence() {
    const Regularity& learned = expected.learned();
    const std::uint64_t period = learned.period;
    const std::vector<std::uint16_t> words = wordsAhead();
    // The first mark that another one follows at the usual distance, or that is the last.
    std::size_t mark = 0;
    for (; mark < words.size(); ++mark) {
        if (isMarkAt(learned.kind, words, mark, learned.laneMask) &&
            (mark + period >= words.size() || isMarkAt(learned.kind, words, mark + period, learned.laneMask))) {
            break;
        }
    }
    if (mark == words.size()) {
        return false;
    }
    const Cursor atMark = expected.moved(cursor, mark);
    const std::uint64_t step = (learned.zeros + period - atMark.inPeriod) % period;
    if (expected.hasPattern()) {
        return realignTo(mark, atMark, step);
    }
    if (step == 0) {
        return false;
    }
    if (2 * step <= period) {
        lose(step);
    } else {
        skip(period - step);
    }
    return true;
}

/// The pattern shows whether words were lost or inserted, and how many of its periods.
bool WordChecker::realignTo(std::uint64_t mark, const Cursor& atMark, std::uint64_t step) {
    const std::uint64_t cycle = expected.cycle();
    std::uint64_t fewest = cycle; // words lost
    std::uint64_t most = 0;
    for (std::uint64_t lost = step; lost < cycle; lost += expected.learned().period) {
        if (fitFrom(position + mark, expected.moved(atMark, lost), order, windowWords / 2).holds()) {
            fewest = std::min(fewest, lost);
            most = lost;
        }
    }
    if (fewest == 0 || fewest == cycle) {
        return false;
    }
    const std::uint64_t inserted = cycle - most;
    const Cursor after = expected.moved(cursor, fewest);
    const Words first = window.from(position, 1);
    const ExpectedWord here = expected.at(after);
    const bool joins = ((seen(first.front()) ^ here.value) & here.mask) == 0 &&
                       fitFrom(position, after, order, nearWords).share() > moved;
    const bool resumes = fitFrom(position + inserted, cursor, order, nearWords).share() > moved;
    if (joins != resumes ? joins : fewest <= inserted) {
        lose(fewest);
    } else {
        skip(inserted);
    }
    return true;
}

bool WordChecker::realignByPattern() {
    const std::uint64_t length = expected.patternLength();
    for (std::uint64_t lost = 1; lost < length; ++lost) {
        const Cursor at = expected.moved(cursor, lost);
        const Words first = window.from(position, 1);
        if (seen(first.front()) == expected.at(at).value && fitFrom(position, at, order, windowWords).holds()) {
            lose(lost);
            return true;
        }
    }
    for (std::uint64_t inserted = 1; inserted <= mostInserted; ++inserted) {
        if (fitFrom(position + inserted, cursor, order, nearWords).holds() &&
            fitFrom(position + inserted, cursor, order, windowWords).holds()) {
            skip(inserted);
            return true;
        }
    }
    return false;
}

void WordChecker::lose(std::uint64_t words) {
    wordsDamaged(DamageKind::LostWords, words);
    cursor = expected.moved(cursor, words);
    before = {};
    sequenceSound = true;
}

void WordChecker::skip(std::uint64_t words) {
    wordsDamaged(DamageKind::InsertedWords, words);
    for (; words != 0; ++position) {
        const Words next = window.from(position, 1);
        if (next.empty()) {
            break;
        }
        words -= expected.isExtra(std::exchange(last, next.front()), next.front(), {}) ? 0U : 1U;
    }
    before = {};
    sequenceSound = true;
}

void WordChecker::wordsDamaged(DamageKind kind, std::uint64_t amount) {
    // A packet that cuts a run of zeros may shorten a sequence.
    if (position < cutUntil || window.cutsZerosAt(position, expected.learned().period)) {
        cutUntil = 0;
        return;
    }
    Damage damage;
    damage.kind = kind;
    damage.place.byte = window.byteOf(position);
    damage.amount = amount;
    damage.amountIsLeast = kind == DamageKind::LostWords;
    damage.atBlock = damage.place.byte % (2 * mostPadding) == 0;
    addDamage(check, damage);
    ++check.gaps;
    (kind == DamageKind::LostWords ? check.lostWords : check.insertedWords) += amount;
}

/// The words after the next marks, by another order of the lanes.
WordChecker::Fit WordChecker::fitOfFurther(const LaneOrder& lanesAs) {
    Fit fit;
    const Words words = window.from(position, farthest());
    for (std::size_t i = 0; i < words.size() && fit.judged < windowSequences; i += expected.learned().period) {
        ++fit.judged;
        fit.good += reordered(words[i], lanesAs, tally.count()) == expected.at(cursor).value;
    }
    return fit;
}

bool WordChecker::reorderLanes() {
    const unsigned lanes = tally.count();
    if (lanes < 2) {
        return false;
    }
    const bool further = expected.at(cursor).further;
    const auto differsFromNow = [&](const LaneOrder& other) {
        unsigned differing = 0;
        for (unsigned lane = 0; lane < lanes; ++lane) {
            differing += static_cast<unsigned>(other[lane] != order[lane]);
        }
        return differing;
    };
    // Lanes that carry the same bits fit in several orders: two that were swapped are likelier than three that moved.
    LaneOrder likeliest = order;
    unsigned fewest = lanes + 1;
    LaneOrder tried = straightLanes;
    do {
        const unsigned differing = differsFromNow(tried);
        if (differing == 0 || differing >= fewest) {
            continue;
        }
        const Fit fit = further ? fitOfFurther(tried) : fitFrom(position, cursor, tried, windowWords);
        if (fit.judged >= windowSequences && fit.holds()) {
            likeliest = tried;
            fewest = differing;
        }
    } while (std::next_permutation(tried.begin(), tried.begin() + lanes));
    for (unsigned lane = 0; lane < lanes; ++lane) {
        if (likeliest[lane] != order[lane]) {
            Damage damage;
            damage.kind = DamageKind::Swapped;
            damage.place.byte = window.byteOf(position);
            damage.lane = likeliest[lane];
            damage.carries = lane;
            damage.amount = 1;
            addDamage(check, damage);
        }
    }
    order = likeliest;
    straight = order == straightLanes;
    return fewest <= lanes;
}

} // namespace diagnosis
