#pragma once

#include <functional>
#include <string>
#include <vector>

// Calls inside the library that the linker leads through the tests.

namespace rcvr_test {

/// While it lives, `step` runs before each conversion of a text to a boolean.
class BeforeToBool {
public:
    explicit BeforeToBool(std::function<void()> step);
    BeforeToBool(const BeforeToBool&) = delete;
    BeforeToBool& operator=(const BeforeToBool&) = delete;
    ~BeforeToBool();
};

/// The libraries that were unloaded during its life, in their order.
class UnloadedLibraries {
public:
    UnloadedLibraries();
    UnloadedLibraries(const UnloadedLibraries&) = delete;
    UnloadedLibraries& operator=(const UnloadedLibraries&) = delete;
    ~UnloadedLibraries();

    const std::vector<std::string>& names() const { return unloaded; }

private:
    friend void noteUnloaded(const std::string& name);
    std::vector<std::string> unloaded;
};

} // namespace rcvr_test
