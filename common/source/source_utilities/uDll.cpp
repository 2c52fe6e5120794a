#include "common/source/source_utilities/uDll.h"

#include "common/source/source_utilities/NativeLibrary.h"
#include "common/source/source_utilities/uEnvironment.h"
#include "common/source/source_utilities/uLog.h"
#include "common/source/source_utilities/uString.h"

#include <new>

namespace VX_QRS {

namespace {

constexpr const char* extension = ".dll";

std::string callFailure(int error) {
    std::string text;
    constexpr bool append = false;
    uString::toText(error, text, append, "GetLastError() returned %d");
    return text;
}

std::string workingDirectory() {
    std::string directory;
    try {
        uEnvironment::getCurrentDirectory(directory);
    } catch (const source_utilities_error&) {
        directory.clear(); // it is only wanted for the log
    }
    return directory;
}

} // namespace

uDll::uDll(const char* libraryName, std::int32_t loadMode)
    : name(libraryName != nullptr ? libraryName : ""), mode(loadMode) {
    if (libraryName != nullptr) {
        FindAndLoad(libraryName, loadMode);
    }
}

uDll::~uDll() {
    try {
        Unload();
    } catch (const std::bad_alloc&) {
        // The library is unloaded or stays loaded; only the text of the failure is lost.
    }
}

bool uDll::FindAndLoad(const char* libraryName, std::int32_t loadMode) {
    logEntry("uDll", "VX_QRS::uDll::FindAndLoad");
    if (libraryName == nullptr) {
        return false;
    }
    if (module != nullptr) {
        return true;
    }
    const std::string directory = workingDirectory();
    logMessage("uDll:  request to load \"%s\" in mode %d", libraryName, loadMode);
    std::string platformName = GetPlatformName(libraryName);
    logMessage("uDll:  GetPlatformName returned \"%s\"", platformName.c_str());
    logMessage("uDll:  Working Directory is: \"%s\"", directory.c_str());
    logMessage("uDll:  PATH=%s", uEnvironment::get("PATH"));

    uString::replace(platformName, extension, "");
    name = platformName;
    if (loadMode != -1) {
        mode = loadMode;
    }
    if (mode == -1) {
        mode = 0;
    }
    if (name.empty()) {
        return false;
    }
    int error = 0;
    module = nativeLibrary::load(name, error);
    if (module == nullptr) {
        lastError = "failed to load " + name + " with error code " + std::to_string(error);
        logMessage("uDll: %s", lastError.c_str());
    }
    return module != nullptr;
}

void* uDll::GetSymbol(const char* symbolName) {
    if (module == nullptr) {
        return nullptr;
    }
    lastError.clear();
    int error = 0;
    void* address = nativeLibrary::findSymbol(module, symbolName != nullptr ? symbolName : "", error);
    if (address == nullptr) {
        lastError = callFailure(error);
    }
    return address;
}

bool uDll::Unload() {
    if (module == nullptr) {
        return false;
    }
    lastError.clear();
    int error = 0;
    if (!nativeLibrary::unload(module, error)) {
        lastError = callFailure(error);
    }
    module = nullptr;
    return lastError.empty();
}

std::string uDll::GetPlatformName(const char* libraryName) {
    std::string text(libraryName != nullptr ? libraryName : "");
    if (text == extension || text.find(extension) == std::string::npos) {
        text += extension;
    }
    return text;
}

} // namespace VX_QRS
