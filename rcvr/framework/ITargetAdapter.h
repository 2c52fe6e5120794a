#pragma once

#include <cstdint>

// The target adapter library `HaloTargetAdapter`: what kind of CPU hides behind a name.

namespace Vx::Qrs::Trace {

class ICpuInfo {
public:
    /// The 32-bit identifier of the CPU's class and revision.
    virtual std::uint32_t getCpuId() = 0;
    virtual ~ICpuInfo() = default;
};

class ITargetAdapter {
public:
    /// The CPU's name as given to NewTargetAdapter; valid as long as the adapter.
    virtual const char* getCpuName() = 0;
    /// Belongs to the adapter; null when the CPU cannot be reached.
    virtual ICpuInfo* getCpuInfo() = 0;
    virtual ~ITargetAdapter() = default;
};

} // namespace Vx::Qrs::Trace

extern "C" {
/// Exports of the library `HaloTargetAdapter`. Every adapter made is freed by FreeTargetAdapter.
using NewTargetAdapterFunction = void (*)(const char* cpuName, Vx::Qrs::Trace::ITargetAdapter** out);
using FreeTargetAdapterFunction = void (*)(Vx::Qrs::Trace::ITargetAdapter*);
}
