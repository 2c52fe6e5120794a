#include "Library.h"

#include <windows.h>
#include <stdexcept>
#include <stdlib.h>

Library::Library(const std::string& folder, const std::string& name) {
    // The receiver loads its siblings by their bare names; Windows searches the program's folder, not the library's.
    SetDllDirectoryA(folder.c_str());
    const std::string file = folder + "\\" + name + ".dll";
    handle = LoadLibraryA(file.c_str());
    if (handle == nullptr) {
        throw std::runtime_error("cannot load " + file);
    }
}

Library::~Library() {
    FreeLibrary(static_cast<HMODULE>(handle));
}

Library::AnyFunction Library::address(const char* name) const {
    const FARPROC found = GetProcAddress(static_cast<HMODULE>(handle), name);
    if (found == nullptr) {
        throw std::runtime_error(std::string("no function ") + name);
    }
    return reinterpret_cast<AnyFunction>(found);
}

// The receiver reads the C library's environment, its server the process's: _putenv_s sets both.
void setEnvironment(const char* name, const std::string& value) {
    _putenv_s(name, value.c_str());
}
