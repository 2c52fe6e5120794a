#include "diagnosis/analysis/LaneMatch.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <numeric>

namespace diagnosis {

namespace {

using Bits = std::vector<std::uint8_t>;

constexpr std::size_t mostSlots = std::size_t{1} << 15; // enough to judge by, and quick
constexpr int farthestAnchor = 3;                       // slots between the sequences on two pins that are one
constexpr double sameBits = 0.9995;
/// A shift has to fit better than none by more than chance would do.
constexpr double shiftPenalty = 0.02;
constexpr double placePreference = 1e-6;

Bits laneBits(const Verification& recording, std::size_t dataPins, std::size_t line) {
    const std::size_t slots = slotsOf(dataPins);
    const std::size_t words = std::min(recording.words.size(), mostSlots / slots);
    Bits bits;
    bits.reserve(words * slots);
    for (std::size_t word = 0; word < words; ++word) {
        for (std::size_t slot = 0; slot < slots; ++slot) {
            bits.push_back(lineBit(recording.words[word], dataPins, slot, line));
        }
    }
    return bits;
}

/// Slots at which the word of a synchronisation sequence begins on one pin. It is the same on every pin: zeros for
/// five words and a quarter of one, ones for half a word, zeros for a quarter.
std::vector<std::size_t> anchorsOf(const Bits& bits, std::size_t dataPins) {
    const std::size_t quarter = slotsOf(dataPins) / 4;
    const std::size_t zeros = limits::syncZeros * slotsOf(dataPins) + quarter;
    std::vector<std::size_t> anchors;
    std::size_t run = 0;
    for (std::size_t at = 0; at + 3 * quarter <= bits.size(); ++at) {
        if (bits[at] == 0) {
            ++run;
            continue;
        }
        const auto here = bits.begin() + static_cast<std::ptrdiff_t>(at);
        const auto ones = here + static_cast<std::ptrdiff_t>(2 * quarter);
        if (run >= zeros && std::all_of(here, ones, [](std::uint8_t bit) { return bit == 1; }) &&
            std::all_of(ones, ones + static_cast<std::ptrdiff_t>(quarter), [](std::uint8_t bit) { return bit == 0; })) {
            anchors.push_back(at - quarter);
        }
        run = 0;
    }
    return anchors;
}

template <class Key>
Key mostFrequent(const std::map<Key, std::size_t>& counts, Key none) {
    Key best = none;
    std::size_t most = 0;
    for (const auto& [key, count] : counts) {
        if (count > most) {
            most = count;
            best = key;
        }
    }
    return best;
}

/// How many slots later than in `reference` the same sequences are; nothing without common ones.
std::optional<int> shiftAgainst(const std::vector<std::size_t>& anchors, const std::vector<std::size_t>& reference) {
    std::map<int, std::size_t> counts;
    for (const std::size_t anchor : anchors) {
        for (int shift = -farthestAnchor; shift <= farthestAnchor; ++shift) {
            const std::int64_t wanted = static_cast<std::int64_t>(anchor) - shift;
            if (wanted >= 0 &&
                std::binary_search(reference.begin(), reference.end(), static_cast<std::size_t>(wanted))) {
                ++counts[shift];
            }
        }
    }
    if (counts.empty()) {
        return std::nullopt;
    }
    return mostFrequent(counts, 0);
}

/// A slot that holds the pattern, and the position in the pattern there.
struct ContentSlot {
    std::size_t at;    ///< as most pins have it
    std::size_t phase; ///< slots of the pattern before it
};

struct Anchoring {
    std::vector<std::optional<int>> shifts; ///< of each pin, against most pins; nothing for a pin without sequences
    std::vector<ContentSlot> content;
};

std::vector<ContentSlot> everySlot(std::size_t slots) {
    std::vector<ContentSlot> content(slots);
    for (std::size_t at = 0; at < slots; ++at) {
        content[at] = {at, at};
    }
    return content;
}

/// The slots between sequences at the usual distance from each other.
std::vector<ContentSlot> slotsBetween(const std::vector<std::size_t>& anchors, std::size_t dataPins) {
    std::map<std::size_t, std::size_t> distances;
    for (std::size_t i = 0; i + 1 < anchors.size(); ++i) {
        ++distances[anchors[i + 1] - anchors[i]];
    }
    const std::size_t slots = slotsOf(dataPins);
    const std::size_t usual = mostFrequent(distances, std::size_t{0});
    std::vector<ContentSlot> content;
    if (usual <= limits::syncLength * slots) {
        return content;
    }
    const std::size_t length = usual - limits::syncLength * slots;
    for (std::size_t i = 0; i + 1 < anchors.size(); ++i) {
        if (anchors[i + 1] - anchors[i] != usual) {
            continue;
        }
        const std::size_t before = (anchors[i] - anchors[0]) / usual * length;
        for (std::size_t k = 0; k < length; ++k) {
            content.push_back(
                {anchors[i] + 2 * slots + k, before + k}); // after the synchronisation word and the one after it
        }
    }
    return content;
}

Anchoring anchor(const std::vector<Bits>& lanes, std::size_t dataPins) {
    std::vector<std::vector<std::size_t>> anchors;
    for (const Bits& bits : lanes) {
        anchors.push_back(anchorsOf(bits, dataPins));
    }
    const auto& reference = *std::max_element(
        anchors.begin(), anchors.end(), [](const auto& left, const auto& right) { return left.size() < right.size(); });
    Anchoring found;
    std::map<int, std::size_t> counts;
    for (const auto& own : anchors) {
        found.shifts.push_back(shiftAgainst(own, reference));
        if (found.shifts.back()) {
            ++counts[*found.shifts.back()];
        }
    }
    // Most pins show the word boundary.
    const int usual = mostFrequent(counts, 0);
    std::vector<std::size_t> common;
    for (const std::size_t at : reference) {
        common.push_back(static_cast<std::size_t>(static_cast<std::int64_t>(at) + usual));
    }
    for (auto& shift : found.shifts) {
        if (shift) {
            *shift -= usual;
        }
    }
    found.content = slotsBetween(common, dataPins);
    if (found.content.empty()) {
        found.content = everySlot(lanes.front().size());
        std::fill(found.shifts.begin(), found.shifts.end(), std::nullopt);
    }
    return found;
}

/// The pattern's bits on each pin, one period of it.
std::vector<Bits> patternBits(const Pattern& pattern, std::size_t dataPins) {
    std::vector<Bits> lanes(dataPins);
    for (std::size_t line = 0; line < dataPins; ++line) {
        for (const std::uint16_t word : pattern.words) {
            for (std::size_t slot = 0; slot < slotsOf(dataPins); ++slot) {
                lanes[line].push_back(lineBit(word, dataPins, slot, line));
            }
        }
    }
    return lanes;
}

/// The zeros and the ones of a shifted lane at each bit of a pattern's period. Counted once, they are compared with every
/// pin and phase of the pattern.
class LaneCounts {
public:
    LaneCounts(const Bits& bits, int shift, const std::vector<ContentSlot>& content, std::size_t period)
        : counts(period) {
        for (const ContentSlot& slot : content) {
            const std::int64_t at = static_cast<std::int64_t>(slot.at) + shift;
            if (at >= 0 && at < static_cast<std::int64_t>(bits.size())) {
                ++compared;
                ++counts[slot.phase % period][bits[static_cast<std::size_t>(at)] != 0 ? 1U : 0U];
            }
        }
    }

