#pragma once

#include <string>

// What a host asks of the system: one back end each in posix/ and win32/.

namespace face {

/// For this process, its libraries and the processes that they start. An empty value removes the variable.
void setVariable(const char* name, const std::string& value);
std::string getVariable(const char* name);
unsigned processId();
/// How a text file ends its lines.
const char* lineEnd();
/// While it lives a file can be read and not written.
class WriteRefused {
public:
    explicit WriteRefused(const std::string& file);
    WriteRefused(const WriteRefused&) = delete;
    WriteRefused& operator=(const WriteRefused&) = delete;
    ~WriteRefused();

    /// False when this user's rights are beyond that.
    bool holds() const { return refused; }

private:
    std::string name;
    [[maybe_unused]] void* handle = nullptr; // of the system that refuses by an open file
    bool refused = false;
};

/// A library loaded by its bare name, which lies beside the program. It stays loaded to the end of the process, as a
/// debugger would have it. Null when there is none.
void* loadLibrary(const char* name);
/// Null when the library has no such export.
void* findExport(void* library, const char* name);

template <class Function>
Function function(void* library, const char* name) {
    return reinterpret_cast<Function>(findExport(library, name));
}

} // namespace face
