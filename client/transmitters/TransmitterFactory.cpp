#include "client/transmitters/TransmitterFactory.h"

#include "client/transmitters/TransmitterFpga_1.h"
#include "client/transmitters/TransmitterZarn_1.h"
#include "common/source/Exception.h"
#include "common/source/source_utilities/uLog.h"

#include <new>
#include <vector>

namespace VX_QRS::ORV::CLIENT {

namespace {

constexpr const char* fpgaName = "fpga";
constexpr const char* externalName = "external";

using Table = std::vector<std::unique_ptr<RefCountedXmtrImpl>>;

/// Of the process. Never destroyed: an entry that is left at the process's end refers to libraries that may be gone.
Table& table() {
    static Table* const entries = new Table;
    return *entries;
}

} // namespace

RefCountedXmtrImpl::RefCountedXmtrImpl(FrontEnd* frontEnd, const char* cpuName,
                                       Vx::Qrs::Trace::IXmtrLibrary* xmtrLibrary, std::uint32_t xmtrChannel,
                                       std::uint32_t xmtrCookie, std::uint32_t adapterKind,
                                       const ChannelSettings* traceSetup)
    : name(cpuName) {
    if (name == fpgaName) {
        xmtr = std::make_unique<TransmitterFpga_1>(frontEnd, xmtrCookie);
    } else if (name == externalName) {
        xmtr = std::make_unique<TransmitterBase_1>(frontEnd, xmtrCookie);
    } else {
        auto made = std::make_unique<TransmitterZarn_1>(frontEnd, cpuName, xmtrLibrary, xmtrCookie, xmtrChannel,
                                                        adapterKind, traceSetup);
        target = made.get();
        xmtr = std::move(made);
    }
}

RefCountedXmtrImpl::~RefCountedXmtrImpl() = default;

Transmitter* createTransmitter(FrontEnd* frontEnd, const char* cpuName, Vx::Qrs::Trace::IXmtrLibrary* xmtrLibrary,
                               std::uint32_t xmtrChannel, std::uint32_t xmtrCookie, std::uint32_t adapterKind,
                               const ChannelSettings* traceSetup) {
    logEntry(transmitterUnit, "VX_QRS::ORV::CLIENT::createTransmitter");
    if (cpuName == nullptr) {
        fail(transmitterUnit, eNULL);
    }
    try {
        for (const auto& entry : table()) {
            if (entry->name == cpuName) {
                ++entry->refCount;
                return entry->xmtr.get();
            }
        }
        table().push_back(std::make_unique<RefCountedXmtrImpl>(frontEnd, cpuName, xmtrLibrary, xmtrChannel, xmtrCookie,
                                                               adapterKind, traceSetup));
    } catch (const std::bad_alloc&) {
        fail(transmitterUnit, eALLOC);
    }
    return table().back()->xmtr.get();
}

void destroyTransmitter(Transmitter* transmitter) {
    destroyTransmitter(transmitter, nullptr);
}

void destroyTransmitter(Transmitter* transmitter, const ChannelSettings* leaving) {
    logEntry(transmitterUnit, "VX_QRS::ORV::CLIENT::destroyTransmitter");
    for (auto entry = table().begin(); entry != table().end(); ++entry) {
        if ((*entry)->xmtr.get() != transmitter) {
            continue;
        }
        if (--(*entry)->refCount == 0) {
            table().erase(entry);
            return;
        }
        if ((*entry)->target != nullptr) {
            (*entry)->target->setupLeaves(leaving);
        }
    }
}

} // namespace VX_QRS::ORV::CLIENT
