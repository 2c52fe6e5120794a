#pragma once

#include <filesystem>
#include <set>
#include <system_error>

namespace host {

/// Files that are removed at the end of the object's life. The receiver holds its file of samples until it is destroyed, and
/// Windows removes no file that a program holds.
class RemovedAtEnd {
public:
    RemovedAtEnd() = default;
    RemovedAtEnd(const RemovedAtEnd&) = delete;
    RemovedAtEnd& operator=(const RemovedAtEnd&) = delete;
    ~RemovedAtEnd() {
        for (const std::filesystem::path& file : files) {
            std::error_code failed;
            std::filesystem::remove(file, failed);
        }
    }

    void add(const std::filesystem::path& file) { files.insert(file); }
    /// It has been written again since.
    void keep(const std::filesystem::path& file) { files.erase(file); }

private:
    std::set<std::filesystem::path> files;
};

} // namespace host
