#pragma once

#include "bench/siblings/DeviceDatabase.h"
#include "rcvr/framework/ITargetAdapter.h"

#include <memory>
#include <string>

namespace bench {

/// Target adapter over the bench's database. A CPU that is unknown or marked as unreachable has no CPU information.
class TargetAdapter : public Vx::Qrs::Trace::ITargetAdapter {
public:
    TargetAdapter(const DeviceDatabase& base, std::string cpuName);
    ~TargetAdapter() override;

    const char* getCpuName() override { return name.c_str(); }
    Vx::Qrs::Trace::ICpuInfo* getCpuInfo() override;

private:
    std::string name;
    std::unique_ptr<Vx::Qrs::Trace::ICpuInfo> info;
};

} // namespace bench
