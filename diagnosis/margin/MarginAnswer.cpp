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
