#include "common/source/source_utilities/DirectoriesAlong.h"

#include <algorithm>

namespace VX_QRS {

std::vector<std::string> directoriesAlong(std::string_view path, const PathRules& rules) {
    std::vector<std::string> directories;
    std::size_t begin = path.find_first_not_of(rules.separators);
    while (begin != std::string_view::npos) {
        const std::size_t end = std::min(path.find_first_of(rules.separators, begin), path.size());
        if (!(rules.hasDrives && path[end - 1] == ':')) {
            directories.emplace_back(path.substr(0, end));
        }
        begin = path.find_first_not_of(rules.separators, end);
    }
    return directories;
}

} // namespace VX_QRS
