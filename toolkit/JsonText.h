#pragma once

#include "toolkit/ExitCode.h"

#include <nlohmann/json.hpp>

#include <functional>
#include <optional>
#include <string>

namespace toolkit {

/// Version of the JSON that every command prints. The rule of what may change within a version is in docs/orvtrace.md;
/// the schemas are in docs/schemas/.
inline constexpr int jsonSchema = 1;

/// Third argument of nlohmann::json::parse(): a fault gives a discarded value.
inline constexpr bool noExceptions = false;

/// A JSON value as the program prints it: ASCII, so that no control character reaches a terminal. Bytes that are not
/// UTF-8 are replaced.
std::string jsonText(const nlohmann::json& value);

/// Null for an unmeasured value.
template <class Value>
nlohmann::json orNull(const std::optional<Value>& value) {
    return value ? nlohmann::json(*value) : nlohmann::json();
}
/// Null for an empty text.
nlohmann::json orNull(const std::string& text);

/// "clock", "data1": the name of a sampled pin in every command, by its position in a sample.
std::string pinKey(std::size_t proc);
/// The labels of so many sampled pins (see LaneNames), by pinKey().
nlohmann::json labelsJson(std::size_t pins, const std::function<std::string(std::size_t proc)>& labelOf);

/// What every object begins with: "schema", "outcome", "exitCode" and "error", which is null.
nlohmann::json resultHead(ExitCode code);
/// The same with the error of a failure. `run` as for remedyOf().
nlohmann::json failureJson(const Failure& failure, const std::string& run = {});

} // namespace toolkit
