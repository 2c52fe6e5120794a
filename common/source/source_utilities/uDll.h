#pragma once

#include <cstdint>
#include <string>

namespace VX_QRS {

// A library that is loaded at run time by its base name. Nothing is thrown; failures leave a text.
class uDll {
public:
    // Loads at once when a name is given.
    explicit uDll(const char* name = nullptr, std::int32_t mode = -1);
    uDll(const uDll&) = delete;
    uDll& operator=(const uDll&) = delete;

    // Unloads.
    ~uDll();

    // `name` may have ".dll" in it, which is removed on all systems. Searched are the places that the platform
    // searches; on Linux <name>.so and lib<name>.so beside the module that this code is in, in the current directory,
    // along PATH and where the loader looks. True when the library is held, also when it was before. The mode is
    // only kept, -1 keeping the one that was given before.
    bool FindAndLoad(const char* name, std::int32_t mode = -1);

    // The address, or null.
    void* GetSymbol(const char* name);

    const char* GetLastErrorText() const { return lastError.c_str(); }

    // False when nothing is loaded, or when the platform refuses.
    bool Unload();

    // The name with ".dll" behind it unless it is in it already.
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
