#include "tests/simulation/backend/Libraries.h"

#include "common/source/source_utilities/NativeLibrary.h"
#include "tests/simulation/faults/Faults.h"
#include "tests/simulation/faults/Quiet.h"

#include <utility>

namespace simulation {

namespace {

Exports& installed() {
    static auto* exports = new Exports;
    return *exports;
}

int loaded = 0;

} // namespace

void install(Exports exports) {
    const Quiet quiet;
    installed() = std::move(exports);
}

int librariesLeft() {
    return loaded;
}

void forgetLibraries() {
    loaded = 0;
}

} // namespace simulation

namespace VX_QRS::nativeLibrary {

namespace {

constexpr int moduleNotFound = 126;
constexpr int symbolNotFound = 127;

} // namespace

void* load(const std::string& name, int& error) {
    const auto found = simulation::installed().find(name);
    if (found == simulation::installed().end() ||
        simulation::Faults::instance().fails(simulation::Fault::libraryLoad)) {
        error = moduleNotFound;
        return nullptr;
    }
    ++simulation::loaded;
    return &found->second;
}

void* findSymbol(void* module, const char* name, int& error) {
    const simulation::Quiet quiet;
    const auto& symbols = *static_cast<const std::map<std::string, void*>*>(module);
    const auto found = symbols.find(name);
    error = found == symbols.end() ? symbolNotFound : 0;
    return found == symbols.end() ? nullptr : found->second;
}

bool unload(void*, int& error) {
    --simulation::loaded;
    error = 0;
    return true;
}

} // namespace VX_QRS::nativeLibrary
