#pragma once

// Replay of saved trace files: two optional sibling libraries whose objects only the framework talks to. The receiver
// makes them in the first CreateRcvr, introduces one to the other, and destroys them in the last DestroyRcvr, the
// driver first: the source's destructor must not touch it. All on the calling thread; a failure leaves the receiver
// without replay and is in the log only.

namespace Vx::Qrs::Trace {

class IFileChannelDriver {
public:
    virtual ~IFileChannelDriver() = default;
};

class IFileDataSource {
public:
    /// Called once, after both were made. The driver is not owned; it lives until right before the source is
    /// destroyed.
    virtual void setFileChannelDriver(IFileChannelDriver* driver) = 0;
    virtual ~IFileDataSource() = default;
};

} // namespace Vx::Qrs::Trace

extern "C" {
/// Exports of the library `AmbitFileChannelDriver`; the argument is an empty text. Null means that there is none.
using CreateChannelDriverFunction = Vx::Qrs::Trace::IFileChannelDriver* (*)(const char*);
using DestroyChannelDriverFunction = void (*)(Vx::Qrs::Trace::IFileChannelDriver*);
/// Exports of the library `OrvDataSource`; the argument is an empty text. Null means that there is none.
using CreateDataSourceFunction = Vx::Qrs::Trace::IFileDataSource* (*)(const char*);
using DestroyDataSourceFunction = void (*)(Vx::Qrs::Trace::IFileDataSource*);
}
