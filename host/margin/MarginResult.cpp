#include "diagnosis/margin/MarginScan.h"
#include "host/margin/MarginRun.h"
#include "toolkit/Format.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <ctime>

namespace host {

namespace {

using diagnosis::RateScan;

std::string today() {
    const std::time_t now = std::chrono::system_clock::to_time_t(std::chrono::system_clock::now());
    char text[32] = "";
    if (const std::tm* parts = std::gmtime(&now)) {
        std::strftime(text, sizeof text, "%Y-%m-%d %H:%M UTC", parts);
    }
    return text;
}

std::string marginComment(const RateScan& rate, std::size_t lane) {
    const diagnosis::LaneEye& eye = rate.eyes[lane];
    const auto shown = [](const diagnosis::LaneWall& wall) {
        return (wall.margin ? toolkit::fixedText(*wall.margin, 1) : std::string("-")) + " (" +
               diagnosis::wallStateName(wall.state) + ")";
    };
    return "# " + rate.titles[lane] + ": setup margin " + shown(eye.setup) + ", hold margin " + shown(eye.hold) +
           " samples\n";
}

} // namespace

std::string pinnedProperties(const MarginResult& result) {
    const RateScan* best = diagnosis::fastestSound(result.rates);
    if (best == nullptr) {
        throw toolkit::Failure(toolkit::ExitCode::Failed,
                               "no rate was scanned without a fault, so that there is none to "
                               "pin");
    }
    std::string text = "# Made by orvtrace margin, " + today() + "\n# " + result.cpu + ", pins " + result.pinMap +
                       ", " + toolkit::frequencyText(best->hertz) + ", unit's sampling clock " +
                       toolkit::frequencyText(best->sampleRate) + "\n";
    for (std::size_t lane = 0; lane < best->eyes.size(); ++lane) {
        text += marginComment(*best, lane);
    }
    if (result.log.frequencies.size() != 1) {
        // The fastest rate below the limit is tried first.
        return text + "frequencyLimit=" + toolkit::numberText(best->hertz * 1.005, 0) + "\n";
    }
    if (const auto values = result.calibration ? valuesOf(*result.calibration) : std::nullopt) {
        PinValues pinned = *values;
        pinned.delays.front() = best->plan.kept.clock;
        std::ranges::copy(best->plan.kept.lanes, pinned.delays.begin() + 1);
        pinned.stretches = best->stretches;
        for (const auto& [name, value] : propertiesOf(pinned)) {
            text += name + "=" + value + "\n";
        }
    }
    return text;
}

nlohmann::json marginResultJson(const MarginResult& result) {
    nlohmann::json out = sessionJson(result);
    out["cpu"] = result.cpu;
    out["answer"] = diagnosis::marginAnswer(result.rates);
    out["rates"] = diagnosis::marginJson(result.rates);
    return out;
}

} // namespace host
