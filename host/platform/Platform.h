#pragma once

#include <filesystem>
#include <string>

// What the program asks of the system. One back end each in win32/ and posix/.

namespace host {

/// For this process, its libraries and the processes that they start. An empty value removes the variable.
void setEnvironment(const char* name, const std::string& value);
/// Empty when not set; sees what the libraries have set.
std::string getEnvironment(const char* name);

/// Folder of the running program, absolute.
std::filesystem::path programFolder();
/// "OrvRcvr.dll" or "OrvRcvr.so" for "OrvRcvr".
std::string libraryFileName(const std::string& name);

unsigned processId();
bool errorOutputIsTerminal();

/// From here on the first Ctrl-C (or request to end) only raises interrupted(); the second ends the process as usual.
void watchInterrupts();
bool interrupted();

/// "Linux", "Windows".
const char* systemName();
/// The system's own version, such as "6.1.0"; empty when it does not tell.
std::string systemVersion();

/// A library loaded at run time; unloaded with the object.
class LoadedLibrary {
public:
    /// Throws Failure (NoSystem) with the system's reason.
    explicit LoadedLibrary(const std::filesystem::path& file);
    ~LoadedLibrary();
    LoadedLibrary(const LoadedLibrary&) = delete;
    LoadedLibrary& operator=(const LoadedLibrary&) = delete;

    /// Throws Failure (NoSystem) when the library has no such export.
    template <class Function>
    Function symbol(const char* name) const {
        return reinterpret_cast<Function>(address(name));
    }

private:
    using AnyFunction = void (*)();
    AnyFunction address(const char* name) const;

    std::filesystem::path path;
    void* handle = nullptr;
};

} // namespace host
