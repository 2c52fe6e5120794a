#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace toolkit {

/// The path that a text names. Texts of this program are UTF-8 on both systems: arguments, environment, what files say
/// and std::filesystem::path::string(). The path's own constructor takes them for something else on Windows.
inline std::filesystem::path filePath(std::string_view text) {
    return std::u8string(text.begin(), text.end());
}

} // namespace toolkit
