#pragma once

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

namespace host {

/// Full names of the devices in a device file of the bench, in its order, and what it says about each. Empty without
/// such a file, or when it cannot be read.
std::vector<std::pair<std::string, std::string>> devicesOf(const std::filesystem::path& file);

} // namespace host
