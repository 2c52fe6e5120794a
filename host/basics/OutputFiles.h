#pragma once

#include <filesystem>
#include <vector>

// Outputs are tested before anything starts: a capture must not be lost because its file cannot be written.

namespace host {

/// Throws Failure: OutputExists when the file is there and `force` is not set, OutputUnwritable when it could not be
/// written. Leaves the file as it was; its folder is created.
void testOutputFile(const std::filesystem::path& file, bool force);

} // namespace host
