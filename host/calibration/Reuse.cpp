#include "host/calibration/Reuse.h"

#include <algorithm>

namespace host {

namespace {

PinValues valuesOf(const diagnosis::KeptCalibration& kept) {
    PinValues values;
    for (const diagnosis::KeptPin& pin : kept.pins) {
        values.delays.push_back(static_cast<unsigned>(*pin.delay));
        values.stretches.push_back(*pin.stretch);
        values.plateaus.push_back(static_cast<unsigned>(*pin.plateau));
        values.debounces.push_back(static_cast<unsigned>(*pin.debounce));
        values.filters.push_back(static_cast<unsigned>(*pin.filter));
    }
    return values;
}

/// Why the channel of this run is another than the kept one's; empty if it is not.
std::string otherChannel(const diagnosis::KeptCalibration& kept, const SessionResult& result) {
    if (!kept.pinMap.empty() && !result.pinMap.empty() && kept.pinMap != result.pinMap) {
        return "it was made for the pins " + kept.pinMap + ", and this run has " + result.pinMap;
    }
    const auto& report = result.calibration;
    if (report && report->pins.size() != kept.pins.size()) {
        return "it was made for " + std::to_string(kept.pins.size()) + " pins, and this run has " +
               std::to_string(report->pins.size());
    }
    if (report && !kept.exportKind.empty() && report->exportKind != kept.exportKind) {
        return "it was made for a " + kept.exportKind + " export, and this run's is " + report->exportKind;
    }
    return {};
}

std::string wordsFault(const diagnosis::WordCheck& check) {
    if (check.errors != 0) {
        return "known words come back with " + std::to_string(check.errors) + " wrong bits of " +
               std::to_string(check.bits);
    }
    return check.bits == 0 || !check.failure.empty() ? "known words could not be compared: " + check.failure
                                                     : std::string();
}

} // namespace

std::string reuseObstacle(const diagnosis::KeptCalibration& kept) {
    if (!kept.calibrated) {
        return "it is no calibration that was kept";
    }
    if (kept.exportKind == "tpiulite") {
        return "a tpiulite export is never calibrated, so there is nothing to use again";
    }
    if (!kept.hasValues() || !kept.setting || !kept.hertz) {
        return "its files do not show all values of every pin, the setting and the rate";
    }
    return {};
}

double reuseErrorRate(double bitsPerSecond) {
    constexpr double seconds = 0.2;
    constexpr double bitsForARate = 3.0; // times its reciprocal
    return bitsPerSecond > 0.0 ? std::clamp(bitsForARate / (seconds * bitsPerSecond), 1e-9, briefErrorRate)
                               : briefErrorRate;
}

ReuseAnswer reuse(const diagnosis::KeptCalibration& kept, ChosenValues& values, PatternTransmitter& transmitter,
                  SessionResult& result, diagnosis::WordCheck::When when, std::optional<double> errorRate) {
    ReuseAnswer answer;
    const auto refuse = [&](std::vector<std::string> reasons) {
        answer.reasons = std::move(reasons);
        values.leave();
        return answer;
    };
    const std::optional<unsigned> settings = transmitter.settings();
    if (settings && *kept.setting >= *settings) {
        return refuse({"the target has no setting " + std::to_string(*kept.setting)});
    }
    try {
        values.measureRate(*kept.setting);
    } catch (const toolkit::Failure& failure) {
        if (failure.code != toolkit::ExitCode::CalibrationRefused) {
            throw;
        }
        return refuse({std::string("its rate cannot be measured: ") + failure.what()});
    }
    if (const std::string other = otherChannel(kept, result); !other.empty()) {
        return refuse({other});
    }
    const double hertz = result.hertz.value_or(0.0);
    const diagnosis::Burst burst = values.set(valuesOf(kept), PatternTransmitter::Pattern::F0);
    diagnosis::DiagnosticSet shown;
    shown.base.burst = burst;
    const diagnosis::KeptFit fit = diagnosis::fitOf(kept, diagnosis::pinsOfBurst(shown, burst), hertz,
                                                    std::min(errorRate.value_or(1.0), diagnosis::usualErrorRate));
    if (!fit.holds()) {
        return refuse(fit.reasons);
    }
    answer.notes = fit.notes;
    const double bits = 2.0 * hertz * static_cast<double>(kept.pins.size() - 1);
    const double brief = errorRate.value_or(reuseErrorRate(bits));
    const diagnosis::WordCheck check =
        values.compareWords(when, fit.thin ? std::min(brief, diagnosis::usualErrorRate) : brief);
    if (const std::string fault = wordsFault(check); !fault.empty()) {
        return refuse({fault});
    }
    result.checks.words.push_back(check);
    result.checks.given = diagnosis::GivenSetting{"kept", kept.place, *kept.setting};
    result.hertz = hertz;
    answer.reused = true;
    return answer;
}

} // namespace host
