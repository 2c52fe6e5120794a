#pragma once

#include <filesystem>
#include <functional>
#include <iosfwd>

#include "host/basics/MadeFolders.h"

// Outputs are tested before anything starts: a capture must not be lost because its file cannot be written.

namespace host {

/// Throws Failure: OutputExists when the file is there and `force` is not set, OutputUnwritable when it could not be
/// written. Leaves the file as it was. Its folder is created: for good, or remembered in `made`.
void testOutputFile(const std::filesystem::path& file, bool force);
void testOutputFile(const std::filesystem::path& file, bool force, MadeFolders& made);

/// Writes a file anew. Throws Failure (OutputUnwritable), also when the disk becomes full.
void writeOutputFile(const std::filesystem::path& file, const std::function<void(std::ostream&)>& body);

} // namespace host
