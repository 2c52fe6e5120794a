#include "host/session/SessionResult.h"

#include "toolkit/JsonText.h"
#include "toolkit/Text.h"

namespace host {

using nlohmann::json;

toolkit::LanePlace SessionResult::lane(std::size_t proc) const {
    const std::vector<std::string> map = toolkit::split(pinMap, ',');
    const std::size_t mapped = map.empty() ? 0 : map.size() - 1;
    const std::size_t dataPins = calibration ? calibration->pins.size() - 1 : mapped;
    if (proc > dataPins || mapped != dataPins || map.empty()) {
        return {proc, dataPins, {}};
    }
    // The clock, then bit 0 and up.
    return {proc, dataPins, toolkit::numberOf<unsigned>(map[proc == 0 ? 0 : map.size() - proc])};
}

std::string SessionResult::file(const std::string& key) const {
    for (const NamedFile& each : files) {
        if (each.key == key) {
            return each.path;
        }
    }
    return {};
}

void SessionResult::fail(const toolkit::Failure& why) {
    code = why.code;
    failure = why.what();
    where = why.where;
}

json sessionJson(const SessionResult& result) {
    json out =
        result.failure.empty()
            ? toolkit::resultHead(result.code)
            : toolkit::failureJson(toolkit::Failure(result.code, result.failure, result.where), result.doctorTakes);
    out["scenario"] = toolkit::orNull(result.scenario);
    out["properties"] = json::array();
    for (const auto& [name, value] : result.properties) {
        out["properties"].push_back({{"name", name}, {"value", value}});
    }
    const std::size_t dataPins = result.lane(0).dataPins;
    out["labels"] = toolkit::labelsJson(dataPins == 0 ? 0 : dataPins + 1,
                                        [&](std::size_t proc) { return result.names.label(result.lane(proc)); });
    out["files"] = json::object();
    for (const NamedFile& each : result.files) {
        if (each.key == rawCopies) {
            out["files"][each.key].push_back(each.path);
        } else {
            out["files"][each.key] = each.path;
        }
    }
    out["notes"] = result.notes;
    out["damaged"] = result.troubles;
    out["verdict"] = result.verdict ? diagnosis::verdictJson(*result.verdict) : json();
    return out;
}

} // namespace host
