#pragma once

#include "common/source/ChannelSettings.h"
#include "common/source/Property.h"

#include <cstdint>

// The capture unit as one object per process, shared and counted.

namespace Vx::Qrs::Trace {
class IXmtrLibrary;
}

namespace VX_QRS::ORV {
class DataClient;
}

namespace VX_QRS::ORV::CLIENT {

class FrontEndChannel;

class DataClientAccess {
public:
    virtual ~DataClientAccess() = default;
    /// The unit's registers and streams; owned by the front end.
    virtual DataClient* getDataClient() = 0;
};

/// Failures are thrown as Exception. No lock: create, destroy, alloc and release come from one thread.
class FrontEnd : public Property, public DataClientAccess {
public:
    ~FrontEnd() override = default;
    /// Makes a channel and its transmitter (shared by all channels of one CPU name). `xmtrLibrary` is not owned.
    /// `traceSetup` is read whenever the transmitter is programmed; it is the caller's and lives as long as the channel.
    virtual FrontEndChannel* alloc(const char* cpuName, Vx::Qrs::Trace::IXmtrLibrary* xmtrLibrary,
                                   std::uint32_t xmtrChannel, std::uint32_t xmtrCookie, std::uint32_t adapterKind,
                                   const ChannelSettings* traceSetup) = 0;
    /// Stops and deletes a channel. Null is ignored.
    virtual void release(FrontEndChannel* channel) = 0;
    virtual std::uint32_t numChannels() = 0;
    virtual FrontEndChannel* getChannel(std::uint32_t index) = 0;
};

/// The singleton, made at the first call (which starts the data server process); every call counts one user.
FrontEnd* createFrontEnd();
/// Releases one use; the last one deletes the object. Ignored without a user.
void destroyFrontEnd(FrontEnd* frontEnd);

} // namespace VX_QRS::ORV::CLIENT
