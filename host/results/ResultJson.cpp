#include "diagnosis/files/ChecksJson.h"
#include "host/results/ResultText.h"
#include "toolkit/JsonText.h"

namespace host {

namespace {

using nlohmann::json;
using toolkit::orNull;
using Verdict = diagnosis::FrequencySetting::Verdict;

const char* verdictName(Verdict verdict) {
    return verdict == Verdict::Chosen ? "accepted" : verdict == Verdict::Rejected ? "rejected" : "untried";
}

json pinsJson(const diagnosis::CalFile& report, std::vector<PinPlace> places) {
    places.resize(report.pins.size());
    json pins = json::array();
    for (std::size_t i = 0; i < report.pins.size(); ++i) {
        const diagnosis::CalPin& pin = report.pins[i];
        pins.push_back({{"name", toolkit::pinKey(i)},
                        {"emuPin", orNull(places[i].emu)},
                        {"bit", orNull(places[i].bit)},
                        {"delay", orNull(pin.delay)},
                        {"stretch", orNull(pin.stretch)},
                        {"filter", orNull(pin.filter)},
                        {"debounce", orNull(pin.debounce)},
                        {"plateau", orNull(pin.plateau)},
                        {"setupMargin", orNull(pin.setupMargin)},
                        {"holdMargin", orNull(pin.holdMargin)},
                        {"correlation", orNull(pin.correlation)},
                        {"correlationAtZero", orNull(pin.correlationAtZero)}});
    }
    return pins;
}

json pinsJson(const std::optional<diagnosis::CalFile>& report, const RecordResult& result) {
    return report ? pinsJson(*report, placesOf(result.pinMap)) : json();
}

json attemptsJson(const RecordResult& result) {
    json attempts = json::array();
    for (const AttemptResult& entry : result.attempts) {
        attempts.push_back({{"setting", entry.attempt.setting},
                            {"hertz", entry.attempt.hertz},
                            {"position", orNull(entry.attempt.position)},
                            {"verdict", verdictName(entry.attempt.kept ? Verdict::Chosen : Verdict::Rejected)},
                            {"reason", orNull(entry.attempt.reason)},
                            {"pins", pinsJson(entry.report, result)}});
    }
    return attempts;
}

json frequenciesJson(const RecordResult& result) {
    json frequencies = json::array();
    for (const diagnosis::FrequencySetting& entry : result.log.frequencies) {
        frequencies.push_back({{"setting", entry.setting},
                               {"hertz", entry.hertz},
                               {"verdict", verdictName(entry.verdict)},
                               {"reason", orNull(entry.reason)}});
    }
    return frequencies;
}

json wordsJson(const RecordResult& result) {
    json words = json::array();
    for (const diagnosis::WordCheck& check : result.checks.words) {
        words.push_back(diagnosis::wordCheckJson(check));
    }
    return words;
}

} // namespace

json calibrationJson(const RecordResult& result) {
    const diagnosis::FrequencySetting* chosen = result.log.chosen();
    const bool stated = result.calibrated && !result.givenValues;
    const auto& report = result.calibration;
    json out = sessionJson(result);
    out["cpu"] = orNull(result.cpu);
    const std::vector<unsigned> emuPins = emuPinsOf(result.pinMap);
    out["emuPins"] = emuPins.empty() ? json() : json(emuPins);
    out["calibration"] = {{"calibrated", result.calibrated},
                          {"seconds", orNull(result.calibrationSeconds)},
                          {"setting", chosen != nullptr ? json(chosen->setting) : json()},
                          {"hertz", chosen != nullptr ? json(chosen->hertz)
                                    : stated          ? orNull(result.hertz)
                                                      : json()},
                          {"bitsPerSecond", report && report->rates.known() ? json(report->rates.dataRate) : json()},
                          {"exportKind", report ? orNull(report->exportKind) : json()},
                          {"frequencies", frequenciesJson(result)},
                          {"attempts", attemptsJson(result)},
                          {"pins", pinsJson(report, result)}};
    out["words"] = wordsJson(result);
    return out;
}

namespace {

json earlierJson(const std::optional<EarlierCalibration>& earlier) {
    if (!earlier) {
        return {};
    }
    return {{"place", earlier->place},     {"date", toolkit::orNull(earlier->date)},
            {"setting", earlier->setting}, {"reused", earlier->reused},
            {"reasons", earlier->reasons}, {"notes", earlier->notes}};
}

json tunedJson(const std::optional<TuneResult>& tuned) {
    if (!tuned) {
        return {};
    }
    json settings = json::array();
    for (const TuneResult::Setting& each : tuned->settings) {
        settings.push_back({{"setting", each.setting},
                            {"hertz", each.hertz},
                            {"refusal", orNull(each.refusal)},
                            {"rule", each.rule},
                            {"outcome", each.outcome},
                            {"steps", each.steps}});
    }
    return {{"needed", tuned->needed},
            {"before", orNull(tuned->before)},
            {"settings", settings},
            {"kept", orNull(tuned->kept)}};
}

} // namespace

json tuneJson(const RecordResult& result) {
    json out = calibrationJson(result);
    out["tune"] = tunedJson(result.tuned);
    return out;
}

json recordJson(const RecordResult& result) {
    json recordings = json::array();
    for (const RecordingResult& recording : result.recordings) {
        recordings.push_back({{"state", recording.state},
                              {"samples", recording.samples},
                              {"bytes", recording.samples * sizeof(std::uint64_t)},
                              {"seconds", recording.seconds},
                              {"wrapped", recording.wrapped},
                              {"crc32", recording.checksum}});
    }
    json out = calibrationJson(result);
    out["earlierCalibration"] = earlierJson(result.earlier);
    out["tune"] = tunedJson(result.tuned);
    out["recordings"] = recordings;
    return out;
}

} // namespace host
