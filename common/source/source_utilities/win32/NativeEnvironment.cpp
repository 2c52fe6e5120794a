#include "common/source/source_utilities/NativeEnvironment.h"

#include "common/source/source_utilities/uEnvironment.h"

#include <windows.h>
#include <array>
#include <cstring>
#include <direct.h>
#include <string>
#include <vector>

namespace VX_QRS {

namespace nativeEnvironment {

const char separator = '\\';
const char otherSeparator = '/';
const PathRules pathRules{"\\/", true};

std::string getVariable(const char* name) {
    // Wine's narrow call counts characters instead of bytes and truncates the value.
    const std::wstring wideName(name, name + std::strlen(name)); // names are ASCII
    std::vector<wchar_t> wide(32768);                            // no value is longer
    const DWORD length = GetEnvironmentVariableW(wideName.c_str(), wide.data(), static_cast<DWORD>(wide.size()));
    if (length == 0 || length >= wide.size()) {
        return {};
    }
    const int count = static_cast<int>(length);
    std::string value(std::size_t{length} * 4, '\0');
    const int size = WideCharToMultiByte(CP_ACP, 0, wide.data(), count, value.data(), static_cast<int>(value.size()),
                                         nullptr, nullptr);
    value.resize(static_cast<std::size_t>(size));
    return value;
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
    if (directory == nullptr) {
        return false;
    }
    std::string name(directory);
    if (name.starts_with("\\\\")) {
        name += '\\'; // the call requires it on a network share
    }
    if (GetDiskFreeSpaceExA(name.c_str(), &available, nullptr, nullptr) == 0) {
        return false;
    }
    bytes = available.QuadPart;
    return true;
}

std::uint32_t uEnvironment::getCurrentProcessId() {
    return GetCurrentProcessId();
}

} // namespace VX_QRS
