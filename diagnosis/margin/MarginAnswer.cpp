#include "diagnosis/margin/MarginScan.h"
#include "toolkit/Format.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace diagnosis {

namespace {

/// Changes that are this many deviations away from their mean decide about the smallest distances in a burst.
constexpr double deviationsInBurst = 2.5;
/// Setup and hold margin together have to be a third of the clock's period.
constexpr double neededShareOfBit = 2.0 / 3.0;

std::string nanosecondsText(const RateScan& rate, double samples) {
    return toolkit::fixedText(rate.picoseconds(samples) / 1000.0, 1) + " ns";
}

/// The smallest distances of a lane, as the calibration sees them.
struct Distances {
    double setup = 0.0, hold = 0.0;
};

std::vector<Distances> distancesOf(const RateScan& rate) {
    std::vector<Distances> all;
    for (const auto& burst : rate.bursts) {
        if (!burst) {
            return {};
        }
        const double spread = deviationsInBurst * burst->jitter;
        all.push_back({burst->setup - spread, burst->hold + 1.0 - spread});
    }
    return all;
}

/// The common margins of all lanes but one.
Distances leastWithout(const std::vector<Distances>& lanes, std::size_t left) {
    Distances least{std::numeric_limits<double>::max(), std::numeric_limits<double>::max()};
    for (std::size_t i = 0; i < lanes.size(); ++i) {
        if (i != left) {
            least.setup = std::min(least.setup, lanes[i].setup);
            least.hold = std::min(least.hold, lanes[i].hold);
        }
    }
    return least;
}

/// Whether a delay is at the end of its range, so that the lanes could not be brought together.
bool isAtEnd(const Delays& delays, unsigned longest) {
    return std::ranges::any_of(delays.lanes, [=](unsigned delay) { return delay == longest; });
}

std::string refusedText(const RateScan& rate) {
    std::string text = toolkit::frequencyText(rate.hertz) + " is refused: " + rate.refusal;
    if (const auto step = nextStepOf(rate)) {
        return text + "; " + rate.titles[step->lane] + " comes " + nanosecondsText(rate, std::abs(step->move)) +
               (step->move < 0.0 ? " late" : " early") + ", and with it moved the rate would have " +
               nanosecondsText(rate, step->margin);
    }
    return text;
}

std::string scannedText(const RateScan& rate) {
    const std::string name = toolkit::frequencyText(rate.hertz);
    for (const LaneEye& eye : rate.eyes) {
        if (eye.keptErrors != 0) {
            return name + " is wrong: " + rate.titles[eye.lane] + " has " + std::to_string(eye.keptErrors) +
                   " errors in " + std::to_string(eye.keptBits) + " bits at the kept values";
        }
    }
    const auto least = leastMarginOf(rate);
    if (!least) {
        return name + ": no margin was measured";
    }
    const bool isBound = least->state == WallState::Clipped && !least->byBurst;
    return name + " is sound with " + (isBound ? "at least " : "") + nanosecondsText(rate, least->samples) +
           ": the least margin is the " + (least->isSetup ? "setup" : "hold") + " margin of " +
           rate.titles[least->lane] + ", " + toolkit::fixedText(least->samples, 1) + " samples" +
           (least->byBurst ? ", by the calibration's burst: the range of delays ends before that wall" : "");
}

} // namespace

bool isSound(const RateScan& rate) {
    return rate.isScanned() &&
           std::ranges::all_of(rate.eyes, [](const LaneEye& eye) { return eye.keptErrors == 0 && eye.keptBits != 0; });
}

std::string samplesText(const std::optional<double>& samples) {
    return samples ? toolkit::fixedText(*samples, 1) : "-";
}

std::string disagreementOf(const RateScan& rate, std::size_t lane) {
    const auto& burst = lane < rate.bursts.size() ? rate.bursts[lane] : std::nullopt;
    if (!burst || lane >= rate.eyes.size()) {
        return {};
    }
    std::string text;
    const auto compare = [&](const char* name, const LaneWall& wall, double expected) {
        if (wall.middle && wall.state != WallState::Clipped && std::abs(*wall.middle - expected) > agreement) {
            text += (text.empty() ? "" : "; ") + std::string(name) + " margin " + toolkit::fixedText(*wall.middle, 1) +
                    " samples, by the calibration's burst " + toolkit::fixedText(expected, 1);
        }
    };
    compare("setup", rate.eyes[lane].setup, burst->setup);
    compare("hold", rate.eyes[lane].hold, burst->hold);
    return text;
}

std::optional<LeastMargin> leastMarginOf(const RateScan& rate) {
    std::optional<LeastMargin> least;
    for (std::size_t lane = 0; lane < rate.eyes.size(); ++lane) {
        for (const bool isSetup : {true, false}) {
            const LaneWall& wall = isSetup ? rate.eyes[lane].setup : rate.eyes[lane].hold;
            if (!wall.margin) {
                continue;
            }
            const auto& burst = lane < rate.bursts.size() ? rate.bursts[lane] : std::nullopt;
            LeastMargin own{lane, isSetup, *wall.margin, wall.state};
            if (burst && wall.state == WallState::Clipped) {
                const double shown = (isSetup ? burst->setup : burst->hold) - deviationsAt(wallRate) * burst->jitter;
                own.byBurst = shown > own.samples;
                own.samples = std::max(own.samples, shown);
            }
            if (!least || own.samples < least->samples) {
                least = own;
            }
        }
    }
    return least;
}

std::optional<NextStep> nextStepOf(const RateScan& refused) {
    const std::vector<Distances> lanes = distancesOf(refused);
    if (refused.refusal.empty() || lanes.size() < 2 || !isAtEnd(refused.plan.kept, refused.plan.longestDelay)) {
        return std::nullopt;
    }
    const double needed = neededShareOfBit * refused.plan.bitSamples;
    std::optional<NextStep> best;
    for (std::size_t lane = 0; lane < lanes.size(); ++lane) {
        const Distances others = leastWithout(lanes, lane);
        const Distances& own = lanes[lane];
        const double move = ((own.setup - others.setup) - (own.hold - others.hold)) / 2.0;
        const double setup = std::min(others.setup, own.setup - move);
        const double hold = std::min(others.hold, own.hold + move);
        const double margin = (setup + hold - 1.0) / 2.0; // the clock's delay centres them
        if (setup + hold >= needed && (!best || margin > best->margin)) {
            best = NextStep{lane, move, margin};
        }
    }
    return best;
}

std::string marginAnswer(const MarginScan& scan) {
    const RateScan* fastest = nullptr;
    for (const RateScan& rate : scan) {
        fastest = isSound(rate) ? &rate : fastest;
    }
    std::string text;
    if (fastest != nullptr) {
        text += scannedText(*fastest) + "\n";
    }
    for (const RateScan& rate : scan) {
        if (fastest != nullptr && rate.hertz <= fastest->hertz && (isSound(rate) || &rate == fastest)) {
            continue;
        }
        if (!rate.refusal.empty()) {
            text += refusedText(rate) + "\n";
        } else if (rate.isScanned()) {
            text += scannedText(rate) + "\n";
        }
    }
    return text.empty() ? "no rate was scanned\n" : text;
}

} // namespace diagnosis
