#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace bench {

/// The path of a UTF-8 text. Arguments, environment and files are UTF-8 here, also on systems where a path's
/// constructor expects another encoding.
inline std::filesystem::path filePath(std::string_view text) {
    return std::u8string(text.begin(), text.end());
}

} // namespace bench
