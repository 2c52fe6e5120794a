#include "common/source/source_utilities/NativeFile.h"

#include <array>
#include <cerrno>
#include <climits>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace VX_QRS::nativeFile {

namespace {

Outcome outcomeOf(int result) {
    if (result == 0) {
        return Outcome::done;
    }
    return errno == EEXIST ? Outcome::taken : Outcome::refused;
}

std::string folderOf(const std::string& path) {
    return path.substr(0, path.rfind('/') + 1); // npos + 1 is 0
}

// Without the right to change the owner the group alone may still be set. If that fails too, the new group gets no more
// rights than others.
void takeOver(const std::string& path, const struct stat& old) {
    mode_t rights = old.st_mode & 0777;
    if (chown(path.c_str(), old.st_uid, old.st_gid) != 0 &&
        chown(path.c_str(), static_cast<uid_t>(-1), old.st_gid) != 0) {
        rights = (rights & 0707) | (rights & 0007) << 3;
    }
    chmod(path.c_str(), rights | S_IRUSR | S_IWUSR);
}

} // namespace

std::string follow(const std::string& path) {
    constexpr int mostLinks = 40; // the system's own limit
    std::string file = path;
    for (int i = 0; i < mostLinks; ++i) {
        std::array<char, PATH_MAX> buffer{};
        const ssize_t length = readlink(file.c_str(), buffer.data(), buffer.size());
        if (length <= 0) {
            return file;
        }
        const std::string target(buffer.data(), static_cast<std::size_t>(length));
        file = target.front() == '/' ? target : folderOf(file) + target;
    }
    return path;
}

Kind kindOf(const std::string& path) {
    struct stat found{};
    if (stat(path.c_str(), &found) != 0) {
        return errno == ENOENT ? Kind::missing : Kind::other;
    }
    return S_ISREG(found.st_mode) ? Kind::regular : Kind::other;
}

Outcome create(const std::string& path, std::FILE*& file) {
    const int descriptor = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (descriptor < 0) {
        return outcomeOf(descriptor);
    }
    file = fdopen(descriptor, "w");
    if (file == nullptr) {
        close(descriptor);
        unlink(path.c_str());
        return Outcome::refused;
    }
    return Outcome::done;
}

bool isWritable(const std::string& path) {
    const int descriptor = open(path.c_str(), O_WRONLY | O_CLOEXEC);
    if (descriptor >= 0) {
        close(descriptor);
    }
    return descriptor >= 0;
}

bool replace(const std::string& replacement, const std::string& path) {
    struct stat old{};
    if (stat(path.c_str(), &old) == 0) {
        takeOver(replacement, old);
    }
    return std::rename(replacement.c_str(), path.c_str()) == 0;
}

Outcome link(const std::string& path, const std::string& name) {
    return outcomeOf(::link(path.c_str(), name.c_str()));
}

Outcome move(const std::string& path, const std::string& name) {
    struct stat found{};
    if (lstat(name.c_str(), &found) == 0) {
        return Outcome::taken;
    }
    return outcomeOf(std::rename(path.c_str(), name.c_str()));
}

bool remove(const std::string& path) {
    return unlink(path.c_str()) == 0;
}

} // namespace VX_QRS::nativeFile
