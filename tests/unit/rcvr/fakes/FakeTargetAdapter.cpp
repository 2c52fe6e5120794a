#include "FakeControl.h"
#include "rcvr/framework/ITargetAdapter.h"

// Answers with the CPU identifier that FAKE_CPU_ID gives.

using namespace Vx::Qrs::Trace;

namespace {

class CpuInfo : public ICpuInfo {
public:
    std::uint32_t getCpuId() override {
        return static_cast<std::uint32_t>(std::stoul(std::string("0") + VX_QRS::uEnvironment::get("FAKE_CPU_ID")));
    }
};

class Adapter : public ITargetAdapter {
public:
    explicit Adapter(std::string cpuName) : name(std::move(cpuName)) {}
    const char* getCpuName() override { return name.c_str(); }
    ICpuInfo* getCpuInfo() override { return fake::behaviour("FAKE_CPU_INFO") == "null" ? nullptr : &info; }

private:
    std::string name;
    CpuInfo info;
};

fake::Given<ITargetAdapter> adapters;

} // namespace

extern "C" {

FAKE_EXPORT void NewTargetAdapter(const char* cpuName, ITargetAdapter** out) {
    fake::trace("NewTargetAdapter " + std::string(cpuName).substr(0, 100));
    if (fake::behaviour("FAKE_ADAPTER") != "null") {
        *out = adapters.add(std::make_unique<Adapter>(cpuName));
    }
}

FAKE_EXPORT void FreeTargetAdapter(ITargetAdapter* adapter) {
    fake::trace("FreeTargetAdapter");
    adapters.remove(adapter);
}
}
