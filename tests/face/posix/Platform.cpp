#include "Platform.h"

#include <cstdlib>
#include <dlfcn.h>
#include <sys/stat.h>
#include <unistd.h>

namespace face {

void setVariable(const char* name, const std::string& value) {
    if (value.empty()) {
        unsetenv(name);
    } else {
        setenv(name, value.c_str(), 1);
    }
}

std::string getVariable(const char* name) {
    const char* value = std::getenv(name);
    return value != nullptr ? value : "";
}

unsigned processId() {
    return static_cast<unsigned>(getpid());
}

const char* lineEnd() {
    return "\n";
}

WriteRefused::WriteRefused(const std::string& file) : name(file) {
    refused = chmod(name.c_str(), 0444) == 0 && access(name.c_str(), W_OK) != 0;
}

WriteRefused::~WriteRefused() {
    chmod(name.c_str(), 0644);
}

void* loadLibrary(const char* name) {
    return dlopen((std::string(name) + ".so").c_str(), RTLD_NOW | RTLD_LOCAL);
}

void* findExport(void* library, const char* name) {
    return dlsym(library, name);
}

} // namespace face
