#pragma once

#include <cstdint>

// The target adapter library `HaloTargetAdapter`: the kind of CPU for a name.
//
// The receiver loads it in each CReceiver::AllocateChannel, asks once on the calling thread, frees the adapter and
// unloads the library again. It waits as long as the answer takes. What the library throws as Vx::Qrs::Zarn::cZarnError
// passes to the caller of AllocateChannel.

namespace Vx::Qrs::Trace {

class ICpuInfo {
public:
    /// The 32-bit identifier of the CPU's class and revision, as the debugger has it.
    virtual std::uint32_t getCpuId() = 0;
    virtual ~ICpuInfo() = default;
};

class ITargetAdapter {
public:
    /// The CPU's name as given to NewTargetAdapter; never null, valid as long as the adapter. Not asked at present.
    virtual const char* getCpuName() = 0;
    /// Belongs to the adapter; null when the CPU cannot be reached.
    virtual ICpuInfo* getCpuInfo() = 0;
    virtual ~ITargetAdapter() = default;
};

} // namespace Vx::Qrs::Trace

extern "C" {
/// Exports of the library `HaloTargetAdapter`. `*out` is null before the call and stays so when there is no such CPU.
/// Every adapter made is freed by FreeTargetAdapter.
using NewTargetAdapterFunction = void (*)(const char* cpuName, Vx::Qrs::Trace::ITargetAdapter** out);
using FreeTargetAdapterFunction = void (*)(Vx::Qrs::Trace::ITargetAdapter*);
}
