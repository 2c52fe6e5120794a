#include "diagnosis/analysis/LaneMatch.h"
#include "diagnosis/doctor/Rules.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>

// What the verification recording tells.

namespace diagnosis::rules {

namespace {

/// A pin whose bits fit to this share carries what it is said to carry; what is missing is noise.
constexpr double fits = 0.97;
/// A pin that fits better than this is not accused of anything.
constexpr double clean = 0.99999;

std::string twoPlaces(double value) {
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%.2f", value);
    return text.data();
}

struct Proof {
    const Case& given;
    const FileGroup& attempt;
    const LaneMatch& match;
    Findings& findings;

    std::string title(std::size_t lane) const { return pinTitle(given.set, lane + 1); }
    std::string where() const { return "proof of " + attemptTitle(attempt) + ", pattern " + match.pattern + ": "; }
    bool stuckOrShort(std::size_t lane) const {
        return match.lanes[lane].stuck ||
               std::any_of(match.identical.begin(), match.identical.end(),
                           [&](const auto& pair) { return pair.first == lane || pair.second == lane; });
    }
    bool mostShifted() const {
        const auto shifted =
            std::count_if(match.lanes.begin(), match.lanes.end(), [](const Lane& lane) { return lane.shift != 0; });
        return 2 * static_cast<std::size_t>(shifted) >= match.lanes.size();
    }
    /// Carries another pin's bits, and not its own.
    bool astray(std::size_t lane) const {
        const Lane& found = match.lanes[lane];
        return !stuckOrShort(lane) && found.carries != lane && found.agreement >= fits && found.asNamed < fits;
    }
};

void addShorts(const Proof& proof) {
    for (const auto& [one, other] : proof.match.identical) {
        Finding& finding = findingFor(proof.findings, "pins-shorted", {one + 1, other + 1});
        finding.text = proof.title(one) + " and " + proof.title(other) + " carry the same bits";
        finding.remedy = "Look for a short between the two wires, or a pin map that names one pin twice.";
        finding.evidence.push_back(proof.where() + "the two pins agree in every slot of " +
                                   std::to_string(proof.match.bits) + ", where the pattern differs");
    }
}

void addSwaps(const Proof& proof) {
    std::vector<bool> done(proof.match.lanes.size(), false);
    for (std::size_t first = 0; first < proof.match.lanes.size(); ++first) {
        if (done[first] || !proof.astray(first)) {
            continue;
        }
        // Follow the ring of pins that pass their bits on to each other; a pin outside of it ends the ring.
        std::vector<std::size_t> ring;
        for (std::size_t lane = first; !done[lane] && proof.astray(lane); lane = proof.match.lanes[lane].carries) {
            done[lane] = true;
            ring.push_back(lane);
        }
        std::vector<std::size_t> pins;
        std::vector<std::string> titles;
        std::string evidence = proof.where();
        for (const std::size_t lane : ring) {
            pins.push_back(lane + 1);
            titles.push_back(proof.title(lane));
            evidence += (pins.size() == 1 ? "" : ", ") + pinName(lane + 1) + " carries the bits of " +
                        pinName(proof.match.lanes[lane].carries + 1) + " (" +
                        percent(proof.match.lanes[lane].agreement) + " fit, of its own " +
                        percent(proof.match.lanes[lane].asNamed) + ")";
        }
        Finding& finding = findingFor(proof.findings, "pins-swapped", pins);
        finding.text = enumeration(titles) + (ring.size() == 1 ? " carries another pin's bits" : " are swapped");
        finding.remedy = "Cross the wires back, or give the pin map in the order in which they lie.";
        finding.evidence.push_back(std::move(evidence));
    }
}

/// What the calibration did to a pin, next to the others: it may have moved it to the wrong side itself.
void addDelays(const Proof& proof, std::size_t lane, Finding& finding) {
    if (!proof.attempt.cal || lane + 1 >= proof.attempt.cal->pins.size()) {
        return;
    }
    const CalPin& pin = proof.attempt.cal->pins[lane + 1];
    std::optional<int> low;
    std::optional<int> high;
    for (std::size_t proc = 1; proc < proof.attempt.cal->pins.size(); ++proc) {
        const auto& delay = proof.attempt.cal->pins[proc].delay;
        if (proc == lane + 1 || !delay) {
            continue;
        }
        low = std::min(low.value_or(*delay), *delay);
        high = std::max(high.value_or(*delay), *delay);
    }
    if (!pin.delay || !low) {
        return;
    }
    std::string line = "report of " + attemptTitle(proof.attempt) + ": it was given a delay of " +
                       std::to_string(*pin.delay) + ", the other data pins " + std::to_string(*low) +
                       (*low == *high ? std::string() : " to " + std::to_string(*high));
    // On a pattern that only toggles, the opposite of the reference pin is the reference pin a bit off.
    if (pin.correlationAtZero && *pin.correlationAtZero < 0.0) {
        line += "; it then shows the opposite of data 1 (correlation " + twoPlaces(*pin.correlationAtZero) + ")";
    }
    finding.evidence.push_back(std::move(line));
}

void addShifts(const Proof& proof) {
    for (std::size_t lane = 0; lane < proof.match.lanes.size(); ++lane) {
        const Lane& found = proof.match.lanes[lane];
        if (found.shift == 0 || found.agreement < fits || proof.stuckOrShort(lane)) {
            continue;
        }
        const std::string bits = std::abs(found.shift) == 1 ? "a bit" : std::to_string(std::abs(found.shift)) + " bits";
        const bool late = found.shift > 0;
        const char* kind = !found.shiftSignKnown ? "pin-shifted" : late ? "pin-late" : "pin-early";
        Finding& finding = findingFor(proof.findings, kind, {lane + 1});
        finding.text = proof.title(lane) + " comes " + bits +
                       (!found.shiftSignKnown ? " early or late"
                        : late                ? " late"
                                              : " early") +
                       (proof.match.lanes.size() == 2 ? " against the other pin"
                        : proof.mostShifted()         ? " against other pins"
                                                      : " against most other pins");
        finding.remedy = "Is its wire much longer or shorter than the others', by half a clock period or more? Or was "
                         "its delay taken on the wrong side, which wires of one length and a slower clock prevent?";
        if (!proof.match.tellsPinsApart) {
            finding.remedy += " A wire that is swapped with another's would look like this, too: the pattern is the "
                              "same on several pins.";
        }
        addDelays(proof, lane, finding);
        finding.evidence.push_back(proof.where() + percent(found.agreement) + " of its bits fit when moved by " +
                                   (found.shiftSignKnown ? std::to_string(found.shift) : "one") +
                                   (std::abs(found.shift) == 1 ? " slot, " : " slots, ") + percent(found.asNamed) +
                                   " as they stand");
    }
}

/// All pins are wrong, and none is for a reason of its own.
bool addSharedNoise(const Proof& proof) {
    const auto& lanes = proof.match.lanes;
    double worst = 0.0;
    double best = 1.0;
    for (std::size_t lane = 0; lane < lanes.size(); ++lane) {
        if (proof.stuckOrShort(lane)) {
            return false;
        }
        worst = std::max(worst, 1.0 - lanes[lane].agreement);
        best = std::min(best, 1.0 - lanes[lane].agreement);
    }
    if (lanes.size() < 2 || best <= 1.0 - clean) {
        return false;
    }
    const std::string all = lanes.size() == 2 ? "both data pins" : "all " + std::to_string(lanes.size()) + " data pins";
    std::string line = proof.where() + percent(best) + " to " + percent(worst) + " of " +
                       std::to_string(proof.match.bits) + " bits are wrong on " + all;
    if (proof.given.alike.contains(&proof.attempt)) {
        for (Finding& finding : proof.findings) {
            if (finding.kind == "clock-suspect" || finding.kind == "pins-noisy" || finding.kind == "pins-silent") {
                finding.evidence.push_back(std::move(line));
                return true;
            }
        }
    }
    const bool garbled = best > 1.0 - fits;
    std::vector<std::size_t> pins;
    for (std::size_t lane = 0; lane < lanes.size(); ++lane) {
        pins.push_back(lane + 1);
    }
    Finding& finding = findingFor(proof.findings, garbled ? "pin-garbled" : "pin-unreliable", pins);
    finding.text = all + (garbled ? " carry bits that fit the pattern of no pin" : " are taken wrongly");
    finding.remedy = "All pins at once point at what they share: look at the clock's wire and edges first, then at the "
                     "ground and the port's supply.";
    finding.remedy += garbled ? " Does the target send the pattern?" : " A slower clock leaves more room.";
    finding.evidence.push_back(std::move(line));
    return true;
}

void addNoise(const Proof& proof) {
    if (addSharedNoise(proof)) {
        return;
    }
    for (std::size_t lane = 0; lane < proof.match.lanes.size(); ++lane) {
        const Lane& found = proof.match.lanes[lane];
        if (found.agreement >= clean || proof.stuckOrShort(lane)) {
            continue;
        }
        const bool garbled = found.agreement < fits;
        Finding& finding = findingFor(proof.findings, garbled ? "pin-garbled" : "pin-unreliable", {lane + 1});
        if (garbled) {
            finding.text = proof.title(lane) + " carries bits that fit the pattern of no pin";
            finding.remedy = "Is its wire open, so that the input floats? Is something else driving it?";
        } else {
            finding.text = proof.title(lane) + " is taken wrongly now and then";
            finding.remedy = "Noise or a margin that is too thin: check ground and termination of this wire, or use a "
                             "slower clock.";
        }
        finding.evidence.push_back(proof.where() + percent(1.0 - found.agreement) + " of " +
                                   std::to_string(proof.match.bits) + " bits are wrong");
    }
}

void addWrongWords(const Proof& proof, std::size_t dataPins) {
    const auto patterns = patternsFor(dataPins);
    const auto sent = std::find_if(patterns.begin(), patterns.end(),
                                   [&](const auto& pattern) { return pattern.name == proof.match.pattern; });
    if (sent == patterns.end()) {
        return;
    }
    const Verification& recording = *proof.attempt.verification;
    const PatternCheck check = checkPattern(recording, *sent);
    // The right words, only begun at another place than the receiver's own comparison takes, are no fault.
    if (check.errors == 0) {
        return;
    }
    // An extra or a missing edge moves every word behind it. With so few wrong ones the words around them are right.
    const bool singleWords = check.errors <= check.firstErrors.size();
    Finding& finding = findingFor(proof.findings, "words-wrong", {});
    if (singleWords) {
        finding.text = "single words of the proof came back wrong, right ones around them";
        finding.remedy = "Noise, or a defect of the unit's memory, which would show at the same place again: calibrate "
                         "once more and compare, or let orvtrace soak look.";
    } else {
        finding.text = "the proof came back with wrong words, and no single pin explains them";
        finding.remedy = "Look at the clock: an extra or a missing edge moves all pins at once.";
    }
    std::string line = proof.where() + std::to_string(check.errors) + (check.errors == 1 ? " fault" : " faults");
    if (!check.firstErrors.empty()) {
        line += ", the first in packet " + std::to_string(recording.packetOf(check.firstErrors.front())) + ", word " +
                std::to_string(recording.indexOf(check.firstErrors.front()));
    }
    finding.evidence.push_back(std::move(line));
}

} // namespace

void findLaneFaults(const Case& given, Findings& findings, Limits& limits) {
    bool proofs = false;
    bool tellsApart = true;
    for (const FileGroup* attempt : given.attempts) {
        if (!attempt->verification || attempt->pins() < 2) {
            continue;
        }
        proofs = true;
        const std::size_t dataPins = attempt->pins() - 1;
        const auto match = matchLanes(*attempt->verification, dataPins, given.set.provedWith());
        if (!match) {
            continue;
        }
        tellsApart = tellsApart && match->tellsPinsApart;
        const bool held = patternHeld(*attempt->verification, dataPins, given.set.provedWith()).has_value();
        if (held) {
            continue;
        }
        const Proof proof{given, *attempt, *match, findings};
        addShorts(proof);
        addSwaps(proof);
        addShifts(proof);
        addNoise(proof);
        // A pin that was found at fault, here or in its burst, explains the words.
        if (findings.empty()) {
            addWrongWords(proof, dataPins);
        }
    }
    if (!proofs) {
        limits.push_back("There is no proof recording, so that pins that are swapped, shorted or a bit off cannot be "
                         "told.");
    } else if (!tellsApart) {
        limits.push_back("The proof's pattern is the same on several pins, so that swapped or shorted pins cannot be "
                         "told.");
    }
}

} // namespace diagnosis::rules
