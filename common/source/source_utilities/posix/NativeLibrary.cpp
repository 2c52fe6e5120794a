#include "common/source/source_utilities/NativeLibrary.h"

#include "common/source/source_utilities/NativeEnvironment.h"
#include "common/source/source_utilities/uString.h"

#include <dlfcn.h>
#include <unistd.h>
#include <vector>

namespace VX_QRS::nativeLibrary {

namespace {

// Windows' error numbers of the same failures.
constexpr int moduleNotFound = 126;
constexpr int symbolNotFound = 127;
constexpr int notALibrary = 193;
constexpr int unloadRefused = 6;

constexpr int loadFlags = RTLD_NOW | RTLD_LOCAL;

// The folder of the module that contains this code.
std::string ownDirectory() {
    Dl_info info{};
    if (dladdr(reinterpret_cast<const void*>(&ownDirectory), &info) == 0 || info.dli_fname == nullptr) {
        return {};
    }
    const std::string path(info.dli_fname);
    const std::size_t at = path.rfind('/');
    return at == std::string::npos ? std::string() : path.substr(0, at + 1);
}

std::vector<std::string> searchDirectories() {
    std::vector<std::string> directories{ownDirectory(), "./"};
    std::vector<std::string> path;
    uString::split(path, nativeEnvironment::getVariable("PATH"), ":");
    for (const std::string& directory : path) {
        directories.push_back(directory + "/");
    }
    return directories;
}

} // namespace

void* load(const std::string& name, int& error) {
    error = moduleNotFound;
    const std::vector<std::string> files{name + ".so", "lib" + name + ".so"};
    const bool isPath = name.find('/') != std::string::npos;
    const std::vector<std::string> directories = isPath ? std::vector<std::string>{""} : searchDirectories();
    for (const std::string& directory : directories) {
        for (const std::string& file : files) {
            const std::string path = directory + file;
            if (access(path.c_str(), F_OK) != 0) {
                continue;
            }
            if (void* module = dlopen(path.c_str(), loadFlags)) {
                return module;
            }
            error = notALibrary;
        }
    }
    for (const std::string& file : files) {
        if (void* module = isPath ? nullptr : dlopen(file.c_str(), loadFlags)) {
            return module;
        }
    }
    return nullptr;
}

void* findSymbol(void* module, const char* name, int& error) {
    void* const address = dlsym(module, name);
    error = address == nullptr ? symbolNotFound : 0;
    return address;
}

bool unload(void* module, int& error) {
    const bool unloaded = dlclose(module) == 0;
    error = unloaded ? 0 : unloadRefused;
    return unloaded;
}

} // namespace VX_QRS::nativeLibrary
