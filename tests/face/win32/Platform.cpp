#include "Platform.h"

#include <windows.h>
#include <cstdlib>

namespace face {

void setVariable(const char* name, const std::string& value) {
    // The C runtime has its own copy; _putenv_s changes it together with the process's.
    _putenv_s(name, value.c_str());
    SetEnvironmentVariableA(name, value.empty() ? nullptr : value.c_str());
}

std::string getVariable(const char* name) {
    std::string value(32768, '\0');
    const DWORD length = GetEnvironmentVariableA(name, value.data(), static_cast<DWORD>(value.size()));
    value.resize(length < value.size() ? length : 0);
    return value;
}

unsigned processId() {
    return GetCurrentProcessId();
}

const char* lineEnd() {
    return "\r\n";
}

// Open for reading here, shared with readers only.
WriteRefused::WriteRefused(const std::string& file)
    : name(file), handle(CreateFileA(file.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                     FILE_ATTRIBUTE_NORMAL, nullptr)) {
    refused = handle != INVALID_HANDLE_VALUE;
}

WriteRefused::~WriteRefused() {
    if (refused) {
        CloseHandle(handle);
    }
}

void* loadLibrary(const char* name) {
    return LoadLibraryA((std::string(name) + ".dll").c_str());
}

void* findExport(void* library, const char* name) {
    return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(library), name));
}

} // namespace face
