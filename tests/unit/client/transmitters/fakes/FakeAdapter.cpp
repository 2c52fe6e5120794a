#include "rcvr/framework/ITargetAdapter.h"
#include "tests/unit/client/transmitters/fakes/FakeTrace.h"

namespace {

class Adapter : public Vx::Qrs::Trace::ITargetAdapter {
public:
    const char* getCpuName() override {
        fake::trace("getCpuName");
        return "";
    }
    Vx::Qrs::Trace::ICpuInfo* getCpuInfo() override {
        fake::trace("getCpuInfo");
        return nullptr;
    }
};

// The one that is made; a variant that cannot free anything must not leak.
Adapter only;

} // namespace

extern "C" {

FAKE_EXPORT void NewTargetAdapter(const char* cpuName, Vx::Qrs::Trace::ITargetAdapter** out) {
    fake::trace(std::string("NewTargetAdapter ") + cpuName);
    *out = fake::makesNothing("FAKE_ADAPTER") ? nullptr : &only;
}

FAKE_EXPORT void FreeTargetAdapter(Vx::Qrs::Trace::ITargetAdapter* adapter) {
    fake::trace("FreeTargetAdapter");
    if (adapter != &only) {
        fake::trace("not the object that was made");
    }
}
}
