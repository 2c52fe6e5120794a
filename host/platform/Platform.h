#pragma once

#include <cstddef>
#include <filesystem>
#include <string>

// The system's services. One back end each in win32/ and posix/.

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
/// Columns of the terminal that the standard error output is; 80 if it is none or does not report them.
std::size_t errorOutputColumns();
/// Columns of the terminal that the standard output is; unlimited for a file or pipe.
std::size_t outputColumns();

/// Whether the standard output is a terminal that shows colours.
bool outputTakesColour();

/// From here on the standard input is read as bytes. No effect where it always is.
void readInputAsBytes();
/// From here on the standard output is written as bytes. No effect where it always is.
void writeOutputAsBytes();

/// Makes a console show the program's output as UTF-8 during the object's life. No effect where every terminal does.
class Utf8Console {
public:
    Utf8Console();
    ~Utf8Console();
    Utf8Console(const Utf8Console&) = delete;
    Utf8Console& operator=(const Utf8Console&) = delete;

private:
    [[maybe_unused]] unsigned before = 0; ///< code page to restore; 0: none. Not used on every system
};

/// From here on the first Ctrl-C (or request to end) raises interrupted() and is answered at once with a line on the
/// standard error output (see InterruptAnswer); the second ends the process as usual, with a line there too. A terminal
/// or console that closes counts as a first one only.
void watchInterrupts();
bool interrupted();

inline constexpr std::size_t usualColumns = 80;
/// The line that answers the second Ctrl-C.
inline constexpr char endedAtOnce[] =
    "\norvtrace: ended at once by a second interrupt; what was captured may be lost\n";

/// "Linux", "Windows".
const char* systemName();
/// The system's own version, such as "6.1.0"; empty if it is not known.
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
