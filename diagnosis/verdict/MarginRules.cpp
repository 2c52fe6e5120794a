#include "diagnosis/analysis/BurstAnalysis.h"
#include "diagnosis/analysis/LaneMargins.h"
#include "diagnosis/verdict/VerdictRules.h"
#include "toolkit/Format.h"

#include <algorithm>

// Margins of the kept setting.

namespace diagnosis::verdict_rules {

namespace {

/// A lane's margins and what they are held against, in samples.
struct Lane {
    std::size_t pin = 0;
    double setup = 0.0, hold = 0.0;
    double limit = 0.0;   ///< below it the verdict is thin
    double certain = 0.0; ///< below it bits are wrong for certain
    double bit = 0.0;
};

/// From the burst: limit and certainty follow from the jitter.
std::optional<Lane> laneOfBurst(const Burst& burst, std::size_t pin, double errorRate) {
    const auto measured = measureLane(burst, pin);
    if (!measured) {
        return std::nullopt;
    }
    return Lane{pin,
                measured->setup,
                measured->hold,
                marginLimit(errorRate, measured->mostJitter),
                deviationsAt(certainErrorRate) * measured->leastJitter - marginUncertainty,
                measured->bit};
}

/// From the report: smallest distances in whole samples, without a measure of the jitter that they have. Its hold margins
/// count the clock edge's own sample twice.
std::optional<Lane> laneOfReport(const CalFile& cal, std::size_t pin) {
    const CalPin& lane = cal.pins[pin];
    if (!lane.setupMargin || !lane.holdMargin) {
        return std::nullopt;
    }
    const double bit = cal.rates.oversampling / 2.0;
    return Lane{pin,
                static_cast<double>(*lane.setupMargin),
                static_cast<double>(*lane.holdMargin) - 2.0,
                limitWithoutJitter * bit,
                -1.0,
                bit};
}

std::optional<Lane> laneOf(const FileGroup& attempt, std::size_t pin, double errorRate) {
    if (attempt.burst && attempt.burst->taken() && pin < attempt.burst->pins.size()) {
        if (const auto lane = laneOfBurst(*attempt.burst, pin, errorRate)) {
            return lane;
        }
    }
    return attempt.cal && pin < attempt.cal->pins.size() ? laneOfReport(*attempt.cal, pin) : std::nullopt;
}

WorstMargin marginOf(const Judgement& judged, const Lane& lane) {
    const double sample = 1e9 / judged.set.sampleRate();
    WorstMargin worst;
    worst.pin = lane.pin;
    worst.title = pinTitle(judged.set, lane.pin);
    worst.isSetup = lane.setup <= lane.hold;
    worst.samples = std::min(lane.setup, lane.hold);
    worst.nanoseconds = worst.samples * sample;
    worst.percentOfBit = lane.bit > 0.0 ? 100.0 * worst.samples / lane.bit : 0.0;
    worst.limitSamples = lane.limit;
    return worst;
}

std::string sentenceOf(const WorstMargin& worst) {
    return worst.title + " has a " + (worst.isSetup ? "setup" : "hold") + " margin of " +
           toolkit::fixedText(worst.samples, 1) + " samples";
}

void judgeLanes(Judgement& judged, const std::vector<Lane>& lanes) {
    const auto spare = [](const Lane& lane) { return std::min(lane.setup, lane.hold) - lane.limit; };
    const Lane& least = *std::min_element(
        lanes.begin(), lanes.end(), [&](const Lane& left, const Lane& right) { return spare(left) < spare(right); });
    const WorstMargin worst = marginOf(judged, least);
    judged.verdict.worstMargin = worst;
    const std::string limit = toolkit::fixedText(worst.limitSamples, 1);
    judged.show("margins", true, sentenceOf(worst) + ", the smallest of all against its limit of " + limit);
    for (const Lane& lane : lanes) {
        if (std::min(lane.setup, lane.hold) < lane.certain) {
            judged.faults.push_back({"margin-none", sentenceOf(marginOf(judged, lane)) +
                                                        ", and its jitter alone needs " +
                                                        toolkit::fixedText(lane.certain, 1)});
            return;
        }
    }
    if (worst.samples < worst.limitSamples) {
        for (const Finding& finding : judged.diagnosis.findings) {
            if (finding.kind == FindingKind::DutyBeyondCorrection) {
                judged.thins.push_back({slugOf(finding.kind), finding.text}); // which costs the margin
            }
        }
        judged.thins.push_back({"margin-thin", sentenceOf(worst) + ", and " + limit + " are needed for " +
                                                   rateText(askedErrorRate(judged.set)) + " errors per bit"});
    }
}

} // namespace

void judgeMargins(Judgement& judged) {
    const FileGroup* attempt = judged.attempt();
    const auto missing = [&](const char* slug, const std::string& what, const std::string& remedy) {
        judged.unknowns.push_back({slug, what});
        judged.show("margins", false, remedy);
    };
    if (judged.set.manual() && !judged.measuredGiven()) {
        missing("values-given", "the unit was set with given values, and no margin was measured",
                "calibrate automatically (calMode=automatic; tpiulite cannot be calibrated), or compare known words");
        return;
    }
    if (judged.loneStream() != nullptr) {
        judged.show("margins", false, "the files of the calibration show them; name the folder of the run with --run");
        return;
    }
    if (attempt == nullptr || !judged.diagnosis.calibrated.value_or(false)) {
        judged.show("margins", false, "no setting was kept, and there is nothing to measure them on");
        return;
    }
    if (attempt->rates().belowAnalysis() && !judged.measuredGiven()) {
        missing("margins-not-measured", "below 10.1 MHz the receiver measures no margins",
                "choose a setting of the target from 10.1 MHz on");
        return;
    }
    std::vector<Lane> lanes;
    const double asked = askedErrorRate(judged.set);
    for (std::size_t pin = 1; pin < attempt->pins(); ++pin) {
        if (const auto lane = laneOf(*attempt, pin, asked)) {
            lanes.push_back(*lane);
        }
    }
    if (lanes.empty() || lanes.size() + 1 < attempt->pins()) {
        missing("margins-missing", "the files do not show the margins of every lane",
                "keep the burst (.cap.txt) and the report (.cal.txt) of the calibration");
    }
    if (!lanes.empty()) {
        judgeLanes(judged, lanes);
    }
}

} // namespace diagnosis::verdict_rules
