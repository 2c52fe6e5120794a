#include "toolkit/JsonText.h"

#include "toolkit/Remedy.h"

namespace toolkit {

using nlohmann::json;

std::string jsonText(const json& value) {
    constexpr int indent = 2;
    constexpr bool asciiOnly = true;
    return value.dump(indent, ' ', asciiOnly, json::error_handler_t::replace) + "\n";
}

json orNull(const std::string& text) {
    return text.empty() ? json() : json(text);
}

std::string pinKey(std::size_t proc) {
    return proc == 0 ? "clock" : "data" + std::to_string(proc);
}

json labelsJson(std::size_t pins, const std::function<std::string(std::size_t)>& labelOf) {
    json labels = json::object();
    for (std::size_t proc = 0; proc < pins; ++proc) {
        labels[pinKey(proc)] = labelOf(proc);
    }
    return labels;
}

json resultHead(ExitCode code) {
    return {{"schema", jsonSchema},
            {"outcome", exitCodeName(code)},
            {"exitCode", static_cast<int>(code)},
            {"error", nullptr}};
}

json failureJson(const Failure& failure, const std::string& run) {
    json out = resultHead(failure.code);
    out["error"] = {{"text", failure.what()},
                    {"where", orNull(failure.where)},
                    {"remedy", orNull(remedyOf(failure.code, failure.what(), run))}};
    return out;
}

} // namespace toolkit