    /// The share of bits that are those of a pin.
    double agreement(const Bits& expected, std::size_t phase) const {
        std::size_t same = 0;
        for (std::size_t bit = 0; bit < counts.size(); ++bit) {
            same += counts[bit][expected[(bit + phase) % counts.size()] != 0 ? 1U : 0U];
        }
        return compared == 0 ? 0.0 : static_cast<double>(same) / static_cast<double>(compared);
    }

private:
    std::vector<std::array<std::size_t, 2>> counts;
    std::size_t compared = 0;
};

/// A lane at the shifts that may explain it, and as it is.
struct CountedLane {
    std::optional<int> known; ///< its shift
    std::map<int, LaneCounts> at;
};

std::vector<CountedLane> countLanes(const std::vector<Bits>& lanes, const Anchoring& anchoring, std::size_t period) {
    std::vector<CountedLane> counted(lanes.size());
    for (std::size_t lane = 0; lane < lanes.size(); ++lane) {
        counted[lane].known = anchoring.shifts[lane];
        for (const int shift : counted[lane].known ? std::vector{*counted[lane].known, 0} : std::vector{0, 1, -1}) {
            counted[lane].at.try_emplace(shift, lanes[lane], shift, anchoring.content, period);
        }
    }
    return counted;
}

struct Fit {
    int shift = 0;
    double share = 0.0;
    double score = 0.0;
    bool signKnown = true;
};

Fit bestFit(const CountedLane& lane, const Bits& expected, std::size_t phase) {
    if (lane.known) {
        const double share = lane.at.at(*lane.known).agreement(expected, phase);
        return {*lane.known, share, share - (*lane.known != 0 ? shiftPenalty : 0.0), true};
    }
    Fit best;
    best.score = -1.0;
    std::array<double, 3> shares{};
    for (const int shift : {0, 1, -1}) {
        const double share = lane.at.at(shift).agreement(expected, phase);
        shares[static_cast<std::size_t>(shift + 1)] = share;
        const double score = share - (shift != 0 ? shiftPenalty : 0.0);
        if (score > best.score) {
            best = {shift, share, score, true};
        }
    }
    best.signKnown = best.shift == 0 || std::abs(shares[0] - shares[2]) > shiftPenalty;
    return best;
}

/// One way to explain the recording.
struct Explanation {
    double score = -1.0;
    std::vector<std::size_t> places;
    std::vector<Fit> fits;
    std::vector<double> asNamed;
};

Explanation explain(const std::vector<CountedLane>& lanes, const std::vector<Bits>& expected, std::size_t phase) {
    const std::size_t pins = lanes.size();
    std::vector<std::vector<Fit>> fits(pins, std::vector<Fit>(pins));
    Explanation found;
    for (std::size_t lane = 0; lane < pins; ++lane) {
        for (std::size_t place = 0; place < pins; ++place) {
            fits[lane][place] = bestFit(lanes[lane], expected[place], phase);
        }
        found.asNamed.push_back(lanes[lane].at.at(0).agreement(expected[lane], phase));
    }
    std::vector<std::size_t> places(pins);
    std::iota(places.begin(), places.end(), std::size_t{0});
    do {
        double score = 0.0;
        for (std::size_t lane = 0; lane < pins; ++lane) {
            score += fits[lane][places[lane]].score + (places[lane] == lane ? placePreference : 0.0);
        }
        if (score > found.score) {
            found.score = score;
            found.places = places;
        }
    } while (std::next_permutation(places.begin(), places.end()));
    for (std::size_t lane = 0; lane < pins; ++lane) {
        found.fits.push_back(fits[lane][found.places[lane]]);
    }
    return found;
}

bool differsOnAllPins(const std::vector<Bits>& expected) {
    for (std::size_t one = 0; one < expected.size(); ++one) {
        for (std::size_t other = 0; other < one; ++other) {
            if (expected[one] == expected[other]) {
                return false;
            }
        }
    }
    return true;
}

double shareOfSame(const Bits& one, const Bits& other) {
    std::size_t same = 0;
    for (std::size_t i = 0; i < one.size(); ++i) {
        same += one[i] == other[i];
    }
    return static_cast<double>(same) / static_cast<double>(one.size());
}

} // namespace

std::optional<LaneMatch> matchLanes(const Verification& recording, std::size_t dataPins, std::string_view sent) {
    const std::optional<Pattern> known = patternNamed(dataPins, sent);
    const std::span<const Pattern> patterns = known ? std::span(&*known, 1) : usualPatterns(dataPins);
    if (patterns.empty() || recording.words.empty()) {
        return std::nullopt;
    }
    std::vector<Bits> lanes;
    for (std::size_t line = 0; line < dataPins; ++line) {
        lanes.push_back(laneBits(recording, dataPins, line));
    }
    const Anchoring anchoring = anchor(lanes, dataPins);

    Explanation best;
    std::vector<Bits> bestBits;
    LaneMatch match;
    for (const Pattern& pattern : patterns) {
        const std::vector<Bits> expected = patternBits(pattern, dataPins);
        const std::vector<CountedLane> counted = countLanes(lanes, anchoring, expected.front().size());
        for (std::size_t phase = 0; phase < expected.front().size(); phase += slotsOf(dataPins)) {
            Explanation found = explain(counted, expected, phase);
            if (found.score > best.score + placePreference) {
                best = std::move(found);
                bestBits = expected;
                match.pattern = pattern.name;
            }
        }
    }
    match.bits = anchoring.content.size();
    match.distinguishesPins = differsOnAllPins(bestBits);
    for (std::size_t lane = 0; lane < dataPins; ++lane) {
        Lane result;
        result.carries = best.places[lane];
        result.shift = best.fits[lane].shift;
        result.shiftSignKnown = best.fits[lane].signKnown;
        result.agreement = best.fits[lane].share;
        result.asNamed = best.asNamed[lane];
        if (std::all_of(lanes[lane].begin(), lanes[lane].end(),
                        [&](std::uint8_t bit) { return bit == lanes[lane].front(); })) {
            result.stuck = lanes[lane].front();
        }
        match.lanes.push_back(result);
    }
    for (std::size_t one = 0; one < dataPins; ++one) {
        for (std::size_t other = one + 1; other < dataPins; ++other) {
            if (!match.lanes[one].stuck && !match.lanes[other].stuck && bestBits[one] != bestBits[other] &&
                shareOfSame(lanes[one], lanes[other]) >= sameBits) {
                match.identical.emplace_back(one, other);
            }
        }
    }
    return match;
}

} // namespace diagnosis
