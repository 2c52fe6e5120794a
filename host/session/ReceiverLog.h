#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace host {

/// The log of the receiver that this process has loaded; empty if it writes none.
std::filesystem::path receiverLog();

/// Errors in the text of a receiver's log, oldest first, without time and source.
std::vector<std::string> loggedErrors(const std::string& log);

} // namespace host
