#pragma once

#include <cstdint>
#include <string>

namespace VX_QRS {

/// A library that is loaded at run time by its base name. Nothing is thrown; a failure sets a text.
class uDll {
public:
    /// Loads at once when a name is given.
    explicit uDll(const char* name = nullptr, std::int32_t mode = -1);
    uDll(const uDll&) = delete;
    uDll& operator=(const uDll&) = delete;

    /// Unloads.
    ~uDll();

    /// A ".dll" in `name` is removed on all systems. Windows searches its usual folders; on Linux <name>.so and
    /// lib<name>.so are searched for in the folder of this code's module, in the current directory, along PATH and in
    /// the loader's folders. True when the library is loaded, also when it was before. The mode is only stored; -1 keeps
    /// the earlier one.
    bool FindAndLoad(const char* name, std::int32_t mode = -1);

    /// The address, or null.
    void* GetSymbol(const char* name);

    const char* GetLastErrorText() const { return lastError.c_str(); }

    /// False when nothing is loaded or the platform fails to unload it.
    bool Unload();

    /// The name with ".dll" appended unless it contains that.
    static std::string GetPlatformName(const char* name);

    const std::string& getName() const { return name; }
    std::int32_t getMode() const { return mode; }
    bool isLoaded() const { return module != nullptr; }

private:
    std::string name;
    std::int32_t mode;
    void* module = nullptr;
    std::string lastError;
};

} // namespace VX_QRS
