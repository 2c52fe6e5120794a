#include "host/results/ResultText.h"
#include "toolkit/JsonText.h"

namespace host {

namespace {

using diagnosis::CalFile;
using diagnosis::CalPin;
using nlohmann::json;

const char* verdictName(diagnosis::FrequencySetting::Verdict verdict) {
    switch (verdict) {
    case diagnosis::FrequencySetting::Verdict::Measured:
        return "measured";
    case diagnosis::FrequencySetting::Verdict::Chosen:
        return "chosen";
    case diagnosis::FrequencySetting::Verdict::Rejected:
        return "rejected";
    }
    return "";
}

json pinsJson(const CalFile& report, std::vector<PinPlace> places) {
    places.resize(report.pins.size());
    json pins = json::array();
    for (std::size_t i = 0; i < report.pins.size(); ++i) {
        const CalPin& pin = report.pins[i];
        const PinPlace& place = places[i];
        pins.push_back({{"name", pin.name},
                        {"emu", toolkit::orNull(place.emu)},
                        {"bit", toolkit::orNull(place.bit)},
                        {"delay", toolkit::orNull(pin.delay)},
                        {"stretch", toolkit::orNull(pin.stretch)},
                        {"filter", toolkit::orNull(pin.filter)},
                        {"debounce", toolkit::orNull(pin.debounce)},
                        {"plateau", toolkit::orNull(pin.plateau)},
                        {"holdMargin", toolkit::orNull(pin.holdMargin)},
                        {"setupMargin", toolkit::orNull(pin.setupMargin)},
                        {"correlation", toolkit::orNull(pin.correlation)},
                        {"correlationAtZero", toolkit::orNull(pin.correlationAtZero)},
                        {"edges", toolkit::orNull(pin.edges)},
                        {"glitches", pin.glitches.value_or(0)},
                        {"ringing", pin.ringing.value_or(0)}});
    }
    return pins;
}

json attemptsJson(const RecordResult& result) {
    json attempts = json::array();
    for (const AttemptResult& entry : result.attempts) {
        json item{{"setting", entry.attempt.setting},
                  {"hertz", entry.attempt.hertz},
                  {"position", entry.attempt.position.empty() ? json() : json(entry.attempt.position)},
                  {"kept", entry.attempt.kept}};
        if (!entry.attempt.reason.empty()) {
            item["reason"] = entry.attempt.reason;
        }
        if (entry.report) {
            item["pins"] = pinsJson(*entry.report, placesOf(result.pinMap));
        }
        attempts.push_back(item);
    }
    return attempts;
}

json calibrationJson(const RecordResult& result) {
    json calibration{{"calibrated", result.calibrated}, {"seconds", result.calibrationSeconds}};
    json frequencies = json::array();
    for (const diagnosis::FrequencySetting& entry : result.log.frequencies) {
        json item{{"setting", entry.setting}, {"hertz", entry.hertz}, {"verdict", verdictName(entry.verdict)}};
        if (!entry.reason.empty()) {
            item["reason"] = entry.reason;
        }
        frequencies.push_back(item);
    }
    calibration["frequencies"] = frequencies;
    const diagnosis::FrequencySetting* chosen = result.log.chosen();
    calibration["setting"] = chosen != nullptr ? json(chosen->setting) : json();
    calibration["hertz"] = chosen != nullptr                          ? json(chosen->hertz)
                           : result.calibrated && !result.givenValues ? toolkit::orNull(result.hertz)
                                                                      : json();
    calibration["attempts"] = attemptsJson(result);
    if (result.calibration) {
        calibration["export"] = result.calibration->exportKind;
        calibration["pins"] = pinsJson(*result.calibration, placesOf(result.pinMap));
    }
    return calibration;
}

} // namespace

std::string resultJson(const RecordResult& result) {
    json out = toolkit::failureJson(toolkit::Failure(result.code, result.failure, result.where), result.doctorTakes);
    if (result.failure.empty()) {
        out.erase("error");
    }
    if (!result.scenario.empty()) {
        out["scenario"] = result.scenario;
    }
    out["cpu"] = result.cpu;
    out["pinMap"] = result.pinMap;
    out["calibration"] = calibrationJson(result);
    if (!result.recordings.empty()) {
        json recordings = json::array();
        for (const RecordingResult& recording : result.recordings) {
            recordings.push_back({{"state", recording.state},
                                  {"samples", recording.samples},
                                  {"bytes", recording.samples * 8},
                                  {"seconds", recording.seconds},
                                  {"wrapped", recording.wrapped},
                                  {"crc32", recording.checksum}});
        }
        out["recording"] = recordings.back();
        out["recordings"] = recordings;
    }
    json files = json::object();
    for (const auto& [what, where] : result.files) {
        files[what] = where;
    }
    out["files"] = files;
    if (!result.notes.empty()) {
        out["notes"] = result.notes;
    }
    if (!result.troubles.empty()) {
        out["damaged"] = result.troubles;
    }
    return toolkit::jsonText(out);
}

} // namespace host
