#include "host/session/SessionResult.h"

#include "toolkit/JsonText.h"

namespace host {

using nlohmann::json;

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
