#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace toolkit {

/// The whole file from `offset` on; throws Failure (BadInput) when it cannot be read.
std::string readText(const std::filesystem::path& file, std::uintmax_t offset = 0);

/// Lines without their ends.
std::vector<std::string> splitLines(const std::string& text);

std::vector<std::string> split(const std::string& text, char separator);

} // namespace toolkit
