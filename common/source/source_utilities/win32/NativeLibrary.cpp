#include "common/source/source_utilities/NativeLibrary.h"

#include <windows.h>

namespace VX_QRS::nativeLibrary {

namespace {

int errorUnless(bool success) {
    return success ? 0 : static_cast<int>(GetLastError());
}

} // namespace

void* load(const std::string& name, int& error) {
    const HMODULE module = LoadLibraryA(name.c_str());
    error = errorUnless(module != nullptr);
    return module;
}

void* findSymbol(void* module, const char* name, int& error) {
    const FARPROC address = GetProcAddress(static_cast<HMODULE>(module), name);
    error = errorUnless(address != nullptr);
    return reinterpret_cast<void*>(address);
}

bool unload(void* module, int& error) {
    const bool unloaded = FreeLibrary(static_cast<HMODULE>(module)) != 0;
    error = errorUnless(unloaded);
    return unloaded;
}

} // namespace VX_QRS::nativeLibrary
