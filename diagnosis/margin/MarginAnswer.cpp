#include "diagnosis/margin/MarginScan.h"
#include "toolkit/Format.h"

#include <algorithm>
#include <cmath>

namespace diagnosis {

namespace {

std::string nanosecondsText(const RateScan& rate, double samples) {
    return toolkit::fixedText(rate.picoseconds(samples) / 1000.0, 1) + " ns";
}

std::string refusedText(const RateScan& rate) {
    if (rate.next) {
        return faster::nextRateText(*rate.next, rate.titles);
    }
    return toolkit::frequencyText(rate.hertz) + " is not scanned: " + rate.refusal;
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

/// Of a lane's sampling point: the clock's delay against its own.
int pointOf(const Delays& delays, std::size_t lane) {
    return static_cast<int>(delays.clock) - static_cast<int>(delays.lanes[lane]);
}

constexpr int equivalentMove = 1; ///< samples: what one burst differs from the next

} // namespace

std::string movedSince(const RateScan& rate, const Delays& now, const std::vector<int>& stretches) {
    const Delays& kept = rate.plan.kept;
    const bool isSameChannel = now.lanes.size() == kept.lanes.size() && rate.eyes.size() == kept.lanes.size() &&
                               stretches.size() == rate.stretches.size() && stretches.size() == kept.lanes.size() + 1;
    if (!isSameChannel) {
        return "their number is another";
    }
    const auto stretched = [&](std::size_t pin) { return std::abs(stretches[pin] - rate.stretches[pin]); };
    for (std::size_t lane = 0; lane < kept.lanes.size(); ++lane) {
        const LaneEye& eye = rate.eyes[lane];
        const int offset = pointOf(now, lane) - pointOf(kept, lane);
        const int around = stretched(0) + stretched(lane + 1);
        const bool isNear = std::abs(offset) + around <= equivalentMove;
        const bool isClean =
            eye.keptErrors == 0 && offset - around >= -eye.setup.clean && offset + around <= eye.hold.clean;
        if ((offset == 0 && around == 0) || (isNear && isClean)) {
            continue;
        }
        const std::string& title = rate.titles[lane];
        return offset == 0 ? "the stretches that " + title + " is sampled with are others"
                           : "the sampling point of " + title + " is " +
                                 toolkit::countText(static_cast<std::size_t>(std::abs(offset)), "sample") +
                                 (offset > 0 ? " later" : " earlier");
    }
    return {};
}

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

const RateScan* fastestSound(const MarginScan& scan) {
    const RateScan* fastest = nullptr;
    for (const RateScan& rate : scan) {
        fastest = isSound(rate) ? &rate : fastest;
    }
    return fastest;
}

std::string marginAnswer(const MarginScan& scan) {
    const RateScan* fastest = fastestSound(scan);
    std::string text;
    if (fastest != nullptr) {
        text += scannedText(*fastest) +
                (fastest->isFastest ? "; the target has no faster rate that the unit records" : "") + "\n";
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
