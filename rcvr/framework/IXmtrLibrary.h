#pragma once

#include <cstdint>

// The transmitter library `zarn_xmtr`: the debug system's access to a target's trace export. The framework hands an
// object of it to CReceiver::AllocateChannel.

namespace Vx::Qrs::Trace {

/// All operations return a result code: 0, 1 and 2 mean success, anything else failure. `channel` is the number given
/// with the object. Not thread-safe: the receiver calls it under its channel's lock, except getTraceStatus,
/// getCharacter and flushBuffer, which a status poll may call from another thread.
class IXmtrLibrary {
public:
    virtual ~IXmtrLibrary() = default;
    virtual int closeChannel(unsigned channel) = 0;
    virtual int programChannel(unsigned channel) = 0;
    virtual int enablePort(unsigned channel) = 0;
    virtual int flushBuffer(unsigned channel) = 0;
    virtual int shutdownPort(unsigned channel) = 0;
    virtual int setTestMode(unsigned channel, unsigned block, unsigned mode) = 0;
    virtual int applyFrequency(unsigned channel, unsigned setting) = 0;
    virtual int setExportFrameSize(unsigned channel, unsigned size) = 0;
    /// Settings are listed from slow to fast.
    virtual int getNumFrequencySettings(unsigned channel, unsigned* count) = 0;
    /// Gives an emulation pin one bit of the export; `bit` 0 is the least significant. `reserved` is 0.
    virtual int allocatePin(unsigned channel, unsigned mode, unsigned bit, unsigned emuPin, unsigned reserved) = 0;
    virtual int setStallCpu(unsigned channel, bool flag) = 0;
    virtual int releasePin(unsigned channel, unsigned emuPin, unsigned reserved) = 0;
    virtual int setPortWidth(unsigned channel, unsigned dataPins) = 0;
    virtual int setFunctionMode(unsigned channel, unsigned mode) = 0;
    virtual int getExportFrameLimits(unsigned channel, unsigned* value, unsigned* frameSize) = 0;
    virtual int getTraceStatus(unsigned channel, std::uint32_t* status) = 0;
    virtual int clearTraceStatus(unsigned channel, std::uint32_t status) = 0;
    virtual int getCharacter(unsigned channel, std::uint32_t* value) = 0;
    virtual int applyEnd(unsigned channel, bool flag) = 0;
    virtual int setCycleAccurate(unsigned channel, bool flag) = 0;
    virtual int setMonitorCprt(unsigned channel, bool flag) = 0;
    virtual int setNoDataTraceOnFifoFull(unsigned channel, bool flag) = 0;
    /// The class of the target's trace hardware. Each CChannelDriver::SetConfiguration asks first, under the driver's
    /// lock, with the cookie given to CReceiver::AllocateChannel in place of the channel's number.
    virtual int getTransmitterKind(unsigned channel, unsigned* kind) = 0;
    virtual int setOption(unsigned channel, unsigned value) = 0;
    virtual int enablePins(unsigned channel) = 0;
};

} // namespace Vx::Qrs::Trace

extern "C" {
/// Exports of the library `zarn_xmtr`. Both arguments of CreateXmtr are 0.
using CreateXmtrFunction = Vx::Qrs::Trace::IXmtrLibrary* (*)(unsigned, unsigned);
using DestroyXmtrFunction = void (*)(Vx::Qrs::Trace::IXmtrLibrary*);
}
