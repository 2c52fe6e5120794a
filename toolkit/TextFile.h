#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace toolkit {

/// Throws Failure (BadInput) for a file that cannot be read.
void requireReadable(const std::filesystem::path& file);

/// The whole file from `offset` on; throws Failure (BadInput) when it cannot be read.
std::string readText(const std::filesystem::path& file, std::uintmax_t offset = 0);

/// Lines without their ends.
std::vector<std::string> splitLines(const std::string& text);

std::vector<std::string> split(const std::string& text, char separator);

/// "a, b, c" with the separator ", ".
std::string joined(const std::vector<std::string>& parts, const char* separator);

} // namespace toolkit
