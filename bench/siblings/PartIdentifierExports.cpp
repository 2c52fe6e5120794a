#include "bench/siblings/PartIdentifier.h"

#include <cstdio>

// Returns null if the database cannot be read; the receiver reports that it has none. The reason is printed to the
// standard error output.
extern "C" {

__attribute__((visibility("default"))) Vx::Qrs::Trace::IPartIdentifier* CreatePartIdentifier() {
    try {
        return new bench::PartIdentifier(bench::DeviceDatabase::load(bench::DeviceDatabase::defaultFile()));
    } catch (const std::exception& error) {
        std::fprintf(stderr, "bench: %s\n", error.what());
        return nullptr;
    }
}

__attribute__((visibility("default"))) void DestroyPartIdentifier(Vx::Qrs::Trace::IPartIdentifier* identifier,
                                                                  unsigned) {
    delete identifier;
}
}
