#include <nlohmann/json.hpp>

#include "host/results/ResultText.h"

namespace host {

namespace {

using nlohmann::json;

template <class Number>
json orNull(const std::optional<Number>& value) {
    json answer;
    if (value.has_value())
        answer = *value;
    return answer;
}

const char* verdictName(FrequencySetting::Verdict verdict) {
    switch (verdict) {
    case FrequencySetting::Verdict::Measured:
        return "measured";
    case FrequencySetting::Verdict::Chosen:
        return "chosen";
    case FrequencySetting::Verdict::Rejected:
        return "rejected";
    }
    return "";
}

json pinsJson(const CalibrationReport& report, std::vector<PinPlace> places) {
    places.resize(report.pins.size());
    json pins = json::array();
    for (std::size_t i = 0; i < report.pins.size(); ++i) {
        const PinReport& pin = report.pins[i];
        const PinPlace& place = places[i];
        pins.push_back({{"name", pin.name},
                        {"emu", orNull(place.emu)},
                        {"bit", orNull(place.bit)},
                        {"delay", orNull(pin.delay)},
                        {"stretch", orNull(pin.stretch)},
                        {"filter", orNull(pin.filter)},
                        {"debounce", orNull(pin.debounce)},
                        {"plateau", orNull(pin.plateau)},
                        {"marginBefore", orNull(pin.marginBefore)},
                        {"marginAfter", orNull(pin.marginAfter)},
                        {"correlation", orNull(pin.correlation)},
                        {"correlationAtZero", orNull(pin.correlationAtZero)},
                        {"edges", orNull(pin.edges)},
                        {"glitches", pin.glitches.value_or(0)},
                        {"ringing", pin.ringing.value_or(0)}});
    }
    return pins;
}

json calibrationJson(const RecordResult& result) {
    json calibration{{"calibrated", result.calibrated}, {"seconds", result.calibrationSeconds}};
    json frequencies = json::array();
    for (const FrequencySetting& entry : result.log.frequencies) {
        json item{{"setting", entry.setting}, {"hertz", entry.hertz}, {"verdict", verdictName(entry.verdict)}};
        if (!entry.reason.empty())
            item["reason"] = entry.reason;
        frequencies.push_back(item);
    }
    calibration["frequencies"] = frequencies;
    const FrequencySetting* chosen = result.log.chosen();
    calibration["setting"] = chosen != nullptr ? json(chosen->setting) : json();
    calibration["hertz"] = chosen != nullptr ? json(chosen->hertz) : json();
    if (result.calibration) {
        calibration["export"] = result.calibration->exportKind;
        calibration["pins"] = pinsJson(*result.calibration, placesOf(result.pinMap));
    }
    return calibration;
}

} // namespace

std::string resultJson(const RecordResult& result) {
    json out{{"outcome", exitCodeName(result.code)}, {"exitCode", static_cast<int>(result.code)}};
    if (!result.failure.empty())
        out["error"] = {{"text", result.failure}, {"where", result.where}};
    if (!result.scenario.empty())
        out["scenario"] = result.scenario;
    out["cpu"] = result.cpu;
    out["pinMap"] = result.pinMap;
    out["calibration"] = calibrationJson(result);
    if (result.recorded)
        out["recording"] = {{"state", result.state},       {"samples", result.samples},
                            {"bytes", result.samples * 8}, {"seconds", result.recordingSeconds},
                            {"wrapped", result.wrapped},   {"crc32", result.checksum}};
    json files = json::object();
    for (const auto& [what, where] : result.files)
        files[what] = where;
    out["files"] = files;
    return out.dump(2) + "\n";
}

} // namespace host
