#pragma once

#include <filesystem>
#include <string>
#include <string_view>

// Files for readers that accept nothing but a path.

namespace fuzz {

/// One folder for each process, removed at its end. In memory where the system has a folder for that, so that a file
/// costs little; otherwise among the temporary files.
const std::filesystem::path& scratchFolder();

/// Writes a file of the folder over the one before. Returns its path.
std::string scratchFile(const std::string& name, std::string_view bytes);

/// All bytes of a file; empty without one.
std::string bytesOf(const std::string& path);

} // namespace fuzz
