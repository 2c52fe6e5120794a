#include "bench/siblings/PartIdentifier.h"

#include <cstdio>

// A data base that cannot be read gives no object: the receiver then says that it has none, and the reason stands on
// the standard error output for the person at the bench.
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
