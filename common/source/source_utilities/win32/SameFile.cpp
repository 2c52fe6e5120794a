#include "common/source/source_utilities/SameFile.h"

#include <windows.h>

namespace VX_QRS {

namespace {

// Reads the file's number only, which works however others have the file open.
class OpenedFile {
public:
    explicit OpenedFile(const char* path)
        : handle(CreateFileA(path, 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING,
                             FILE_FLAG_BACKUP_SEMANTICS, nullptr)) {}
    OpenedFile(const OpenedFile&) = delete;
    OpenedFile& operator=(const OpenedFile&) = delete;
    ~OpenedFile() {
        if (handle != INVALID_HANDLE_VALUE) {
            CloseHandle(handle);
        }
    }
    bool identity(BY_HANDLE_FILE_INFORMATION& facts) const {
        return handle != INVALID_HANDLE_VALUE && GetFileInformationByHandle(handle, &facts) != 0;
    }

private:
    HANDLE handle;
};

} // namespace

bool sameFile(const char* path, const char* other) {
    const OpenedFile first(path);
    const OpenedFile second(other);
    BY_HANDLE_FILE_INFORMATION one{};
    BY_HANDLE_FILE_INFORMATION two{};
    return first.identity(one) && second.identity(two) && one.dwVolumeSerialNumber == two.dwVolumeSerialNumber &&
           one.nFileIndexHigh == two.nFileIndexHigh && one.nFileIndexLow == two.nFileIndexLow;
}

} // namespace VX_QRS
