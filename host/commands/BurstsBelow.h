#pragma once

#include <filesystem>
#include <vector>

namespace host {

/// The bursts in a folder and below it, files that end in .cap.txt, in the order of their names.
std::vector<std::filesystem::path> burstsBelow(const std::filesystem::path& folder);

} // namespace host
