#pragma once

#include <filesystem>

namespace bench {

/// Folder of the library that holds this code, absolute. Empty when the system does not report it. Any thread.
std::filesystem::path libraryFolder();

} // namespace bench
