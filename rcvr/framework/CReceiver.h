#pragma once

#include <cstdint>

// The receiver as the trace framework holds it, and the two functions by which it is reached.

namespace Vx::Qrs::Trace {

class CChannelDriver;
class IFileDataSource;
class IXmtrLibrary;

/// Events that the framework passes on. Call them on the thread that drives the channels: they configure nothing, but
/// start and stop recordings. Other threads may poll the channel (status, attributes, progress) meanwhile. The first
/// channel is meant, whatever the CPU's name; without a channel nothing is done.
class CTargetStateNotification {
public:
    /// The debugger's numbers for what a CPU does.
    enum TargetState : unsigned {
        eDisconnectedByUser = 3,
        eDisconnected = 4,
        eRunning = 5,
        eRunningFree = 6,
        eHalted = 7,
        eHaltedByEvent = 8,
    };

    /// A CPU's state changed; other states than those above only count as not disconnected. With the channel's
    /// `targetSync` on a CPU that runs starts a recording, and the last one that halts stops it; this blocks like
    /// CChannelDriver::StartRecording and StopRecording, and may throw Vx::Qrs::Zarn::cZarnError like them. A
    /// disconnection stops nothing. Null `cpuName` is ignored.
    virtual void OnTargetStateChange(const char* cpuName, unsigned state) = 0;
    /// State 0: the trace job was modified. A recording is ended and, after its upload, for which this waits, started
    /// anew; on a calibrated channel that does not record one is started. Other states are ignored. Never throws.
    virtual void OnTraceSystemStateChange(const char* cpuName, unsigned state) = 0;
    /// Not used by this receiver.
    virtual void OnTraceJobChange(const char* /*cpuName*/, unsigned /*value*/) {}
    virtual ~CTargetStateNotification() = default;
};

/// One per process, counted by CreateRcvr and DestroyRcvr. Its operations are not to be called concurrently, nor, but for
/// the notifications, while another thread is inside of one of its channels, GetProgress excepted. Errors are thrown as
/// Vx::Qrs::Zarn::cZarnError. Unless noted, an operation returns at once and throws nothing.
class CReceiver : public CTargetStateNotification {
public:
    /// How many channels are allocated.
    virtual unsigned GetNumAttachedCpus() = 0;
    /// Copies each channel's CPU name with its terminating zero into `names[i]`. The caller provides one buffer per
    /// attached CPU, each large enough: no length is checked. Null `names` is ignored, and so is a null entry.
    virtual void GetAttachedCpuNames(char** names) = 0;
    /// Makes the channel of one CPU. `xmtrLibrary` is the framework's access to the target's trace export; it is not
    /// owned and has to live until ReleaseChannel; null is accepted here but makes SetConfiguration fail. `xmtrChannel`
    /// and `xmtrCookie` are handed to it as they are. Blocks while the target adapter is asked for the CPU. Returns
    /// null when a failure below was only logged; throws where it has a text, and for a null `cpuName`. The channel
    /// belongs to the receiver and lives until ReleaseChannel, or the last DestroyRcvr. Without memory to list it, the
    /// channel is returned all the same: ReleaseChannel does not know it then, GetNumAttachedCpus does not count it,
    /// and it is the caller's to delete.
    virtual CChannelDriver* AllocateChannel(const char* cpuName, IXmtrLibrary* xmtrLibrary, unsigned xmtrChannel,
                                            unsigned xmtrCookie) = 0;
    /// Ends a channel: breaks off its recording or upload, joins its thread, and closes its files; blocks until a
    /// request to the data server that is under way is answered. No other thread may be inside of the channel. Null is
    /// ignored; an unknown pointer throws.
    virtual void ReleaseChannel(CChannelDriver* driver) = 0;
    /// How many channels the capture unit can serve at once with the present configuration; 1 before the first.
    virtual unsigned GetNumChannels() = 0;
    /// Always throws: replay goes through GetFileDataSource.
    virtual void* GetDataSourceForCpuName(const char* cpuName) = 0;
    /// The first channel, whatever the name; null when there is none.
    virtual CChannelDriver* GetChannelDriverForCpuName(const char* cpuName) = 0;
    /// Number of channels plus 1.
    virtual unsigned GetNextAvailableChannelNum() = 0;
    /// Always 0.
    virtual unsigned GetTotalNumPins(const char* cpuName) = 0;
    /// Does nothing.
    virtual void GetPinsForFunction(const char* function, unsigned* pins) = 0;
    /// Replay of saved files; null when its libraries are not installed. Belongs to the receiver.
    virtual IFileDataSource* GetFileDataSource() = 0;
};

} // namespace Vx::Qrs::Trace

extern "C" {

/// Returns the process's receiver, made at the first call, and counts the user. Never null; throws
/// Vx::Qrs::Zarn::cZarnError on failure, and then counts no user. The first call starts the data server process, which
/// may take some seconds: 7 where its program cannot be started, 40 where it ends at once at each of eight ports.
/// Meanwhile the process's working directory is another. Not thread-safe. Look it up by this name in the loaded library.
Vx::Qrs::Trace::CReceiver* CreateRcvr();

/// Ends one CreateRcvr. At the last one all channels and the receiver are gone, and so is the data server's
/// process; this may take a second, and waits for a request to the server that is under way. Any other pointer is
/// ignored. Throws nothing. Not thread-safe.
void DestroyRcvr(Vx::Qrs::Trace::CReceiver* receiver);

using CreateRcvrFunction = Vx::Qrs::Trace::CReceiver* (*)();
using DestroyRcvrFunction = void (*)(Vx::Qrs::Trace::CReceiver*);
}
