#pragma once

#include "client/Transmitter.h"

#include <cstdint>
#include <memory>
#include <string>

namespace VX_QRS::ORV::CLIENT {

class TransmitterZarn_1;

/// The transmitter of one CPU name, and how many channels use it.
class RefCountedXmtrImpl {
public:
    /// Starts with one user. The name chooses the class, exactly and case-sensitively. Throws what the class throws.
    RefCountedXmtrImpl(FrontEnd* frontEnd, const char* name, Vx::Qrs::Trace::IXmtrLibrary* xmtrLibrary,
                       std::uint32_t xmtrChannel, std::uint32_t xmtrCookie, std::uint32_t adapterKind,
                       const ChannelSettings* traceSetup);
    RefCountedXmtrImpl(const RefCountedXmtrImpl&) = delete;
    RefCountedXmtrImpl& operator=(const RefCountedXmtrImpl&) = delete;
    virtual ~RefCountedXmtrImpl();

    std::string name;
    std::unique_ptr<Transmitter> xmtr;
    TransmitterZarn_1* target = nullptr; // xmtr, when it is one that reads a channel's settings
    std::uint32_t refCount = 1;
};

} // namespace VX_QRS::ORV::CLIENT
