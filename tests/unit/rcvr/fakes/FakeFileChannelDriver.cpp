#include "FakeControl.h"
#include "rcvr/framework/IFileReplay.h"

using namespace Vx::Qrs::Trace;

namespace {

const fake::NotesItsUnloading unloading("AmbitFileChannelDriver");
fake::Given<IFileChannelDriver> drivers;

} // namespace

extern "C" {

FAKE_EXPORT IFileChannelDriver* CreateChannelDriver(const char* text) {
    fake::trace("CreateChannelDriver \"" + std::string(text) + "\"");
    if (fake::behaviour("FAKE_FILE_DRIVER") == "null") {
        return nullptr;
    }
    return drivers.add(std::make_unique<IFileChannelDriver>());
}

FAKE_EXPORT void DestroyChannelDriver(IFileChannelDriver* object) {
    fake::trace("DestroyChannelDriver");
    drivers.remove(object);
}
}
