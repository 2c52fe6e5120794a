#include "host/soak/SoakResult.h"
#include "toolkit/JsonText.h"
#include "toolkit/Remedy.h"

namespace host {

namespace {

using nlohmann::json;

json errorsJson(const std::vector<RoundError>& errors) {
    json list = json::array();
    for (const auto& [round, error] : errors) {
        list.push_back({{"round", round},
                        {"packet", error.packet},
                        {"word", error.word},
                        {"byte", error.byte()},
                        {"expected", toolkit::orNull(error.expected)},
                        {"got", error.got}});
    }
    return list;
}

} // namespace

std::string soakJson(const SoakResult& result) {
    json out{{"outcome", toolkit::exitCodeName(result.code)},
             {"exitCode", static_cast<int>(result.code)},
             {"interrupted", result.interrupted},
             {"pins", toolkit::orNull(result.dataPins)},
             {"rounds", result.rounds},
             {"seconds", result.seconds},
             {"words", result.words},
             {"wordsPerSecond", result.wordsPerSecond()},
             {"errors", result.errors},
             {"firstErrors", errorsJson(result.firstErrors)},
             {"files", json::object()}};
    if (!result.failure.empty()) {
        out["error"] = {{"text", result.failure},
                        {"where", result.where},
                        {"remedy", toolkit::remedyOf(result.code, result.failure, result.doctorTakes)}};
    }
    if (!result.scenario.empty()) {
        out["scenario"] = result.scenario;
    }
    if (!result.dataRate.empty()) {
        out["dataRate"] = result.dataRate;
    }
    for (const auto& [what, where] : result.files) {
        out["files"][what] = where;
    }
    if (!result.notes.empty()) {
        out["notes"] = result.notes;
    }
    if (!result.troubles.empty()) {
        out["damaged"] = result.troubles;
    }
    return toolkit::jsonText(out);
}

} // namespace host
