#pragma once

#include "client/FrontEnd.h"
#include "client/Pattern.h"
#include "common/source/Property.h"

#include <cstdint>

// The source of the trace stream on the capture unit's pins.

namespace VX_QRS::ORV::CLIENT {

/// Failures are thrown as Exception. No lock of its own: the channel calls it under its mutex, hasTriggered excepted.
class Transmitter : public Property {
public:
    ~Transmitter() override = default;
    virtual void applySettings() = 0;
    /// Sends the named pattern ("calibration", "verification", "none" for trace …) at a frequency setting. A null name
    /// programs the current pattern again; the name of a ramp cannot be programmed, so that fails.
    virtual void program(const char* name, std::uint32_t frequencySetting) = 0;
    virtual void end(bool flag) = 0;
    virtual void flush() = 0;
    virtual void shutdown() = 0;
    virtual void reset() = 0;
    /// Settings are numbered from slow to fast.
    virtual std::uint32_t numFrequencySettings() = 0;
    virtual bool hasTriggered() = 0;
    /// What the present program is expected to look like; owned by the transmitter, valid until the next program.
    virtual Pattern* getPattern() = 0;
};

/// The transmitter of a CPU name ("fpga": the unit's own generator; "external": a signal that nothing here controls;
/// anything else: a target). Channels of one name share one object; every call counts one user.
Transmitter* createTransmitter(FrontEnd* frontEnd, const char* cpuName, Vx::Qrs::Trace::IXmtrLibrary* xmtrLibrary,
                               std::uint32_t xmtrChannel, std::uint32_t xmtrCookie, std::uint32_t adapterKind,
                               const ChannelSettings* traceSetup);
/// Releases one use; an unknown pointer is ignored.
void destroyTransmitter(Transmitter* transmitter);
/// The same, naming the settings that may be destroyed now. All users share the `traceSetup` of the first, so the
/// transmitter copies it when its owner leaves first; without a name it copies it whenever a user leaves.
void destroyTransmitter(Transmitter* transmitter, const ChannelSettings* leaving);

} // namespace VX_QRS::ORV::CLIENT
