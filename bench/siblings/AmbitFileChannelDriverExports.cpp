#include "rcvr/framework/IFileReplay.h"

#include <new>

namespace {

/// Replay is not what the bench is for: the object exists so that it can be made, handed over and destroyed.
class FileChannelDriver : public Vx::Qrs::Trace::IFileChannelDriver {};

} // namespace

extern "C" {

__attribute__((visibility("default"))) Vx::Qrs::Trace::IFileChannelDriver* CreateChannelDriver(const char* name) {
    return name != nullptr ? new (std::nothrow) FileChannelDriver() : nullptr;
}

__attribute__((visibility("default"))) void DestroyChannelDriver(Vx::Qrs::Trace::IFileChannelDriver* driver) {
    delete driver;
}
}
