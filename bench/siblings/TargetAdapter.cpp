#include "bench/siblings/TargetAdapter.h"

namespace bench {

namespace {

class CpuInfo : public Vx::Qrs::Trace::ICpuInfo {
public:
    explicit CpuInfo(std::uint32_t identifier) : id(identifier) {}
    std::uint32_t getCpuId() override { return id; }

private:
    std::uint32_t id;
};

} // namespace

TargetAdapter::TargetAdapter(const DeviceDatabase& base, std::string cpuName) : name(std::move(cpuName)) {
    const Device* device = base.find(name);
    if (device != nullptr && device->reachable) {
        info = std::make_unique<CpuInfo>(device->cpuId);
    }
}

TargetAdapter::~TargetAdapter() = default;

Vx::Qrs::Trace::ICpuInfo* TargetAdapter::getCpuInfo() {
    return info.get();
}

} // namespace bench
