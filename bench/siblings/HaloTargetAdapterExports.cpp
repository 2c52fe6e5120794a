#include "bench/siblings/TargetAdapter.h"

#include <cstdio>

extern "C" {

__attribute__((visibility("default"))) void NewTargetAdapter(const char* cpuName,
                                                             Vx::Qrs::Trace::ITargetAdapter** out) {
    if (out == nullptr) {
        return;
    }
    *out = nullptr;
    try {
        const auto base = bench::DeviceDatabase::load(bench::DeviceDatabase::defaultFile());
        *out = new bench::TargetAdapter(base, cpuName != nullptr ? cpuName : "");
    } catch (const std::exception& error) {
        std::fprintf(stderr, "bench: %s\n", error.what());
    }
}

__attribute__((visibility("default"))) void FreeTargetAdapter(Vx::Qrs::Trace::ITargetAdapter* adapter) {
    delete adapter;
}
}
