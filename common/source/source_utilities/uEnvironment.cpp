#include "common/source/source_utilities/uEnvironment.h"

#include "common/source/source_utilities/NativeEnvironment.h"

#include <algorithm>
#include <map>
#include <mutex>
#include <string_view>
#include <thread>
#include <vector>

namespace VX_QRS {

namespace {

constexpr const char* nullName = "failed set an environment variable name to null";

std::mutex& environmentMutex() {
    static std::mutex mutex;
    return mutex;
}

bool isSeparator(char c) {
    return c == nativeEnvironment::separator || c == nativeEnvironment::otherSeparator;
}

std::size_t lastSeparator(std::string_view path) {
    std::size_t at = path.size();
    while (at > 0 && !isSeparator(path[at - 1])) {
        --at;
    }
    return at == 0 ? std::string_view::npos : at - 1;
}

std::string_view withoutExtension(std::string_view name) {
    return name.substr(0, name.rfind('.'));
}

char lowered(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool equalNames(std::string_view left, std::string_view right) {
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [](char a, char b) { return lowered(a) == lowered(b); });
}

void getDirectoryBelowTrace(std::string& directory, const char* name) {
    // Not joined by joinPath: a profile on a network share begins with two separators.
    uEnvironment::getTraceDirectory(directory);
    directory += nativeEnvironment::separator;
    directory += name;
    uEnvironment::createDirectories(directory.c_str());
}

} // namespace

const char* uEnvironment::get(const char* name) {
    if (name == nullptr) {
        throw source_utilities_error(nullName);
    }
    // Nodes of a map do not move, so a thread's text stays valid while other threads add theirs.
    static std::map<std::thread::id, std::string> texts;
    const std::lock_guard lock(environmentMutex());
    std::string& text = texts[std::this_thread::get_id()];
    text = nativeEnvironment::getVariable(name);
    return text.c_str();
}

void uEnvironment::set(const char* name, const char* value) {
    if (name == nullptr) {
        throw source_utilities_error(nullName);
    }
    if (value == nullptr) {
        throw source_utilities_error("failed set an environment variable value to null");
    }
    const std::lock_guard lock(environmentMutex());
    nativeEnvironment::setVariable(name, value);
}

void uEnvironment::getCurrentDirectory(std::string& directory) {
    if (!nativeEnvironment::getCurrentDirectory(directory)) {
        throw source_utilities_error("failed to get current working directory");
    }
}

void uEnvironment::getTraceDirectory(std::string& directory) {
    {
        const std::lock_guard lock(environmentMutex());
        directory = nativeEnvironment::profileDirectory();
    }
    if (directory.empty()) {
        throw source_utilities_error("failed to read environment variable \"USERPROFILE\"");
    }
    directory += nativeEnvironment::separator;
    directory += ".VX-trace";
}

void uEnvironment::getTraceSettingsDirectory(std::string& directory) {
    getDirectoryBelowTrace(directory, "settings");
}

void uEnvironment::getTraceDataDirectory(std::string& directory) {
    getDirectoryBelowTrace(directory, "data");
}

void uEnvironment::getParentDirectory(std::string& parent, const char* path) {
    const std::string text(path != nullptr ? path : "");
    const std::size_t at = text.rfind(nativeEnvironment::separator);
    parent = at == std::string::npos ? std::string() : text.substr(0, at);
}

void uEnvironment::joinPath(std::string& path, const char* part) {
    const std::string tail(part != nullptr ? part : "");
    if (!path.empty() && !isSeparator(path.back())) {
        path += nativeEnvironment::separator;
    }
    path += tail;
    normalisePath(path);
}

void uEnvironment::normalisePath(std::string& path) {
    std::replace(path.begin(), path.end(), nativeEnvironment::otherSeparator, nativeEnvironment::separator);
    const auto end = std::unique(path.begin(), path.end(),
                                 [](char a, char b) { return a == b && a == nativeEnvironment::separator; });
    path.erase(end, path.end());
}

int uEnvironment::createDirectories(const char* path) {
    if (path == nullptr) {
        return -1;
    }
    int result = -1;
    for (const std::string& directory : directoriesAlong(path, nativeEnvironment::pathRules)) {
        result = nativeEnvironment::makeDirectory(directory.c_str()) ? 0 : -1;
    }
    return result;
}

bool uEnvironment::makeDirectory(const char* path) {
    return path != nullptr && nativeEnvironment::makeDirectory(path);
}

std::uint32_t uEnvironment::findProcess(const char* imageName, std::uint32_t processId) {
    std::vector<nativeEnvironment::Process> processes;
    if (imageName == nullptr || !nativeEnvironment::listProcesses(processes)) {
        return 0;
    }
    const std::string_view wanted = withoutExtension(imageName);
    for (const nativeEnvironment::Process& process : processes) {
        std::string_view program(process.program);
        program.remove_prefix(lastSeparator(program) + 1); // npos + 1 is 0
        if (equalNames(withoutExtension(program), wanted) && (processId == 0 || processId == process.id)) {
            return process.id;
        }
    }
    return 0;
}

bool uEnvironment::processExists(std::uint32_t processId) {
    std::vector<nativeEnvironment::Process> processes;
    if (processId == 0 || !nativeEnvironment::listProcesses(processes)) {
        return false;
    }
    return std::any_of(processes.begin(), processes.end(),
                       [processId](const nativeEnvironment::Process& process) { return process.id == processId; });
}

const char* uEnvironment::separator() {
    static const char text[]{nativeEnvironment::separator, '\0'};
    return text;
}

uEnvironment::ScopedDirectoryChanger::ScopedDirectoryChanger(const char* directory) {
    if (directory != nullptr) {
        change(directory);
    }
}

uEnvironment::ScopedDirectoryChanger::~ScopedDirectoryChanger() {
    if (!saved.empty()) {
        nativeEnvironment::changeDirectory(saved.c_str());
    }
}

void uEnvironment::ScopedDirectoryChanger::change(const char* directory) {
    if (directory == nullptr) {
        return;
    }
    if (!saved.empty()) {
        throw source_utilities_error("can't temporarily change the working directory again until its restored");
    }
    getCurrentDirectory(saved);
    if (!nativeEnvironment::changeDirectory(directory)) {
        throw source_utilities_error("failed to temporarily change the working directory to \"" +
                                     std::string(directory) + "\"");
    }
}

} // namespace VX_QRS
