#include "diagnosis/verdict/LaneRows.h"
#include "diagnosis/verdict/VerdictRules.h"
#include "toolkit/Format.h"

#include <algorithm>

// Margins of the kept setting.

namespace diagnosis::verdict_rules {

namespace {

WorstMargin marginOf(const Judgement& judged, const JudgedLane& lane) {
    const double sample = 1e9 / judged.set.sampleRate();
    WorstMargin worst;
    worst.pin = lane.pin;
    worst.title = pinTitle(judged.set, lane.pin);
    worst.isSetup = lane.setup <= lane.hold;
    worst.samples = lane.smaller();
    worst.nanoseconds = worst.samples * sample;
    worst.percentOfBit = lane.bit > 0.0 ? 100.0 * worst.samples / lane.bit : 0.0;
    worst.limitSamples = lane.limit;
    return worst;
}

std::string sentenceOf(const WorstMargin& worst) {
    return worst.title + " has a " + (worst.isSetup ? "setup" : "hold") + " margin of " +
           toolkit::fixedText(worst.samples, 1) + " samples";
}

void judgeLanes(Judgement& judged, const std::vector<JudgedLane>& lanes) {
    const auto spare = [](const JudgedLane& lane) { return lane.smaller() - lane.limit; };
    const JudgedLane& least =
        *std::min_element(lanes.begin(), lanes.end(),
                          [&](const JudgedLane& left, const JudgedLane& right) { return spare(left) < spare(right); });
    const WorstMargin worst = marginOf(judged, least);
    judged.verdict.worstMargin = worst;
    const std::string limit = toolkit::fixedText(worst.limitSamples, 1);
    judged.show("margins", true, sentenceOf(worst) + ", the smallest of all against its limit of " + limit);
    for (const JudgedLane& lane : lanes) {
        if (lane.smaller() < lane.certain) {
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
    // Below its lowest analysed clock the receiver measures nothing, but its burst is taken with the kept settings.
    const bool isSlow = attempt->rates().belowAnalysis() && !judged.measuredGiven();
    std::vector<JudgedLane> lanes;
    const double asked = askedErrorRate(judged.set);
    for (std::size_t pin = 1; pin < attempt->pins(); ++pin) {
        if (const auto lane = judgedLane(*attempt, pin, asked)) {
            lanes.push_back(*lane);
        }
    }
    const bool isIncomplete = lanes.empty() || lanes.size() + 1 < attempt->pins();
    if (isIncomplete && isSlow) {
        missing("margins-not-measured",
                "below 10.1 MHz the receiver measures no margins, and the burst shows too few changes",
                "choose a faster setting of the target");
    } else if (isIncomplete) {
        missing("margins-missing", "the files do not show the margins of every lane",
                "keep the burst (.cap.txt) and the report (.cal.txt) of the calibration");
    }
    if (!lanes.empty()) {
        judgeLanes(judged, lanes);
    }
}

} // namespace diagnosis::verdict_rules
