#pragma once

#include "common/source/source_utilities/uEnvironment.h"
#include "rcvr/framework/cZarnError.h"

#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

// How tests steer the stand-ins of the sibling libraries: by environment variables, which work across the libraries'
// edges on both systems.

// Symbols are hidden by default.
#define FAKE_EXPORT __attribute__((visibility("default")))

namespace fake {

/// One line into the file that FAKE_TRACE names, so that a test sees what was called and in which order.
inline void trace(const std::string& line) {
    const std::string path = VX_QRS::uEnvironment::get("FAKE_TRACE");
    if (!path.empty()) {
        std::ofstream(path, std::ios::app) << line << "\n";
    }
}

/// A library has one of its own: a line into the file that FAKE_UNLOADS names when it is unloaded.
class NotesItsUnloading {
public:
    explicit NotesItsUnloading(const char* libraryName) : name(libraryName) {
        VX_QRS::uEnvironment::get("FAKE_UNLOADS"); // its storage is then destroyed after this object
    }
    NotesItsUnloading(const NotesItsUnloading&) = delete;
    NotesItsUnloading& operator=(const NotesItsUnloading&) = delete;
    ~NotesItsUnloading() {
        const std::string path = VX_QRS::uEnvironment::get("FAKE_UNLOADS");
        if (!path.empty()) {
            std::ofstream(path, std::ios::app) << name << "\n";
        }
    }

private:
    const char* name;
};

/// The objects that a library has given out. Objects that a host never returns are destroyed when the library is unloaded, so that
/// only what the host itself loses shows as lost.
template <class Object>
class Given {
public:
    Object* add(std::unique_ptr<Object> object) {
        objects.push_back(std::move(object));
        return objects.back().get();
    }
    void remove(const void* object) {
        std::erase_if(objects, [&](const auto& held) { return held.get() == object; });
    }

private:
    std::vector<std::unique_ptr<Object>> objects;
};

/// The behaviour asked of a function: "" for its work, "null" for no result, or something to throw.
inline std::string behaviour(const char* variable) {
    const std::string request = VX_QRS::uEnvironment::get(variable);
    if (request == "std") {
        throw std::runtime_error("thrown by the sibling");
    }
    if (request == "zarn") {
        throw Vx::Qrs::Zarn::cZarnError("sibling's own error", Vx::Qrs::Zarn::eSeverityError);
    }
    if (request == "int") {
        throw 42;
    }
    return request;
}

} // namespace fake
