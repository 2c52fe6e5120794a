#include "common/source/source_utilities/NativeEnvironment.h"

#include "common/source/source_utilities/uEnvironment.h"

#include <array>
#include <climits>
#include <cstdlib>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

namespace VX_QRS {

namespace nativeEnvironment {

const char separator = '/';
const char otherSeparator = '\\';
const PathRules pathRules{"/", false};

std::string getVariable(const char* name) {
    const char* value = std::getenv(name);
    return value != nullptr ? value : "";
}

void setVariable(const char* name, const char* value) {
    setenv(name, value, 1);
}

std::string profileDirectory() {
    const std::string profile = getVariable("USERPROFILE");
    return profile.empty() ? getVariable("HOME") : profile;
}

bool getCurrentDirectory(std::string& directory) {
    std::array<char, PATH_MAX> buffer{};
    if (getcwd(buffer.data(), buffer.size()) == nullptr) {
        return false;
    }
    directory = buffer.data();
    return true;
}

bool changeDirectory(const char* directory) {
    return chdir(directory) == 0;
}

bool makeDirectory(const char* path) {
    if (mkdir(path, 0777) == 0) {
        return true;
    }
    struct stat found{};
    return stat(path, &found) == 0 && S_ISDIR(found.st_mode);
}

} // namespace nativeEnvironment

bool uEnvironment::getFreeSpace(const char* directory, std::uint64_t& bytes) {
    struct statvfs volume{};
    if (directory == nullptr || statvfs(directory, &volume) != 0) {
        return false;
    }
    bytes = std::uint64_t{volume.f_bavail} * volume.f_frsize;
    return true;
}

std::uint32_t uEnvironment::getCurrentProcessId() {
    return static_cast<std::uint32_t>(getpid());
}

} // namespace VX_QRS
