#include "diagnosis/stream/WordChecker.h"

#include <bit>

// Frames: half-word synchronisations may have wrong bits, and then look like words of a frame.

namespace diagnosis {

namespace {

constexpr std::uint16_t fullStart = 0xFFFF;
constexpr std::size_t mostDoubtful = 16; ///< half-word synchronisations with wrong bits between two sequences
constexpr int mostWrongOfHalf = 3;       ///< bits
constexpr std::uint64_t certainFrames =
    4; ///< synchronisations with whole frames between them; by chance there are none

} // namespace

/// Wrong bits of one lane only, and not too many.
bool WordChecker::confined(std::uint16_t wrong, int mostBits) const {
    if (std::popcount(wrong) > mostBits) {
        return false;
    }
    for (unsigned lane = 0; lane < tally.count(); ++lane) {
        if ((wrong & ~tally.maskOf(lane)) == 0) {
            return true;
        }
    }
    return wrong == 0;
}

void WordChecker::noteHalf(std::uint16_t word) {
    if (expected.learned().kind != SequenceKind::Frame || !expected.regular() || doubtful.size() == mostDoubtful) {
        return;
    }
    if (const std::uint16_t wrong = wrongOfHalf(word)) {
        doubtful.push_back({position, window.byteOf(position), wrong});
    }
}

/// The wrong bits of a word that may be a half-word synchronisation; 0 if it is one, or none.
std::uint16_t WordChecker::wrongOfHalf(std::uint16_t word) const {
    const auto wrong = static_cast<std::uint16_t>(seen(word) ^ halfSynchronisation);
    // On a single pin any word is of one lane.
    const bool like = confined(wrong, tally.count() == 1 ? mostWrongOfHalf - 1 : mostWrongOfHalf);
    return like ? wrong : std::uint16_t{0};
}

/// The sequence is here with wrong bits of one lane, or as much later as there are doubtful words before it.
bool WordChecker::frameExplained(const ExpectedWord& here) {
    if (!here.sequence) {
        return false;
    }
    const Words words = window.from(position, mostDoubtful + 2);
    const auto wrongOf = [&](std::size_t at, std::uint16_t sound) {
        return static_cast<std::uint16_t>(seen(words[at]) ^ sound);
    };
    const int most = tally.count() == 1 ? mostWrongOfHalf - 1 : mostWrongOfHalf + 1;
    if (here.mark) {
        return !words.empty() && confined(wrongOf(0, halfSynchronisation), most);
    }
    for (std::size_t later = 0; later + 1 < words.size(); ++later) {
        // One may be right before the sequence.
        const std::uint16_t half = later == 0 ? std::uint16_t{0} : wrongOfHalf(words[later - 1]);
        if (half != 0 && doubtful.size() < mostDoubtful) {
            const std::uint64_t place = position + later - 1;
            doubtful.push_back({place, window.byteOf(place), half});
        }
        if (later > doubtful.size()) {
            return false;
        }
        const std::uint16_t first = wrongOf(later, fullStart);
        const std::uint16_t second = wrongOf(later + 1, halfSynchronisation);
        if (confined(static_cast<std::uint16_t>(first | second), 2 * most) && std::popcount(first) <= most &&
            std::popcount(second) <= most) {
            halvesToSkip = later;
            return true;
        }
    }
    return false;
}

/// Goes on where the sequence is; true if that is elsewhere.
bool WordChecker::skipDamagedHalves() {
    if (halvesToSkip == 0) {
        return false;
    }
    for (std::size_t i = doubtful.size() - halvesToSkip; i < doubtful.size(); ++i) {
        takeHalf(doubtful[i].byte, doubtful[i].place, doubtful[i].wrong);
    }
    position += halvesToSkip;
    halvesToSkip = 0;
    doubtful.clear();
    return true;
}

/// Wrong bits whose neighbours are not known.
void WordChecker::takeHalf(std::uint64_t byte, std::uint64_t place, std::uint16_t wrong) {
    for (unsigned lane = 0; lane < tally.count(); ++lane) {
        if (tally.of(lane).wrongBits == 0 && (wrong & tally.maskOf(lane)) != 0) {
            firstBytes[lane] = byte;
        }
    }
    tally.take(place, wrong, {}, {}, {});
    ++check.wordsJudged;
    ++check.wrongWords;
}

/// Full synchronisations at no regular distance: whole frames are between them all the same.
void WordChecker::countLooseFrames(std::uint16_t word) {
    if (word != halfSynchronisation) {
        ++sinceFrame;
        return;
    }
    if (last != fullStart) {
        return; // half a word of synchronisation
    }
    const std::uint64_t rest = (sinceFrame - 1) % frameWords; // its own first word was counted
    sinceFrame = 0;
    if (check.sequences == 0 || rest == 0) {
        ++check.sequences;
        check.wordsJudged += 2;
    } else if (check.sequences >= certainFrames) {
        wordsDamaged(DamageKind::LostWords, frameWords - rest);
    }
}

} // namespace diagnosis
