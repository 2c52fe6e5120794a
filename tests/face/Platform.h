#pragma once

#include <string>

// System functions for a host, with a back end each in posix/ and win32/.

namespace face {

/// For this process, its libraries and the processes that they start. An empty value removes the variable.
void setVariable(const char* name, const std::string& value);
std::string getVariable(const char* name);
unsigned processId();
/// The line end of text files.
const char* lineEnd();
/// Makes a file read-only during its lifetime.
class WriteRefused {
public:
    explicit WriteRefused(const std::string& file);
    WriteRefused(const WriteRefused&) = delete;
    WriteRefused& operator=(const WriteRefused&) = delete;
    ~WriteRefused();

    /// False when this user can write it anyway.
    bool holds() const { return refused; }

private:
    std::string name;
    [[maybe_unused]] void* handle = nullptr; // used on the system that does this by an open file
    bool refused = false;
};

/// Loads a library in the program's folder by its bare name. It stays loaded to the end of the process, as in a
/// debugger. Null when there is none.
void* loadLibrary(const char* name);
/// Null when the library has no such export.
void* findExport(void* library, const char* name);

template <class Function>
Function function(void* library, const char* name) {
    return reinterpret_cast<Function>(findExport(library, name));
}

} // namespace face
