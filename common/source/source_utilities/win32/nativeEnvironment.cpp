#include "common/source/source_utilities/nativeEnvironment.h"

#include "common/source/source_utilities/uEnvironment.h"

#include <array>
#include <vector>

#include <direct.h>
#include <windows.h>

namespace VX_QRS {

namespace nativeEnvironment {

const char separator = '\\';
const char otherSeparator = '/';

std::string getVariable(const char* name) {
    std::vector<char> buffer(32768); // no value is longer
    const DWORD length = GetEnvironmentVariableA(name, buffer.data(), static_cast<DWORD>(buffer.size()));
    return length < buffer.size() ? std::string(buffer.data(), length) : std::string();
}

void setVariable(const char* name, const char* value) {
    SetEnvironmentVariableA(name, value);
}

std::string profileDirectory() {
    return getVariable("USERPROFILE");
}

bool getCurrentDirectory(std::string& directory) {
    std::array<char, MAX_PATH> buffer{};
    if (_getcwd(buffer.data(), static_cast<int>(buffer.size())) == nullptr) {
        return false;
    }
    directory = buffer.data();
    return true;
}

bool changeDirectory(const char* directory) {
    return _chdir(directory) == 0;
}

bool makeDirectory(const char* path) {
    if (_mkdir(path) == 0) {
        return true;
    }
    const DWORD attributes = GetFileAttributesA(path);
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

} // namespace nativeEnvironment

bool uEnvironment::getFreeSpace(const char* directory, std::uint64_t& bytes) {
    ULARGE_INTEGER available{};
    if (directory == nullptr || GetDiskFreeSpaceExA(directory, &available, nullptr, nullptr) == 0) {
        return false;
    }
    bytes = available.QuadPart;
    return true;
}

std::uint32_t uEnvironment::getCurrentProcessId() {
    return GetCurrentProcessId();
}

} // namespace VX_QRS
