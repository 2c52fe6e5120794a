#include "rcvr/framework/IFileReplay.h"
#include "rcvr/framework/compiler/Compiler.h"

#include <new>

namespace {

/// The bench replays nothing: the object exists to be created, handed over and destroyed.
class FileChannelDriver : public Vx::Qrs::Trace::IFileChannelDriver {};

} // namespace

extern "C" {

ORV_EXPORT Vx::Qrs::Trace::IFileChannelDriver* CreateChannelDriver(const char* name) {
    return name != nullptr ? new (std::nothrow) FileChannelDriver() : nullptr;
}

ORV_EXPORT void DestroyChannelDriver(Vx::Qrs::Trace::IFileChannelDriver* driver) {
    delete driver;
}
}
