#pragma once

// Replay of saved trace files: two optional sibling libraries whose objects only the framework talks to. The receiver
// makes them, introduces one to the other and destroys them.

namespace Vx::Qrs::Trace {

class IFileChannelDriver {
public:
    virtual ~IFileChannelDriver() = default;
};

class IFileDataSource {
public:
    /// The driver is not owned and outlives its use.
    virtual void setFileChannelDriver(IFileChannelDriver* driver) = 0;
    virtual ~IFileDataSource() = default;
};

} // namespace Vx::Qrs::Trace

extern "C" {
/// Exports of the library `AmbitFileChannelDriver`; the argument is an empty text.
using CreateChannelDriverFunction = Vx::Qrs::Trace::IFileChannelDriver* (*)(const char*);
using DestroyChannelDriverFunction = void (*)(Vx::Qrs::Trace::IFileChannelDriver*);
/// Exports of the library `OrvDataSource`; the argument is an empty text.
using CreateDataSourceFunction = Vx::Qrs::Trace::IFileDataSource* (*)(const char*);
using DestroyDataSourceFunction = void (*)(Vx::Qrs::Trace::IFileDataSource*);
}
