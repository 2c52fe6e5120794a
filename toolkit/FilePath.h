#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace toolkit {

/// The path of a UTF-8 text. All texts of this program are UTF-8 on both systems: arguments, environment, contents of files
/// and std::filesystem::path::string(). The path's own constructor assumes another code page on Windows.
inline std::filesystem::path filePath(std::string_view text) {
    return std::u8string(text.begin(), text.end());
}

} // namespace toolkit
