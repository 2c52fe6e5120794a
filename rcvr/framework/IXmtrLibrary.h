#pragma once

#include <cstdint>

// The transmitter library `zarn_xmtr`: the debug system's access to a target's trace export. The framework hands an
// object of it to CReceiver::AllocateChannel.

namespace Vx::Qrs::Trace {

/// All operations return a result code: 0, 1 and 2 mean success, anything else failure, which the receiver reports as
/// "transmitter failure" with the operation's name; where a comment says so, the result is ignored. Out pointers
/// are never null, and what they point to is 0 when the call begins. `channel` is the number given with the object.
///
/// Threads: the receiver calls under its channel's lock, one call at a time, from the thread that configures and starts
/// and from the channel's own; except getTraceStatus, getCharacter and flushBuffer, which every question after a
/// channel's status asks while it records, from the asking thread and beside other calls.
///
/// Blocking: as long as the target needs. The receiver waits without a limit, and holds its lock meanwhile.
///
/// Ownership: the maker of the object keeps it until CReceiver::ReleaseChannel has returned. Exceptions: none
/// are expected; what a library throws ends the operation of the receiver.
class IXmtrLibrary {
public:
    virtual ~IXmtrLibrary() = default;
    /// The receiver does not use the channel any more, until it programs it again: new settings, release. The result is
    /// ignored.
    virtual int closeChannel(unsigned channel) = 0;
    /// Carries out what was set since releasePin. Then the port, then the pins are enabled.
    virtual int programChannel(unsigned channel) = 0;
    /// Lets the export send.
    virtual int enablePort(unsigned channel) = 0;
    /// Sends what the target still holds. At the end of a recording; also from a status poll, see getCharacter.
    virtual int flushBuffer(unsigned channel) = 0;
    /// Stops sending. Called before and after everything that sends, also when nothing was sent.
    virtual int shutdownPort(unsigned channel) = 0;
    /// The pattern that is sent in place of trace; `block` is 5. Modes: 0 a5, 1 walk, 2 ramp, 3 lfsr, 4 f0. Not asked
    /// for a recording of trace.
    virtual int setTestMode(unsigned channel, unsigned block, unsigned mode) = 0;
    /// The rate: 0, the slowest, to the number of settings - 1.
    virtual int applyFrequency(unsigned channel, unsigned setting) = 0;
    /// Bytes of an export frame: as getExportFrameLimits returned them, or 64. The result is ignored.
    virtual int setExportFrameSize(unsigned channel, unsigned size) = 0;
    /// How many rates there are. Settings are listed from slow to fast.
    virtual int getNumFrequencySettings(unsigned channel, unsigned* count) = 0;
    /// Gives an emulation pin (0 to 5) one bit of the export; `bit` 0 is the least significant. Modes: clock 13 and
    /// data 12 for "pti", clock 18 and data 19 for the other kinds; the clock comes first, with bit 0, then data from
    /// the top bit down. `reserved` is 0. Pins stay allocated until they are released.
    virtual int allocatePin(unsigned channel, unsigned mode, unsigned bit, unsigned emuPin, unsigned reserved) = 0;
    /// CPUs of class 2: whether the CPU waits while the export is full. The result is ignored.
    virtual int setStallCpu(unsigned channel, bool flag) = 0;
    /// Releases a pin, also one that was not allocated. `reserved` is 0.
    virtual int releasePin(unsigned channel, unsigned emuPin, unsigned reserved) = 0;
    /// Number of data pins.
    virtual int setPortWidth(unsigned channel, unsigned dataPins) = 0;
    /// 3 for "pti" and 9 for "tpiu"; 1 and 8 in their place while paused.
    virtual int setFunctionMode(unsigned channel, unsigned mode) = 0;
    /// CPUs of class 2: bytes of the target's own export frame; 0 leaves the size alone. `value` and the
    /// result are ignored.
    virtual int getExportFrameLimits(unsigned channel, unsigned* value, unsigned* frameSize) = 0;
    /// Bits of the target's trace status; bit 30: a trigger came.
    virtual int getTraceStatus(unsigned channel, std::uint32_t* status) = 0;
    /// Clears the bits that are given, before a recording.
    virtual int clearTraceStatus(unsigned channel, std::uint32_t status) = 0;
    /// Traits of the export; bit 3: it has to be flushed after a trigger. Called only after one.
    virtual int getCharacter(unsigned channel, std::uint32_t* value) = 0;
    /// The recording ends: trace that comes now is not wanted. `flag` is true.
    virtual int applyEnd(unsigned channel, bool flag) = 0;
    /// CPUs of class 2: cycle counts in the stream. The result is ignored.
    virtual int setCycleAccurate(unsigned channel, bool flag) = 0;
    /// CPUs of class 2: coprocessor transfers are traced. The result is ignored.
    virtual int setMonitorCprt(unsigned channel, bool flag) = 0;
    /// CPUs of class 2: data trace is discarded before the rest. The result is ignored.
    virtual int setNoDataTraceOnFifoFull(unsigned channel, bool flag) = 0;
    /// The class of the target's trace hardware: 1 "pti", 4 "tpiu", 5 "tpiulite"; others are refused. The result is
    /// ignored. Each CChannelDriver::SetConfiguration asks first, under the driver's
    /// lock, with the cookie given to CReceiver::AllocateChannel in place of the channel's number.
    virtual int getTransmitterKind(unsigned channel, unsigned* kind) = 0;
    /// `value` is 0; the result is ignored.
    virtual int setOption(unsigned channel, unsigned value) = 0;
    /// Connects the allocated pins.
    virtual int enablePins(unsigned channel) = 0;
};

} // namespace Vx::Qrs::Trace

extern "C" {
/// Exports of the library `zarn_xmtr`, for the caller of CReceiver::AllocateChannel. Both arguments of CreateXmtr are
/// 0; it returns null when it cannot make an object. Each object is passed once to DestroyXmtr, after the last
/// ReleaseChannel that used it.
using CreateXmtrFunction = Vx::Qrs::Trace::IXmtrLibrary* (*)(unsigned, unsigned);
using DestroyXmtrFunction = void (*)(Vx::Qrs::Trace::IXmtrLibrary*);
}
