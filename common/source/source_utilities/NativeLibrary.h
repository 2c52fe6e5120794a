#pragma once

#include <string>

/// Platform layer of uDll. Error numbers are those of Windows on all systems.
namespace VX_QRS::nativeLibrary {

/// Null on failure.
void* load(const std::string& name, int& error);
void* findSymbol(void* module, const char* name, int& error);
bool unload(void* module, int& error);

} // namespace VX_QRS::nativeLibrary
