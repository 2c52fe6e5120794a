#include "Library.h"

#include <cstdlib>
#include <dlfcn.h>
#include <stdexcept>

Library::Library(const std::string& folder, const std::string& name) {
    handle = dlopen((folder + "/" + name + ".so").c_str(), RTLD_NOW | RTLD_LOCAL);
    if (handle == nullptr) {
        throw std::runtime_error(dlerror());
    }
}

Library::~Library() {
    dlclose(handle);
}

Library::AnyFunction Library::address(const char* name) const {
    void* found = dlsym(handle, name);
    if (found == nullptr) {
        throw std::runtime_error(dlerror());
    }
    return reinterpret_cast<AnyFunction>(found);
}

void setEnvironment(const char* name, const std::string& value) {
    setenv(name, value.c_str(), 1);
}
