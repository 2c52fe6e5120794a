#include "tests/simulation/scenarios/receiver/Siblings.h"

#include "rcvr/framework/IPartIdentifier.h"
#include "rcvr/framework/ITargetAdapter.h"

#include <cstring>

namespace simulation {

namespace {

using namespace Vx::Qrs::Trace;

// One object of each serves all: none has a state.

class Pinout final : public IPartProperty {
public:
    const char* getName() override { return "normal"; }
    const char* getValue() override { return "pti=0,1,2,3,4"; }
};

class Part final : public IPart {
public:
    const char* getName() override { return "STM"; }
    std::vector<IPartProperty*> getProperties(const char* group) override {
        static Pinout pinout;
        return std::strcmp(group, "program.pinouts") == 0 ? std::vector<IPartProperty*>{&pinout}
                                                          : std::vector<IPartProperty*>{};
    }
};

class Entry final : public IDeviceEntry {
public:
    IDevice* getDevice() override { return nullptr; }
    IPart* getParentPart() override { return part(); }
    IPart* getTracePart() override { return part(); }

private:
    static IPart* part() {
        static Part only;
        return &only;
    }
};

class Identifier final : public IPartIdentifier {
public:
    std::vector<IDeviceEntry*> getDeviceEntries(const char*) override {
        static Entry entry;
        return {&entry};
    }
    const char* getDeviceText(const char*, unsigned selector) override {
        constexpr const char* texts[] = {cpuName, "unit", "3"};
        return selector <= eUnitPort ? texts[selector] : "";
    }
};

class Adapter final : public ITargetAdapter, private ICpuInfo {
public:
    const char* getCpuName() override { return cpuName; }
    ICpuInfo* getCpuInfo() override { return this; }

private:
    std::uint32_t getCpuId() override { return 0; }
};

IPartIdentifier* createIdentifier() {
    return new Identifier;
}

void destroyIdentifier(IPartIdentifier* identifier, unsigned) {
    delete identifier;
}

void newAdapter(const char*, ITargetAdapter** out) {
    *out = new Adapter;
}

void freeAdapter(ITargetAdapter* adapter) {
    delete adapter;
}

template <class Function>
void* exported(Function* function) {
    return reinterpret_cast<void*>(function);
}

} // namespace

Exports siblingLibraries() {
    return {
        {"PartIdentifier",
         {{"CreatePartIdentifier", exported(createIdentifier)},
          {"DestroyPartIdentifier", exported(destroyIdentifier)}}},
        {"HaloTargetAdapter",
         {{"NewTargetAdapter", exported(newAdapter)}, {"FreeTargetAdapter", exported(freeAdapter)}}},
    };
}

} // namespace simulation
