#include "bench/siblings/PartIdentifier.h"
#include "rcvr/framework/compiler/Compiler.h"

#include <cstdio>

// Returns null if the database cannot be read; the receiver reports that it has none. The reason is printed to the
// standard error output.
extern "C" {

ORV_EXPORT Vx::Qrs::Trace::IPartIdentifier* CreatePartIdentifier() {
    try {
        return new bench::PartIdentifier(bench::DeviceDatabase::load(bench::DeviceDatabase::defaultFile()));
    } catch (const std::exception& error) {
        std::fprintf(stderr, "bench: %s\n", error.what());
        return nullptr;
    }
}

ORV_EXPORT void DestroyPartIdentifier(Vx::Qrs::Trace::IPartIdentifier* identifier, unsigned) {
    delete identifier;
}
}
