#pragma once

#include "toolkit/ExitCode.h"
#include "toolkit/Remedy.h"

#include <nlohmann/json.hpp>

#include <optional>
#include <string>

namespace toolkit {

/// A JSON value as the program prints it. Texts of others may hold bytes that are no UTF-8, which are replaced, and
/// control characters, which are escaped: all of them, since JSON may be printed on a terminal.
std::string jsonText(const nlohmann::json& value);

/// What was not measured is null.
template <class Number>
nlohmann::json orNull(const std::optional<Number>& value) {
    nlohmann::json answer;
    if (value.has_value()) {
        answer = *value;
    }
    return answer;
}

/// What a failure is for a script: "outcome", "exitCode" and "error". `run` as for remedyOf().
inline nlohmann::json failureJson(const Failure& failure, const std::string& run = {}) {
    return {{"outcome", exitCodeName(failure.code)},
            {"exitCode", static_cast<int>(failure.code)},
            {"error",
             {{"text", failure.what()},
              {"where", failure.where},
              {"remedy", remedyOf(failure.code, failure.what(), run)}}}};
}

} // namespace toolkit
