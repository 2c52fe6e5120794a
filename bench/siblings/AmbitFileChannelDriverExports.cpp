#include "rcvr/framework/IFileReplay.h"

#include <new>

namespace {

/// The bench replays nothing: the object exists to be created, handed over and destroyed.
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
