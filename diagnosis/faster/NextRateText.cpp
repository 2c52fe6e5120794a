#include "diagnosis/faster/NextRate.h"
#include "toolkit/Format.h"
#include "toolkit/LaneNames.h"

#include <cmath>

namespace diagnosis::faster {

namespace {

std::string samplesOf(double samples) {
    return toolkit::fixedText(samples, 1) + " samples";
}

std::string nanosecondsOf(double samples, double sampleRate) {
    return toolkit::fixedText(samples * 1e9 / sampleRate, 1) + " ns";
}

std::string laneOf(const RefusedRate& rate, std::size_t lane) {
    return toolkit::laneLabel({lane + 1, rate.bursts.front().dataPins()});
}

std::string marginRuleText(const RefusedRate& rate, const AutomaticAttempt& attempt) {
    // At bits of few samples data in the middle count as near clock edges: the clock is then moved onto their changes.
    const bool areTogether = attempt.setup <= 1 && attempt.hold <= 1 && attempt.vote.near > attempt.vote.between;
    const std::string cause = areTogether ? "the calibration's vote takes " + std::to_string(attempt.vote.near) +
                                                " of " + std::to_string(attempt.vote.near + attempt.vote.between) +
                                                " data edges for near the clock's and moves the clock by half a "
                                                "period, to where data change: "
                                          : "";
    return cause + "the setup margin of " + laneOf(rate, attempt.setupProc - 1) + " and the hold margin of " +
           laneOf(rate, attempt.holdProc - 1) + " add up to " + std::to_string(attempt.setup + attempt.hold) +
           " samples, and the calibration wants " + std::to_string(attempt.need) + ", a third of a clock period";
}

std::string wordsText(const RefusedRate& rate, const Predicted& asWired) {
    return "the calibration centres the clock on " + laneOf(rate, 0) + ", which leaves " +
           laneOf(rate, asWired.choice.worst) + " " + samplesOf(asWired.choice.margin) + " of margin, and " +
           toolkit::fixedText(asWired.choice.limit, 1) + " are needed" +
           (asWired.attempt.isCut ? "; a delay is at the end of its range" : "");
}

} // namespace

std::string limitText(const RefusedRate& rate, const Predicted& asWired) {
    if (rate.found.kind == tune::Found::Kind::Nothing && rate.found.choice.spare < 0.0) {
        const tune::LanePlace& lane = rate.found.places->lanes[rate.found.choice.worst];
        return "with any values " + laneOf(rate, rate.found.choice.worst) + " has " +
               samplesOf(rate.found.choice.margin) + " of margin at most, and " +
               toolkit::fixedText(rate.found.choice.limit, 1) + " are needed: its jitter is " +
               toolkit::fixedText(lane.likelyWithClock, 2) + " samples, its falls are " +
               toolkit::fixedText(std::abs(lane.fall - lane.rise), 1) + " samples apart from its rises";
    }
    const AutomaticAttempt& attempt = asWired.attempt;
    if (attempt.end == AutomaticAttempt::End::NoPosition ||
        (attempt.isNear && attempt.setup + attempt.hold > attempt.need)) {
        return "the calibration's vote is " +
               std::string(attempt.end == AutomaticAttempt::End::NoPosition ? "undecided" : "nearly undecided") + ": " +
               std::to_string(attempt.vote.between) + " data edges between clock edges, " +
               std::to_string(attempt.vote.near) + " near them";
    }
    if (attempt.isNear || attempt.end == AutomaticAttempt::End::LittleMargin) {
        return marginRuleText(rate, attempt);
    }
    if (asWired.kind == Predicted::Kind::Sound) {
        return "by the calibration's rules it would pass on the bursts that were measured";
    }
    return wordsText(rate, asWired);
}

std::string nextRateText(const NextRate& next, const std::vector<std::string>& titles) {
    const std::string name = toolkit::frequencyText(next.hertz) + " fails: ";
    if (!next.move) {
        return name + next.limit + "; no single wire's move is sure to mend that" +
               (next.tuned ? ", orvtrace tune finds values that do" : "");
    }
    const WireMove& move = *next.move;
    const std::string lane =
        move.lane < titles.size() ? titles[move.lane] : toolkit::laneLabel({move.lane + 1, titles.size()});
    const std::string bought = move.hertz > next.hertz ? toolkit::frequencyText(move.hertz) : "the next rate";
    return name + lane + " comes " + nanosecondsOf(std::abs(move.samples), move.sampleRate) +
           (move.samples < 0 ? " late" : " early") + "; with it moved " + bought + " would have " +
           nanosecondsOf(move.margin, move.sampleRate);
}

} // namespace diagnosis::faster
