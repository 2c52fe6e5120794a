#include "diagnosis/tune/Search.h"

#include "diagnosis/tune/Conditioning.h"
#include "diagnosis/tune/SlotLag.h"
#include "toolkit/Format.h"
#include "toolkit/LaneNames.h"

#include <algorithm>
#include <cmath>

namespace diagnosis::tune {

namespace {

constexpr int mostCorrections = 3;
/// A prediction that is off by more than this is not used without a further measurement.
constexpr double trusted = 0.5;

std::string samplesText(double samples) {
    return toolkit::fixedText(samples, 1) + " samples";
}

class SearchRun {
public:
    SearchRun(Board& used, const Task& given) : board(used), task(given) {}

    Found run();

private:
    void searchValues();
    bool measure();
    Values plainValues(int clockStretch, int laneStretch) const;
    std::optional<RawPlaces> placesWith(const Values& values);
    void say(const std::string& text) { found.steps.push_back(text); }
    void check();
    bool correct(const Words& words);

    Board& board;
    const Task& task;
    Found found;
    RawPlaces places;
};

/// Nothing delayed, and a debounce that leaves the pulses of a duty error in peace.
Values SearchRun::plainValues(int clockStretch, int laneStretch) const {
    constexpr double shareOfPulse = 0.4;
    PinValue value = receiversConditioning(2.0 * task.half);
    value.debounce = std::min(value.debounce, static_cast<int>(2.0 * shareOfPulse * task.half));
    Values values(task.lanes + 1, value);
    for (PinValue& each : values) {
        each.stretch = laneStretch;
    }
    values.front().stretch = clockStretch;
    return values;
}

std::optional<RawPlaces> SearchRun::placesWith(const Values& values) {
    const Burst burst = board.burst(values);
    ++found.bursts;
    Seen seen = rawPlacesOf(burst, values, task.half);
    if (!seen.places) {
        say("a burst is of no use: " + seen.fault);
        return std::nullopt;
    }
    if (found.bursts == 1) {
        const auto grid = gridOf(burst, task.half);
        const auto lags = slotLags(burst, values, *grid, *seen.places, task.pattern);
        if (!lags) {
            say("the lanes do not carry the pattern");
            return std::nullopt;
        }
        alignSlots(*seen.places, *lags);
        if (std::any_of(lags->begin(), lags->end(), [](int lag) { return lag != 0; })) {
            std::string text;
            for (const int lag : *lags) {
                text += (text.empty() ? "" : ", ") + std::to_string(lag);
            }
            say("the lanes are by so many bits earlier than the first one: " + text);
        }
    }
    return seen.places;
}

bool SearchRun::measure() {
    const auto plain = placesWith(plainValues(0, 0));
    const auto second = plain ? placesWith(plainValues(-1, 1)) : std::nullopt;
    const auto third = second ? placesWith(plainValues(1, -1)) : std::nullopt;
    if (!third) {
        return false;
    }
    places = combined(*plain, *second, *third);
    return true;
}

/// A lane whose wrong bits are its neighbours' is a slot off.
bool SearchRun::correct(const Words& words) {
    bool changed = false;
    for (std::size_t i = 0; i < words.lanes.size() && i < places.lanes.size(); ++i) {
        const Words::Lane& lane = words.lanes[i];
        const bool many = lane.errors * 100 > words.bits / words.lanes.size();
        const int slots = !many ? 0 : 2 * lane.early > lane.errors ? -1 : 2 * lane.late > lane.errors ? 1 : 0;
        if (slots != 0) {
            places.lanes[i].rise += slots * places.half;
            places.lanes[i].fall += slots * places.half;
            say("the words show " + toolkit::laneLabel({i + 1, places.lanes.size()}) + " a bit too " +
                (slots < 0 ? "early" : "late"));
            changed = true;
        }
    }
    return changed;
}

/// Sets the choice and holds what a burst shows against what was expected of it.
void SearchRun::check() {
    const auto seen = placesWith(found.choice.values);
    if (!seen) {
        return;
    }
    for (std::size_t i = 0; i < places.lanes.size(); ++i) {
        LanePlace& lane = places.lanes[i];
        const LanePlace& now = seen->lanes[i];
        const double rise = std::remainder(now.rise - lane.rise, places.half);
        const double fall = std::remainder(now.fall - lane.fall, places.half);
        // A quarter of the evidence came with it.
        const double share = std::abs(rise) > trusted || std::abs(fall) > trusted ? 1.0 : 0.25;
        lane.rise += share * rise;
        lane.fall += share * fall;
        lane.mostWithClock = std::max(lane.mostWithClock, now.likelyWithClock);
    }
    places.clockFallLate += 0.25 * (seen->clockFallLate - places.clockFallLate);
}

Found SearchRun::run() {
    if (measure()) {
        searchValues();
        found.places = places;
    }
    return found;
}

void SearchRun::searchValues() {
    for (int attempt = 0; attempt <= mostCorrections; ++attempt) {
        found.choice = choose(places, task.errorRate);
        for (int again = 0; again < 2; ++again) {
            const Values before = found.choice.values;
            check();
            found.choice = choose(places, task.errorRate);
            if (found.choice.values == before) {
                break;
            }
        }
        found.choice = judged(places, found.choice.values, task.errorRate);
        say("the worst lane, " + toolkit::laneLabel({found.choice.worst + 1, places.lanes.size()}) + ", has " +
            samplesText(found.choice.margin) + " of margin, and " + toolkit::fixedText(found.choice.limit, 1) +
            " are needed");
        constexpr double hopeless = -1.5;
        if (found.choice.spare < hopeless) {
            return;
        }
        // Where margins do not show it, the words have to.
        const bool hasMargin = found.choice.spare >= 0.0;
        found.words = board.words(found.choice.values, hasMargin ? task.wordsErrorRate : task.errorRate);
        if (found.words.sound()) {
            found.kind = hasMargin ? Found::Kind::Sound : Found::Kind::Thin;
            return;
        }
        say(found.words.bits == 0 ? std::string("no word could be compared")
                                  : "known words come back with " + toolkit::countText(found.words.errors, "error") +
                                        " in " + toolkit::countText(found.words.bits, "bit"));
        if (!correct(found.words)) {
            return;
        }
    }
}

} // namespace

bool isBetter(const Found& found, const Found& before) {
    const auto isSound = [](const Found& each) { return each.kind == Found::Kind::Sound; };
    if (found.kind == Found::Kind::Nothing || before.kind == Found::Kind::Nothing) {
        return found.kind != Found::Kind::Nothing;
    }
    return isSound(found) != isSound(before) ? isSound(found)
                                             : !isSound(found) && found.choice.spare > before.choice.spare;
}

Pattern patternOfBursts(std::size_t lanes) {
    return patternNamed(lanes, "walk").value_or(patternsFor(lanes).front());
}

Found search(Board& board, const Task& task) {
    return SearchRun(board, task).run();
}

} // namespace diagnosis::tune
