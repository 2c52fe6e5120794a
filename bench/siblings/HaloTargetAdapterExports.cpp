#include "bench/siblings/TargetAdapter.h"
#include "rcvr/framework/compiler/Compiler.h"

#include <cstdio>

extern "C" {

ORV_EXPORT void NewTargetAdapter(const char* cpuName, Vx::Qrs::Trace::ITargetAdapter** out) {
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

ORV_EXPORT void FreeTargetAdapter(Vx::Qrs::Trace::ITargetAdapter* adapter) {
    delete adapter;
}
}
