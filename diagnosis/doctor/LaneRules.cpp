#include "diagnosis/analysis/LaneMatch.h"
#include "diagnosis/doctor/Rules.h"
#include "toolkit/Format.h"
#include "toolkit/Text.h"

#include <algorithm>
#include <cstdlib>

// What verification recordings show.

namespace diagnosis::rules {

namespace {

/// A lane carries a pin's bits if this share of them agrees; the rest is noise.
constexpr double fits = 0.97;
/// A lane that agrees like this is not at fault.
constexpr double clean = 0.99999;

/// One recording that does not hold its pattern.
struct Mismatch {
    Case& given;
    const FileGroup& attempt;
    const LaneMatch& match;

    std::string title(std::size_t lane) const { return given.title(lane + 1); }
    std::string where() const {
        return "verification of " + attemptTitle(attempt) + ", pattern " + match.pattern + ": ";
    }
    bool stuckOrShorted(std::size_t lane) const {
        return match.lanes[lane].stuck ||
               std::any_of(match.identical.begin(), match.identical.end(),
                           [&](const auto& pair) { return pair.first == lane || pair.second == lane; });
    }
    /// Carries another pin's bits, and not its own.
    bool astray(std::size_t lane) const {
        const Lane& found = match.lanes[lane];
        return !stuckOrShorted(lane) && found.carries != lane && found.agreement >= fits && found.asNamed < fits;
    }
    /// What a shifted lane is compared with.
    const char* others() const {
        const auto shifted =
            std::count_if(match.lanes.begin(), match.lanes.end(), [](const Lane& lane) { return lane.shift != 0; });
        const bool most = 2 * static_cast<std::size_t>(shifted) >= match.lanes.size();
        return match.lanes.size() == 2 ? "the other pin" : most ? "other pins" : "most other pins";
    }
};

void addShorts(const Mismatch& mismatch) {
    for (const auto& [one, other] : mismatch.match.identical) {
        mismatch.given.add(FindingId::PinsShorted, {one + 1, other + 1}, {mismatch.title(one), mismatch.title(other)})
            .evidence.push_back(mismatch.where() + "the two pins agree in every slot of " +
                                std::to_string(mismatch.match.bits) + ", where the pattern differs");
    }
}

void addSwaps(const Mismatch& mismatch) {
    const auto& lanes = mismatch.match.lanes;
    std::vector<bool> done(lanes.size(), false);
    for (std::size_t first = 0; first < lanes.size(); ++first) {
        // Follows the ring of lanes that carry each other's bits; a lane that is not astray ends it.
        std::vector<std::size_t> pins;
        std::vector<std::string> titles;
        std::string evidence = mismatch.where();
        for (std::size_t lane = first; !done[lane] && mismatch.astray(lane); lane = lanes[lane].carries) {
            done[lane] = true;
            evidence += (pins.empty() ? "" : ", ") + mismatch.given.label(lane + 1) + " carries the bits of " +
                        mismatch.given.label(lanes[lane].carries + 1) + " (" +
                        toolkit::percentText(lanes[lane].agreement) + " fit, of its own " +
                        toolkit::percentText(lanes[lane].asNamed) + ")";
            pins.push_back(lane + 1);
            titles.push_back(mismatch.title(lane));
        }
        if (!pins.empty()) {
            mismatch.given
                .add(pins.size() == 1 ? FindingId::PinAstray : FindingId::PinsSwapped, pins,
                     {toolkit::enumeration(titles)})
                .evidence.push_back(std::move(evidence));
        }
    }
}

/// The delay that the calibration gave a pin, next to the others: it may have shifted the pin itself.
void addDelays(const Mismatch& mismatch, std::size_t proc, Finding& finding) {
    const auto& cal = mismatch.attempt.cal;
    if (!cal || proc >= cal->pins.size()) {
        return;
    }
    std::optional<int> low;
    std::optional<int> high;
    for (std::size_t other = 1; other < cal->pins.size(); ++other) {
        const auto& delay = cal->pins[other].delay;
        if (other != proc && delay) {
            low = std::min(low.value_or(*delay), *delay);
            high = std::max(high.value_or(*delay), *delay);
        }
    }
    const CalPin& pin = cal->pins[proc];
    if (!pin.delay || !low) {
        return;
    }
    std::string line = "report of " + attemptTitle(mismatch.attempt) + ": it was given a delay of " +
                       std::to_string(*pin.delay) + ", the other data pins " + std::to_string(*low) +
                       (*low == *high ? std::string() : " to " + std::to_string(*high));
    // In a pattern that only toggles, one bit late looks like the opposite of the reference pin.
    if (pin.correlationAtZero && *pin.correlationAtZero < 0.0) {
        line += "; it then shows the opposite of " + mismatch.given.label(1) + " (correlation " +
                toolkit::fixedText(*pin.correlationAtZero, 2) + ")";
    }
    finding.evidence.push_back(std::move(line));
}

void addShift(const Mismatch& mismatch, std::size_t lane) {
    const Lane& found = mismatch.match.lanes[lane];
    const int bits = std::abs(found.shift);
    const FindingId id = !found.shiftSignKnown ? FindingId::PinShifted
                         : found.shift > 0     ? FindingId::PinLate
                                               : FindingId::PinEarly;
    Finding& finding = mismatch.given.add(
        id, {lane + 1},
        {mismatch.title(lane), bits == 1 ? "a bit" : std::to_string(bits) + " bits", mismatch.others()});
    if (!mismatch.match.distinguishesPins) {
        finding.remedy +=
            " A wire that is swapped with another's would look the same: the pattern is the same on several pins.";
    }
    addDelays(mismatch, lane + 1, finding);
    finding.evidence.push_back(
        mismatch.where() + toolkit::percentText(found.agreement) + " of its bits fit when shifted by " +
        (found.shiftSignKnown ? std::to_string(found.shift) : "one") + (bits == 1 ? " slot, " : " slots, ") +
        toolkit::percentText(found.asNamed) + " unshifted");
}

/// How late the wires are, in bits and relative to any time: what is recorded late has come so much later than the delay
/// that the calibration gave it. Nothing without all delays.
std::vector<double> latenessOf(const Mismatch& mismatch) {
    std::vector<double> lateness;
    const auto& cal = mismatch.attempt.cal;
    const double bit = mismatch.attempt.rates().oversampling / 2.0;
    for (std::size_t lane = 0; lane < mismatch.match.lanes.size(); ++lane) {
        if (!cal || bit <= 0.0 || lane + 1 >= cal->pins.size() || !cal->pins[lane + 1].delay) {
            return {};
        }
        lateness.push_back(mismatch.match.lanes[lane].shift - *cal->pins[lane + 1].delay / bit);
    }
    return lateness;
}

/// Among three pins and more, the one whose wire is a bit off those of all others, which agree. It need not be recorded
/// at another slot itself: the calibration may have moved the others to it.
std::optional<std::size_t> oddWire(const std::vector<double>& lateness) {
    for (std::size_t lane = 0; lane < lateness.size() && lateness.size() > 2; ++lane) {
        std::vector<double> others = lateness;
        others.erase(others.begin() + static_cast<std::ptrdiff_t>(lane));
        const auto [low, high] = std::minmax_element(others.begin(), others.end());
        const double apart = std::max(*low - lateness[lane], lateness[lane] - *high);
        if (apart > 0.5 && apart > 2.0 * (*high - *low)) {
            return lane;
        }
    }
    return std::nullopt;
}

/// Names that wire instead of the pins that are recorded at another slot. False without one.
bool addOddWire(const Mismatch& mismatch) {
    const std::vector<double> lateness = latenessOf(mismatch);
    const auto lane = oddWire(lateness);
    const bool known = std::all_of(mismatch.match.lanes.begin(), mismatch.match.lanes.end(),
                                   [](const Lane& each) { return each.shift == 0 || each.shiftSignKnown; });
    if (!lane || !known || mismatch.match.lanes[*lane].shift != 0) {
        return false;
    }
    const bool late = lateness[*lane] > lateness[*lane == 0 ? 1 : 0];
    Finding& finding = mismatch.given.add(late ? FindingId::PinLate : FindingId::PinEarly, {*lane + 1},
                                          {mismatch.title(*lane), "a bit or more", "other pins"});
    addDelays(mismatch, *lane + 1, finding);
    finding.evidence.push_back(mismatch.where() + "other pins are recorded in another slot, for which their delays do "
                                                  "not account");
    return true;
}

void addShifts(const Mismatch& mismatch) {
    const bool shifted = std::any_of(mismatch.match.lanes.begin(), mismatch.match.lanes.end(),
                                     [](const Lane& lane) { return lane.shift != 0 && lane.agreement >= fits; });
    if (shifted && addOddWire(mismatch)) {
        return;
    }
    for (std::size_t lane = 0; lane < mismatch.match.lanes.size(); ++lane) {
        const Lane& found = mismatch.match.lanes[lane];
        if (found.shift != 0 && found.agreement >= fits && !mismatch.stuckOrShorted(lane)) {
            addShift(mismatch, lane);
        }
    }
}

/// The finding about the shared fault of this attempt's burst, or null.
Finding* sharedFinding(const Mismatch& mismatch) {
    if (!mismatch.given.withSharedFault.contains(&mismatch.attempt)) {
        return nullptr;
    }
    auto& findings = mismatch.given.findings;
    const auto found = std::find_if(findings.begin(), findings.end(), [](const Finding& finding) {
        return finding.kind == FindingKind::ClockSuspect || finding.kind == FindingKind::ClockTooFast ||
               finding.kind == FindingKind::PinsNoisy || finding.kind == FindingKind::PinsSilent;
    });
    return found == findings.end() ? nullptr : &*found;
}

/// All lanes have wrong bits, and none has a cause of its own. False if that is not so.
bool addSharedNoise(const Mismatch& mismatch) {
    const auto& lanes = mismatch.match.lanes;
    double worst = 0.0;
    double best = 1.0;
    for (std::size_t lane = 0; lane < lanes.size(); ++lane) {
        if (mismatch.stuckOrShorted(lane)) {
            return false;
        }
        worst = std::max(worst, 1.0 - lanes[lane].agreement);
        best = std::min(best, 1.0 - lanes[lane].agreement);
    }
    if (lanes.size() < 2 || best <= 1.0 - clean) {
        return false;
    }
    const std::string all = allPinsTitle(lanes.size());
    Finding* finding = sharedFinding(mismatch);
    if (finding == nullptr) {
        finding = &mismatch.given.add(best > 1.0 - fits ? FindingId::AllPinsGarbled : FindingId::AllPinsUnreliable,
                                      dataProcs(lanes.size()), {all});
    }
    finding->evidence.push_back(mismatch.where() + toolkit::percentText(best) + " to " + toolkit::percentText(worst) +
                                " of " + std::to_string(mismatch.match.bits) + " bits are wrong on " + all);
    return true;
}

void addNoise(const Mismatch& mismatch) {
    if (addSharedNoise(mismatch)) {
        return;
    }
    for (std::size_t lane = 0; lane < mismatch.match.lanes.size(); ++lane) {
        const double agreement = mismatch.match.lanes[lane].agreement;
        if (agreement < clean && !mismatch.stuckOrShorted(lane)) {
            mismatch.given
                .add(agreement < fits ? FindingId::PinGarbled : FindingId::PinUnreliable, {lane + 1},
                     {mismatch.title(lane)})
                .evidence.push_back(mismatch.where() + toolkit::percentText(1.0 - agreement) + " of " +
                                    std::to_string(mismatch.match.bits) + " bits are wrong");
        }
    }
}

void addWrongWords(const Mismatch& mismatch) {
    const auto sent = patternNamed(mismatch.match.lanes.size(), mismatch.match.pattern);
    if (!sent) {
        return;
    }
    const Verification& recording = *mismatch.attempt.verification;
    const PatternCheck check = checkPattern(recording, *sent);
    // The right words that only begin at another one than the receiver's comparison expects are no fault.
    if (check.errors == 0) {
        return;
    }
    // An extra or a missing edge shifts every word after it. With so few wrong ones the words around them are right.
    const bool single = check.errors <= check.firstErrors.size();
    std::string line = mismatch.where() + toolkit::countText(check.errors, "fault");
    if (!check.firstErrors.empty()) {
        line += ", the first in packet " + std::to_string(recording.packetOf(check.firstErrors.front())) + ", word " +
                std::to_string(recording.indexOf(check.firstErrors.front()));
    }
    mismatch.given.add(single ? FindingId::SingleWordsWrong : FindingId::WordsWrong, {})
        .evidence.push_back(std::move(line));
}

} // namespace

void findLaneFaults(Case& given) {
    bool recorded = false;
    bool distinguishesPins = true;
    for (const FileGroup* attempt : given.attempts) {
        if (!attempt->verification || attempt->pins() < 2) {
            continue;
        }
        recorded = true;
        const std::size_t dataPins = attempt->pins() - 1;
        const std::string pattern = given.set.verificationPattern();
        const auto match = matchLanes(*attempt->verification, dataPins, pattern);
        distinguishesPins = distinguishesPins && (!match || match->distinguishesPins);
        if (!match || patternHeld(*attempt->verification, dataPins, pattern)) {
            continue;
        }
        const Mismatch mismatch{given, *attempt, *match};
        addShorts(mismatch);
        addSwaps(mismatch);
        addShifts(mismatch);
        addNoise(mismatch);
        // A fault that was found, here or in a burst, explains the words.
        if (given.findings.empty()) {
            addWrongWords(mismatch);
        }
    }
    if (!recorded) {
        given.limits.emplace_back("There is no verification recording, so that pins that are swapped, shorted or a bit "
                                  "off cannot be found.");
    } else if (!distinguishesPins) {
        given.limits.emplace_back("The verification's pattern is the same on several pins, so that swapped or shorted "
                                  "pins cannot be found.");
    }
}

} // namespace diagnosis::rules
