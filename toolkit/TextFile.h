#pragma once

#include <cstdint>
#include <filesystem>
#include <limits>
#include <string>

namespace toolkit {

/// The bytes of a file from `offset` on, `limit` at most; throws Failure (BadInput) when it cannot be read.
std::string readText(const std::filesystem::path& file, std::uintmax_t offset = 0,
                     std::size_t limit = std::numeric_limits<std::size_t>::max());
/// Throws Failure (BadInput) for a file that cannot be read.
void requireReadable(const std::filesystem::path& file);

/// Throws Failure (BadInput) "FILE:LINE: WHAT"; line 0 leaves the line out.
[[noreturn]] void damaged(const std::string& file, std::size_t line, const std::string& what);

} // namespace toolkit
