#pragma once

#include <filesystem>
#include <vector>

// Outputs are tested before anything starts: a capture must not be lost because its file cannot be written.

namespace host {

/// Throws Failure: OutputExists when the file is there and `force` is not set, OutputUnwritable when it could not be
/// written. Leaves the file as it was; its folder is created.
void testOutputFile(const std::filesystem::path& file, bool force);

/// Creates a trace data file that holds nothing but its identifier, replacing an old one: the 8 bytes "TDF", 0x1A, and
/// the form's number 1 as 32 bits little-endian. Sections follow behind it.
void createTraceDataFile(const std::filesystem::path& file);

} // namespace host
