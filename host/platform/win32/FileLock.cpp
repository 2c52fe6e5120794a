#include "host/platform/FileLock.h"

#include <windows.h>
#include <string>

namespace host {

FileLock::FileLock(const std::filesystem::path& file) {
    // Without security attributes the handle is not inherited.
    const HANDLE opened =
        CreateFileW(file.c_str(), GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                    nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (opened != INVALID_HANDLE_VALUE) {
        handle = reinterpret_cast<std::intptr_t>(opened);
    }
}

FileLock::~FileLock() {
    if (usable()) {
        CloseHandle(reinterpret_cast<HANDLE>(handle));
    }
}

bool FileLock::tryLock() {
    OVERLAPPED from{};
    return LockFileEx(reinterpret_cast<HANDLE>(handle), LOCKFILE_EXCLUSIVE_LOCK | LOCKFILE_FAIL_IMMEDIATELY, 0, 1, 0,
                      &from) != 0;
}

std::filesystem::path userLockFile(const char* name) {
    // The folder is the user's own.
    std::error_code failed;
    const std::filesystem::path folder = std::filesystem::temp_directory_path(failed);
    return failed ? std::filesystem::path() : folder / (std::string(name) + ".lock");
}

} // namespace host
