#pragma once

#include <string>

// Loads a library by its file: the only system-specific part of this example.

class Library {
public:
    /// `folder`/`name`, with the system's file extension. Throws std::runtime_error.
    Library(const std::string& folder, const std::string& name);
    ~Library();
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;

    /// Throws std::runtime_error when the library has no such function.
    template <class Function>
    Function function(const char* name) const {
        return reinterpret_cast<Function>(address(name));
    }

private:
    using AnyFunction = void (*)();
    AnyFunction address(const char* name) const;

    void* handle = nullptr;
};

/// For this process and the data server that the receiver starts.
void setEnvironment(const char* name, const std::string& value);
