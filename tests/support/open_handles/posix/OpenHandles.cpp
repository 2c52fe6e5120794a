#include "tests/support/open_handles/OpenHandles.h"

#include <filesystem>
#include <iterator>
#include <system_error>

namespace test_support {

namespace {

std::filesystem::directory_iterator openDescriptors() {
    return std::filesystem::directory_iterator("/proc/self/fd");
}

} // namespace

std::size_t countOpenHandles() {
    const auto entries = openDescriptors();
    return static_cast<std::size_t>(std::distance(begin(entries), end(entries)));
}

std::vector<std::string> listOpenFiles() {
    std::vector<std::string> names;
    for (const auto& entry : openDescriptors()) {
        std::error_code gone;
        const std::string name = std::filesystem::read_symlink(entry.path(), gone).string();
        // The folder itself is open during the iteration.
        if (name != "/dev/null" && !name.ends_with("/fd")) {
            names.push_back(name);
        }
    }
    return names;
}

} // namespace test_support
