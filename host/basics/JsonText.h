#pragma once

#include <string>

#include <nlohmann/json.hpp>

namespace host {

/// A JSON value as the program prints it. Texts of others may hold bytes that are no UTF-8: they are replaced.
inline std::string jsonText(const nlohmann::json& value) {
    return value.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
}

} // namespace host
