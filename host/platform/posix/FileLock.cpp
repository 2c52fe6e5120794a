#include "host/platform/FileLock.h"

#include <cerrno>
#include <fcntl.h>
#include <string>
#include <sys/file.h>
#include <unistd.h>

namespace host {

FileLock::FileLock(const std::filesystem::path& file) {
    // The folder is shared with other users: nothing is followed that one of them has put there.
    handle = open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
}

FileLock::~FileLock() {
    if (usable()) {
        close(static_cast<int>(handle));
    }
}

bool FileLock::tryLock() {
    int result = 0;
    do {
        result = flock(static_cast<int>(handle), LOCK_EX | LOCK_NB);
    } while (result != 0 && errno == EINTR);
    return result == 0;
}

std::filesystem::path userLockFile(const char* name) {
    std::error_code failed;
    const std::filesystem::path folder = std::filesystem::temp_directory_path(failed);
    return failed ? std::filesystem::path() : folder / (std::string(name) + "-" + std::to_string(getuid()) + ".lock");
}

} // namespace host
