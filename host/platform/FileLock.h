#pragma once

#include <cstdint>
#include <filesystem>

namespace host {

/// A lock between processes: a file that one process at a time holds. The system releases it when its holder ends,
/// however that ends. Processes that the holder starts do not inherit it. The file itself stays.
class FileLock {
public:
    /// Opens the file, and makes it if it does not exist. Its folder must exist. Holds nothing yet.
    explicit FileLock(const std::filesystem::path& file);
    /// Releases the lock.
    ~FileLock();
    FileLock(const FileLock&) = delete;
    FileLock& operator=(const FileLock&) = delete;

    /// False if the file cannot be opened, such as in a folder that is read-only.
    bool usable() const { return handle != none; }
    /// Does not block. False while another process, or another object of this one, holds the lock.
    bool tryLock();

private:
    static constexpr std::intptr_t none = -1;
    std::intptr_t handle = none;
};

/// A file in the system's folder for temporary files, one for each user; empty if there is no such folder.
std::filesystem::path userLockFile(const char* name);

} // namespace host
