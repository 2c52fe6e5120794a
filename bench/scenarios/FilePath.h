#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace bench {

/// The path that a text names: arguments, environment and files are UTF-8 here, also where a path's own constructor takes
/// them for something else.
inline std::filesystem::path filePath(std::string_view text) {
    return std::u8string(text.begin(), text.end());
}

} // namespace bench
