#include "diagnosis/comparison/Comparison.h"

#include "toolkit/Format.h"

#include <algorithm>
#include <cmath>

namespace diagnosis {

namespace {

std::string rateOf(const KeptCalibration& kept) {
    return kept.hertz ? toolkit::frequencyText(*kept.hertz) : std::string("an unknown rate");
}

LaneChange changeOf(const Comparison& comparison, std::size_t proc) {
    const KeptPin& before = comparison.a.pins[proc];
    const KeptPin& after = comparison.b.pins[proc];
    LaneChange lane;
    lane.pin = proc;
    lane.title = after.title;
    if (before.margins && after.margins) {
        lane.setupChange = after.margins->setup - before.margins->setup;
        lane.holdChange = after.margins->hold - before.margins->hold;
        lane.fallLater = *after.lateFall - *before.lateFall;
    }
    // At another rate the edges of the clock are elsewhere.
    if (comparison.sameRate && before.arrival && after.arrival) {
        lane.moved = movedBy(*before.arrival, *after.arrival, after.margins->bit);
    }
    return lane;
}

void takeShrink(std::optional<Shrink>& worst, const LaneChange& lane, bool isSetup) {
    const std::optional<double>& change = isSetup ? lane.setupChange : lane.holdChange;
    if (change && *change < 0.0 && (!worst || -*change > worst->samples)) {
        worst = Shrink{lane.pin, lane.title, isSetup, -*change};
    }
}

std::string amount(const Comparison& comparison, double samples) {
    return lengthText(comparison.b, std::abs(samples));
}

void describeLane(Comparison& comparison, const LaneChange& lane) {
    if (lane.moved && std::abs(*lane.moved) > comparison.tolerance) {
        comparison.differences.push_back(lane.title + " comes " + amount(comparison, *lane.moved) +
                                         (*lane.moved > 0.0 ? " later" : " earlier"));
    }
    if (lane.fallLater && std::abs(*lane.fallLater) > comparison.tolerance) {
        comparison.differences.push_back("the falling edges of " + lane.title + " come " +
                                         amount(comparison, *lane.fallLater) +
                                         (*lane.fallLater > 0.0 ? " later" : " earlier") + " against the rising ones");
    }
    const bool unmeasured = !lane.setupChange && comparison.a.calibrated && comparison.b.calibrated;
    if (unmeasured) {
        comparison.differences.push_back(lane.title + " has no margins in one of the two, so nothing is known of it");
    }
}

void describeRun(Comparison& comparison) {
    const KeptCalibration& a = comparison.a;
    const KeptCalibration& b = comparison.b;
    const auto say = [&](const std::string& text) { comparison.differences.push_back(text); };
    for (const KeptCalibration* each : {&a, &b}) {
        if (!each->calibrated) {
            say((each == &a ? std::string("A") : std::string("B")) + " is not calibrated");
        }
    }
    if (a.exportKind != b.exportKind) {
        say("the export is " + a.exportKind + " in A and " + b.exportKind + " in B");
    }
    if (a.pins.size() != b.pins.size()) {
        say("A has " + toolkit::countText(a.pins.size(), "pin") + " and B " + std::to_string(b.pins.size()));
    } else if (!a.pinMap.empty() && !b.pinMap.empty() && a.pinMap != b.pinMap) {
        say("the pins are " + a.pinMap + " in A and " + b.pinMap + " in B");
    }
    if (a.calibrated && b.calibrated && !comparison.sameRate) {
        say("the clock is " + rateOf(a) + " in A and " + rateOf(b) + " in B");
    }
}

} // namespace

std::string lengthText(const KeptCalibration& kept, double samples) {
    return toolkit::fixedText(samples, 1) + " samples (" + toolkit::fixedText(kept.nanoseconds(samples), 1) + " ns)";
}

Comparison compare(const KeptCalibration& a, const KeptCalibration& b, double tolerance) {
    Comparison comparison;
    comparison.a = a;
    comparison.b = b;
    comparison.tolerance = tolerance;
    comparison.sameRate = a.hertz && b.hertz && isSameRate(*a.hertz, *b.hertz);
    describeRun(comparison);
    for (std::size_t proc = 1; proc < std::min(a.pins.size(), b.pins.size()); ++proc) {
        comparison.lanes.push_back(changeOf(comparison, proc));
        describeLane(comparison, comparison.lanes.back());
        for (const bool isSetup : {true, false}) {
            takeShrink(comparison.shrink, comparison.lanes.back(), isSetup);
        }
    }
    comparison.equal = comparison.differences.empty();
    return comparison;
}

bool isWorse(const Comparison& comparison, double allowed) {
    const KeptCalibration& a = comparison.a;
    const KeptCalibration& b = comparison.b;
    const bool lost = a.calibrated && !b.calibrated;
    const bool slower = a.hertz && b.hertz && !comparison.sameRate && *b.hertz < *a.hertz;
    return lost || slower || (comparison.shrink && comparison.shrink->samples > allowed);
}

} // namespace diagnosis
