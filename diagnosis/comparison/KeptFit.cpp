#include "diagnosis/comparison/KeptFit.h"

#include "diagnosis/comparison/Comparison.h"
#include "toolkit/Format.h"

#include <algorithm>
#include <cmath>

namespace diagnosis {

namespace {

constexpr double worthANote = 1.0; ///< samples
/// What bursts of the same board differ by: positions are known to half a sample where the clock's period is a whole
/// number of samples.
constexpr double unmoved = 0.5;

std::string since(const KeptCalibration& kept) {
    return kept.date.empty() ? std::string() : " since " + kept.date;
}

std::string driftText(const KeptCalibration& kept, const std::string& title, double later) {
    return title + " has drifted by " + lengthText(kept, std::abs(later)) + (later < 0.0 ? " earlier" : " later") +
           since(kept);
}

struct Lane {
    const KeptPin& before;
    const KeptPin& after;
    double errorRate;

    /// How much the smaller margin has to spare.
    double spare(const KeptPin& pin) const {
        return std::min(pin.margins->setup, pin.margins->hold) - marginLimit(errorRate, pin.margins->mostJitter);
    }
    /// The values are the same, so that the margins move as the wire does.
    double later() const {
        return ((after.margins->hold - before.margins->hold) - (after.margins->setup - before.margins->setup)) / 2.0;
    }
    double narrower() const {
        return before.margins->hold + before.margins->setup - after.margins->hold - after.margins->setup;
    }
};

void judgeLane(const KeptCalibration& kept, const Lane& lane, KeptFit& fit) {
    const std::string& title = lane.after.title;
    if (!lane.after.margins) {
        fit.reasons.push_back(title + " shows too few changes for its margins");
        return;
    }
    if (lane.spare(lane.after) >= 0.0) {
        if (lane.before.margins && std::abs(lane.later()) > worthANote) {
            fit.notes.push_back(driftText(kept, title, lane.later()) + "; its margins still suffice");
        }
        return;
    }
    const LaneMargins& now = *lane.after.margins;
    const bool isSetup = now.setup <= now.hold;
    const std::string thin = std::string(isSetup ? "setup" : "hold") + " margin of " +
                             toolkit::fixedText(std::min(now.setup, now.hold), 1) + " samples, and " +
                             toolkit::fixedText(marginLimit(lane.errorRate, now.mostJitter), 1) + " are needed";
    if (!lane.before.margins) {
        fit.reasons.push_back(title + " has a " + thin);
        return;
    }
    // Of a board that has not changed the jitter, too, is known to some percent only.
    constexpr double sameJitter = 1.25;
    const bool asBefore = std::abs(lane.later()) <= unmoved && lane.narrower() <= 2.0 * unmoved &&
                          now.mostJitter <= sameJitter * lane.before.margins->mostJitter + 0.05;
    if (asBefore) {
        fit.thin = true;
        fit.notes.push_back(title + " is as thin as it was");
    } else if (std::abs(lane.later()) > unmoved) {
        fit.reasons.push_back(driftText(kept, title, lane.later()) + ": a " + thin);
    } else {
        fit.reasons.push_back(title + " has got worse" + since(kept) + ": a " + thin);
    }
}

} // namespace

KeptFit fitOf(const KeptCalibration& kept, const std::vector<KeptPin>& now, double hertz, double errorRate) {
    KeptFit fit;
    if (kept.hertz && !isSameRate(*kept.hertz, hertz)) {
        fit.reasons.push_back("the clock has " + toolkit::frequencyText(hertz) + " instead of " +
                              toolkit::frequencyText(*kept.hertz) + since(kept));
        return fit; // margins at another rate are others
    }
    if (now.size() != kept.pins.size()) {
        fit.reasons.push_back("there are " + toolkit::countText(now.size(), "pin") + " instead of " +
                              std::to_string(kept.pins.size()));
        return fit;
    }
    for (std::size_t proc = 1; proc < now.size(); ++proc) {
        judgeLane(kept, {kept.pins[proc], now[proc], errorRate}, fit);
    }
    return fit;
}

} // namespace diagnosis
