#include "common/source/source_utilities/NativeFile.h"

#include <windows.h>
#include <cerrno>
#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>
#include <vector>

namespace VX_QRS::nativeFile {

namespace {

Outcome outcomeOf(BOOL result) {
    if (result != 0) {
        return Outcome::done;
    }
    const DWORD code = GetLastError();
    return code == ERROR_ALREADY_EXISTS || code == ERROR_FILE_EXISTS ? Outcome::taken : Outcome::refused;
}

HANDLE openShared(const std::string& path, DWORD access) {
    return CreateFileA(path.c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                       OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
}

} // namespace

std::string follow(const std::string& path) {
    const DWORD attributes = GetFileAttributesA(path.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES || (attributes & FILE_ATTRIBUTE_REPARSE_POINT) == 0) {
        return path;
    }
    const HANDLE file = openShared(path, 0);
    if (file == INVALID_HANDLE_VALUE) {
        return path;
    }
    std::vector<char> buffer(32768); // no path is longer
    const DWORD length =
        GetFinalPathNameByHandleA(file, buffer.data(), static_cast<DWORD>(buffer.size()), FILE_NAME_NORMALIZED);
    CloseHandle(file);
    return length == 0 || length >= buffer.size() ? path : std::string(buffer.data(), length);
}

Kind kindOf(const std::string& path) {
    const HANDLE file = openShared(path, 0);
    if (file == INVALID_HANDLE_VALUE) {
        const DWORD code = GetLastError();
        return code == ERROR_FILE_NOT_FOUND || code == ERROR_PATH_NOT_FOUND ? Kind::missing : Kind::other;
    }
    BY_HANDLE_FILE_INFORMATION facts{};
    const bool regular = GetFileType(file) == FILE_TYPE_DISK && GetFileInformationByHandle(file, &facts) != 0 &&
                         (facts.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
    CloseHandle(file);
    return regular ? Kind::regular : Kind::other;
}

Outcome create(const std::string& path, std::FILE*& file) {
    const int descriptor =
        _open(path.c_str(), _O_WRONLY | _O_CREAT | _O_EXCL | _O_TEXT | _O_NOINHERIT, _S_IREAD | _S_IWRITE);
    if (descriptor < 0) {
        return errno == EEXIST ? Outcome::taken : Outcome::refused;
    }
    file = _fdopen(descriptor, "w");
    if (file == nullptr) {
        _close(descriptor);
        remove(path);
        return Outcome::refused;
    }
    return Outcome::done;
}

bool isWritable(const std::string& path) {
    const DWORD attributes = GetFileAttributesA(path.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES || (attributes & FILE_ATTRIBUTE_READONLY) != 0) {
        return false;
    }
    // A file that another program has open can often be written but not replaced.
    const HANDLE file = openShared(path, GENERIC_WRITE | DELETE);
    if (file == INVALID_HANDLE_VALUE) {
        return false;
    }
    CloseHandle(file);
    return true;
}

bool replace(const std::string& replacement, const std::string& path) {
    // The first call keeps the access rights and attributes of the old file, which must exist; not every volume
    // supports it.
    return ReplaceFileA(path.c_str(), replacement.c_str(), nullptr, REPLACEFILE_IGNORE_MERGE_ERRORS, nullptr,
                        nullptr) != 0 ||
           MoveFileExA(replacement.c_str(), path.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) != 0;
}

Outcome link(const std::string& path, const std::string& name) {
    return outcomeOf(CreateHardLinkA(name.c_str(), path.c_str(), nullptr));
}

Outcome move(const std::string& path, const std::string& name) {
    return outcomeOf(MoveFileExA(path.c_str(), name.c_str(), 0));
}

bool remove(const std::string& path) {
    return DeleteFileA(path.c_str()) != 0;
}

} // namespace VX_QRS::nativeFile
