#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace simulation {

/// A folder of this process, in memory where the system has one. The process that runs a search removes it.
const std::string& processFolder();

std::vector<std::uint8_t> contentOf(const std::string& path);

} // namespace simulation
