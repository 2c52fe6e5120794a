#include "client/transmitters/TransmitterBase_1.h"
#include "client/transmitters/TransmitterFpga_1.h"
#include "client/transmitters/TransmitterZarn_1.h"
#include "common/source/Exception.h"

#include <memory>
#include <new>
#include <string>
#include <vector>

namespace VX_QRS::ORV::CLIENT {

namespace {

class RefCountedXmtrImpl {
public:
    RefCountedXmtrImpl(const char* cpuName, std::unique_ptr<TransmitterBase_1> made)
        : name(cpuName), xmtr(std::move(made)) {}
    virtual ~RefCountedXmtrImpl() = default;

    std::string name;
    std::unique_ptr<TransmitterBase_1> xmtr;
    std::uint32_t refCount = 1;
};

/// One entry for each CPU name in use. Never destroyed: at unload the libraries that an entry reaches may be gone.
std::vector<std::unique_ptr<RefCountedXmtrImpl>>& table() {
    static auto* entries = new std::vector<std::unique_ptr<RefCountedXmtrImpl>>;
    return *entries;
}

} // namespace

Transmitter* createTransmitter(FrontEnd* frontEnd, const char* cpuName, Vx::Qrs::Trace::IXmtrLibrary* xmtrLibrary,
                               std::uint32_t xmtrChannel, std::uint32_t xmtrCookie, std::uint32_t adapterKind,
                               const ChannelSettings* traceSetup) {
    if (cpuName == nullptr)
        fail(transmitterUnit, eNULL);
    const std::string name = cpuName;
    for (const auto& entry : table()) {
        if (entry->name == name) {
            ++entry->refCount;
            return entry->xmtr.get();
        }
    }
    try {
        std::unique_ptr<TransmitterBase_1> made;
        if (name == "fpga")
            made = std::make_unique<TransmitterFpga_1>(frontEnd, xmtrCookie);
        else if (name == "external")
            made = std::make_unique<TransmitterBase_1>(frontEnd, xmtrCookie);
        else
            made = std::make_unique<TransmitterZarn_1>(frontEnd, cpuName, xmtrLibrary, xmtrCookie, xmtrChannel,
                                                       adapterKind, traceSetup);
        table().push_back(std::make_unique<RefCountedXmtrImpl>(cpuName, std::move(made)));
    } catch (const std::bad_alloc&) {
        fail(transmitterUnit, eALLOC);
    }
    return table().back()->xmtr.get();
}

void destroyTransmitter(Transmitter* transmitter) {
    auto& entries = table();
    for (auto entry = entries.begin(); entry != entries.end(); ++entry) {
        if ((*entry)->xmtr.get() != transmitter)
            continue;
        if (--(*entry)->refCount == 0) {
            entries.erase(entry);
            return;
        }
        (*entry)->xmtr->userLeaves();
    }
}

} // namespace VX_QRS::ORV::CLIENT
